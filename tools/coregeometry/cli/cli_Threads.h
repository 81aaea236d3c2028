// cli_Threads.h: the threads that the program lends to the library
#pragma once

#include <BasicUtils/wip_Executor.h>
#include <memory>

/// Cores that this process may use.
int cli_NumCores();

/// Runs pieces on threads of oneTBB. Their number is read with the first piece, when they are started.
std::unique_ptr<wip_Executor> cli_MakeExecutor(const int& numThreads);
