#include <DiagnosticExtractor/ddr_DatabaseRoot.h>

#include <utility>

namespace {
thread_local cls_Database* theDatabase = nullptr;
}

cls_Database& ddr_DatabaseRoot::Current() {
  if (!theDatabase)
    throw nex_TextException("no database is bound to this thread, so shortcuts cannot be resolved");
  return *theDatabase;
}

bool ddr_DatabaseRoot::IsBound() noexcept { return theDatabase != nullptr; }

ddr_DatabaseRoot::Scope::Scope(cls_Database& database) noexcept
    : outer_(std::exchange(theDatabase, &database)) {}
ddr_DatabaseRoot::Scope::~Scope() { theDatabase = outer_; }
