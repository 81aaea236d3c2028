#include "py_Errors.h"

#include <BasicUtils/cls_Database.h>
#include <BasicUtils/uti_OutputFile.h>
#include <BasicUtils/wip_WIP.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/fmt_MissingLibrary.h>
#include <CoreGeometry/odiC_Exception.h>
#include <stdexcept>

namespace {
/// Raises what _errors.make() makes of it; the GIL is held.
void Raise(const char* type, const char* message, const nb::dict& attributes) noexcept {
  try {
    const nb::object made =
        nb::module_::import_("coregeometry._errors").attr("make")(type, nb::bytes(message), attributes);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(made.ptr())), made.ptr());
  } catch (nb::python_error& error) {
    error.restore();
  }
}

void Raise(const char* type, const nex_Exception& error, const nb::dict& attributes = {}) {
  attributes["source"] = nb::bytes(error.Source().data(), error.Source().size());
  attributes["line"] = error.Line();
  Raise(type, error.what(), attributes);
}

/// The most derived types first.
void Translate(const std::exception_ptr& thrown, void*) {
  try {
    std::rethrow_exception(thrown);
  } catch (const py_Error& error) {
    nb::dict attributes;
    for (const auto& [name, numbers] : error.attributes) attributes[name] = nb::cast(numbers);
    Raise(error.type, error.what(), attributes);
  } catch (const cls_BusyException& error) {
    Raise("BusyError", error);
  } catch (const uti_FileExistsException& error) {
    Raise("FileExistsError", error);
  } catch (const fmt_MissingLibrary& error) {
    Raise("MissingLibraryError", error);
  } catch (const nex_TextException& error) {
    Raise("DataError", error);
  } catch (const odiC_Exception& error) {
    Raise("DataError", error);
  } catch (const omu_ValueErrorException& error) {
    Raise("EnumTextError", error);
  } catch (const nex_AssertionException& error) {
    Raise("CallError", error);
  } catch (const nex_OutOfRangeException& error) {
    nb::dict attributes;
    attributes["index"] = error.Index();
    attributes["count"] = error.Count();
    Raise("OutOfRangeError", error, attributes);
  } catch (const wip_Cancelled& error) {
    Raise("Cancelled", error);
  } catch (const nex_Exception& error) {
    Raise("Error", error);
  } catch (const std::length_error&) {
    PyErr_NoMemory();
  }
}
} // namespace

void py_BindErrors() { nb::register_exception_translator(&Translate); }
