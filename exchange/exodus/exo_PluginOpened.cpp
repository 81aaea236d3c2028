// For shared libraries: the plug-in is opened when the first file is read or written, since it brings NetCDF and some
// fifty further libraries with it.
#include "exo_Plugin.h"

#include <CoreGeometry/fmt_MissingLibrary.h>
#include <dlfcn.h>
#include <filesystem>

namespace {
namespace fs = std::filesystem;
constexpr const char *kFile = "libCoreGeometryExodus.so", *kPackage = "coregeometry-exodus";

/// In the folder of the library that this code is in.
fs::path PluginFile() {
  Dl_info self = {};
  if (dladdr(reinterpret_cast<const void*>(&exo_Plugin), &self) == 0 || !self.dli_fname) return kFile;
  return fs::absolute(self.dli_fname).parent_path() / kFile;
}

[[noreturn]] void Fail(const fs::path& file, const cow_String& why) {
  throw fmt_MissingLibrary("Exodus II files need the plug-in " + file.string() + ", which " + why
                           + "; install the package " + kPackage + " of version " CORE_GEOMETRY_VERSION);
}

const exo_Functions& Open() {
  const fs::path file = PluginFile();
  std::error_code error;
  if (!fs::exists(file, error)) Fail(file, "is not there");
  void* const plugin =
      dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL); // for good: it is open as long as the process runs
  if (!plugin) {
    const char* const why = dlerror();
    Fail(file, "cannot be opened (" + cow_String(why ? why : "unknown reason") + ")");
  }
  const auto functions = reinterpret_cast<decltype(&coregeometry_exodus_functions)>(
      dlsym(plugin, "coregeometry_exodus_functions"));
  if (!functions) Fail(file, "has no table of functions");
  const exo_Functions& table = *functions();
  if (table.tableVersion != exo_kTableVersion || cow_String(table.coreVersion) != CORE_GEOMETRY_VERSION)
    Fail(file,
         "is of version " + cow_String(table.coreVersion) + ", table " + std::to_string(table.tableVersion));
  return table;
}
} // namespace

const exo_Functions& exo_Plugin() {
  static const exo_Functions& functions = Open(); // once for all threads; again after a failure
  return functions;
}
