#include <BasicUtils/nex_Exception.h>

#include <CoreUtils/atr_String.h>
#include <vector>

nex_Exception::~nex_Exception() = default;
nex_TextException::~nex_TextException() = default;
nex_CommandException::~nex_CommandException() = default;
nex_AssertionException::~nex_AssertionException() = default;
nex_OutOfRangeException::~nex_OutOfRangeException() = default;

nex_TextException::nex_TextException(const cow_String& format, std::initializer_list<cow_String> arguments)
    : nex_Exception(atr_Format(format, std::vector<atr_Arg>(arguments.begin(), arguments.end()))) {}

nex_OutOfRangeException::nex_OutOfRangeException(long long index, long long count)
    : nex_Exception("index " + std::to_string(index) + " is outside [0, " + std::to_string(count) + ")"),
      index_(index), count_(count) {}
