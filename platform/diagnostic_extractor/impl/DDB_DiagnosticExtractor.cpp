#include <DiagnosticExtractor/DDB_DiagnosticExtractor.h>

#include <CoreUtils/omi_CallCounter.h>

namespace {
omi_CallCounter theCounter;
}

void DDB_DiagnosticExtractor_initialize(int& tally) { theCounter.Up(tally); }
void DDB_DiagnosticExtractor_finalize(int& tally) { theCounter.Down(tally); }
