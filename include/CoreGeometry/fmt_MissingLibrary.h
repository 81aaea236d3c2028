// fmt_MissingLibrary.h: a library that a format needs is not installed
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <CoreGeometry/ExchangeExport.h>

/// The message names the library and what to install.
class CORE_GEOMETRY_EXCHANGE_API fmt_MissingLibrary : public nex_TextException {
public:
  using nex_TextException::nex_TextException;
  ~fmt_MissingLibrary() override;
};
