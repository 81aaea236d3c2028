#include "spl_Vtu.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/uti_OutputFile.h>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {
std::string AttributeOf(const std::string& tag, const std::string& name) {
  const std::size_t begin = tag.find(" " + name + "=\"");
  if (begin == std::string::npos) return {};
  const std::size_t first = begin + name.size() + 3;
  return tag.substr(first, tag.find('"', first) - first);
}

/// The sections of a VTU file as those of the list: the declarations of their arrays without data.
std::string ArraysOf(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  std::string text, tag;
  std::string section;
  while (std::getline(in, tag, '>')) {
    const std::size_t begin = tag.find('<');
    if (begin == std::string::npos) continue;
    tag.erase(0, begin);
    if (tag.starts_with("<AppendedData")) break; // bytes follow
    for (const char* name : {"PointData", "CellData", "Points"}) {
      if (tag == std::string("<") + name || tag.starts_with(std::string("<") + name + " ")) {
        section = name;
        text += "    <P" + section + ">\n";
      } else if (tag == std::string("</") + name) {
        text += "    </P" + section + ">\n";
        section.clear();
      }
    }
    if (section.empty() || !tag.starts_with("<DataArray")) continue;
    text += "      <PDataArray";
    for (const char* name : {"type", "Name", "NumberOfComponents"})
      if (const std::string value = AttributeOf(tag, name); !value.empty())
        text.append(" ").append(name).append("=\"").append(value).append("\"");
    text += "/>\n";
  }
  return text;
}
} // namespace

std::string spl_VtuFileOf(const std::string& name, unsigned part, unsigned numParts) {
  const std::string last = std::to_string(numParts - 1), number = std::to_string(part);
  const fs::path path(name);
  return (path.parent_path() / path.stem()).string() + "_" + std::string(last.size() - number.size(), '0')
         + number + ".vtu";
}

void spl_WritePvtu(const std::string& name, unsigned numParts, bool force) {
  uti_OutputFile file(name, {.force = force});
  {
    std::ofstream out(std::string(file.Path()), std::ios::binary);
    out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"PUnstructuredGrid\" version=\"1.0\" "
           "byte_order=\"LittleEndian\" "
           "header_type=\"UInt64\">\n  <PUnstructuredGrid GhostLevel=\"0\">\n"
        << ArraysOf(spl_VtuFileOf(name, 0, numParts));
    for (unsigned part = 0; part < numParts; ++part)
      out << "    <Piece Source=\"" << fs::path(spl_VtuFileOf(name, part, numParts)).filename().string()
          << "\"/>\n";
    out << "  </PUnstructuredGrid>\n</VTKFile>\n";
    if (!out.flush()) throw nex_TextException(name + ": cannot be written");
  }
  file.Commit();
}
