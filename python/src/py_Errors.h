// py_Errors.h: errors of the package, and how those of the library become them
#pragma once

#include <nanobind/nanobind.h>
#include <string>
#include <utility>
#include <vector>

namespace nb = nanobind;

/// An exception for Python, thrown with or without the GIL: the name of a class of _errors.py or of Python itself,
/// the message, and attributes of the exception.
class py_Error : public std::exception {
public:
  using Attribute = std::pair<const char*, std::vector<long long>>;

  py_Error(const char* type, std::string message) : type(type), message(std::move(message)) {}
  py_Error(const char* type, std::string message, std::vector<Attribute> attributes)
      : type(type), message(std::move(message)), attributes(std::move(attributes)) {}
  const char* what() const noexcept override { return message.c_str(); }

  const char* type;
  std::string message;
  std::vector<Attribute> attributes;
};

/// Registers the translation of every exception of the library.
void py_BindErrors();
