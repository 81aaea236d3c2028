// nex_Exception.h: the exceptions of the application
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <CoreUtils/cow_String.h>
#include <exception>
#include <utility>

/// Base class of all errors: a message, and the source file and line that raised it.
class CORE_GEOMETRY_PLATFORM_API nex_Exception : public std::exception {
public:
  explicit nex_Exception(cow_String message) : message_(std::move(message)) {}
  ~nex_Exception() override;

  const char* what() const noexcept override { return message_.c_str(); }
  const cow_String& Message() const noexcept { return message_; }
  const cow_String& Source() const noexcept { return source_; } ///< empty when not stated
  int Line() const noexcept { return line_; }                   ///< 0 when not stated

  /// Records the source position and throws the exception with its own type.
  template<class E> [[noreturn]] static void Throw(E exception, const char* source, int line) {
    exception.source_ = source;
    exception.line_ = line;
    throw std::move(exception);
  }

private:
  cow_String message_, source_;
  int line_ = 0;
};

/// Wrong data or a wrong call, described by a text.
class CORE_GEOMETRY_PLATFORM_API nex_TextException : public nex_Exception {
public:
  using nex_Exception::nex_Exception;
  /// Fills "%1$s", "%2$s" and so on with the arguments.
  nex_TextException(const cow_String& format, std::initializer_list<cow_String> arguments);
  ~nex_TextException() override;
};

/// A command that could not be carried out.
class CORE_GEOMETRY_PLATFORM_API nex_CommandException : public nex_Exception {
public:
  using nex_Exception::nex_Exception;
  ~nex_CommandException() override;
};

/// A violated precondition.
class CORE_GEOMETRY_PLATFORM_API nex_AssertionException : public nex_Exception {
public:
  using nex_Exception::nex_Exception;
  ~nex_AssertionException() override;
};

/// An index outside [0, count).
class CORE_GEOMETRY_PLATFORM_API nex_OutOfRangeException : public nex_Exception {
public:
  nex_OutOfRangeException(long long index, long long count);
  ~nex_OutOfRangeException() override;
  long long Index() const noexcept { return index_; }
  long long Count() const noexcept { return count_; }

private:
  long long index_, count_;
};
