#include <CoreUtils/aio_ostream.h>

#include <iostream>

namespace {
aio_ostream* theDebugStream = nullptr;
}

aio_ostream& aio_DebugStream() { return theDebugStream ? *theDebugStream : std::clog; }
void aio_SetDebugStream(aio_ostream* stream) { theDebugStream = stream; }
