#include "vtu_Xml.h"
#include <CoreGeometry/vtu_Read.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace {
namespace fs = std::filesystem;

struct Member {
  cow_String step, file, place;
};

/// Relative, and not above the folder.
bool IsBelow(const fs::path& path) {
  return path.is_relative() && !path.empty() && std::ranges::find(path, fs::path("..")) == path.end();
}
} // namespace

fmt_Import vtu_ReadMesh(const cow_String& file, const fmt_ReadOptions& options) {
  vtu_Grid grid{.file = file};
  vtu_IndexGrid(file, grid);
  return vtu_Assemble(grid, options);
}

fmt_Import vtu_ReadCollection(const cow_String& file, const fmt_ReadOptions& options) {
  std::vector<Member> members;
  bool isCollection = false;
  const auto begin = [&](const vtu_Element& element) {
    if (element.name == "VTKFile") isCollection = element.Attribute("type") == "Collection";
    if (element.name == "DataSet")
      members.push_back(
          {cow_String(element.Attribute("timestep")), cow_String(element.Attribute("file")), element.place});
  };
  vtu_ParseXml(file, {begin, [](std::string_view, std::int64_t) {}});
  if (!isCollection) throw nex_TextException(file + ": is no collection of files of VTK");
  if (members.empty()) throw nex_TextException(file + ": names no file");
  vtu_Grid grid{.file = file};
  std::set<cow_String> others;
  for (const Member& member : members) {
    if (member.step != members[0].step) {
      others.insert(member.step);
      continue;
    }
    const auto refuse = [&](const char* why) {
      throw nex_TextException(file + ": " + member.place + ": file \"" + member.file + "\" " + why);
    };
    if (!IsBelow(member.file)) refuse("is not in the folder of the PVD file or below; read it by itself");
    const fs::path path = fs::path(file).parent_path() / member.file;
    std::error_code error;
    if (!fs::is_regular_file(path, error)) refuse("is not there");
    vtu_IndexGrid(path.string(), grid);
  }
  if (!others.empty())
    grid.ledger.push_back({"time steps", static_cast<long long>(others.size()),
                           "besides the first one, \"" + members[0].step + "\""});
  return vtu_Assemble(grid, options);
}
