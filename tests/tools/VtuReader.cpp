#include "VtuReader.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <zlib.h>

namespace {
void Insist(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error("VTU: " + what);
}

/// Value of an attribute of a tag, entities resolved.
std::optional<std::string> Attribute(std::string_view tag, const std::string& name) {
  const std::size_t at = tag.find(' ' + name + "=\"");
  if (at == std::string_view::npos) return std::nullopt;
  const std::size_t start = at + name.size() + 3;
  std::string value(tag.substr(start, tag.find('"', start) - start));
  static const std::pair<std::string, char> kEntities[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&amp;", '&'}};
  for (const auto& [entity, character] : kEntities)
    for (std::size_t i = value.find(entity); i != std::string::npos; i = value.find(entity, i + 1))
      value.replace(i, entity.size(), 1, character);
  return value;
}
std::string Needed(std::string_view tag, const std::string& name) {
  const auto value = Attribute(tag, name);
  Insist(value.has_value(), "no " + name + " in " + std::string(tag));
  return *value;
}

/// Takes bytes off the front.
std::string Take(std::string_view& data, std::size_t count) {
  Insist(count <= data.size(), "the appended data end too early");
  const std::string bytes(data.substr(0, count));
  data.remove_prefix(count);
  return bytes;
}
std::vector<std::uint64_t> TakeNumbers(std::string_view& data, std::size_t count) {
  const std::string bytes = Take(data, 8 * count);
  std::vector<std::uint64_t> numbers(count);
  if (count > 0) std::memcpy(numbers.data(), bytes.data(), bytes.size());
  return numbers;
}

/// Takes one array off the front: number of blocks, their length, that of the last when it is shorter, the
/// compressed lengths; the blocks. Or the number of bytes and these.
std::pair<std::string, std::size_t> TakeArray(std::string_view& data, bool isCompressed) {
  if (!isCompressed) return {Take(data, TakeNumbers(data, 1)[0]), 0};
  const std::vector<std::uint64_t> header = TakeNumbers(data, 3);
  const std::size_t count = header[0];
  Insist(count < 1000000, "too many blocks");
  std::string bytes;
  const std::vector<std::uint64_t> lengths = TakeNumbers(data, count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string packed = Take(data, lengths[i]);
    uLongf length = i + 1 == count && header[2] > 0 ? header[2] : header[1];
    const uLongf expected = length;
    std::string block(length, 0);
    const int result = uncompress(reinterpret_cast<Bytef*>(block.data()), &length,
                                  reinterpret_cast<const Bytef*>(packed.data()), packed.size());
    Insist(result == Z_OK && length == expected, "a block is not what its header says");
    bytes += block;
  }
  return {bytes, count};
}
} // namespace

Vtu::Vtu(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  constexpr std::string_view kEnd = "\n</AppendedData>\n</VTKFile>\n",
                             kStart = "<AppendedData encoding=\"raw\">\n_";
  const std::size_t xmlEnd = text.find(kStart);
  Insist(xmlEnd != std::string::npos && text.ends_with(kEnd), file + " has no appended data");
  std::string_view data = text;
  data.remove_prefix(xmlEnd + kStart.size());
  data.remove_suffix(kEnd.size());
  const std::size_t dataSize = data.size();
  std::string section;
  bool isCompressed = false;
  for (std::size_t at = text.find('<'); at < xmlEnd; at = text.find('<', at + 1)) {
    const std::string_view tag = std::string_view(text).substr(at, text.find('>', at) - at);
    const std::string name(tag.substr(1, tag.find_first_of(" >/", 1) - 1));
    if (name == "VTKFile") {
      Insist(Needed(tag, "header_type") == "UInt64", "other headers");
      isCompressed = Attribute(tag, "compressor").has_value();
      Insist(!isCompressed || Attribute(tag, "compressor") == "vtkZLibDataCompressor", "another compressor");
    } else if (name == "Piece") {
      numPoints_ = std::stoul(Needed(tag, "NumberOfPoints"));
      numCells_ = std::stoul(Needed(tag, "NumberOfCells"));
    } else if (name == "DataArray") {
      Insist(Needed(tag, "format") == "appended", "an array elsewhere");
      Insist(std::stoul(Needed(tag, "offset")) == dataSize - data.size(),
             "an array that does not begin where the one before ends: " + std::string(tag));
      Array array{section, Needed(tag, "Name"), Needed(tag, "type"), 1, 0, {}};
      Insist(!Has(array.name), "two arrays \"" + array.name + '"');
      array.components = std::stoul(Attribute(tag, "NumberOfComponents").value_or("1"));
      std::tie(array.bytes, array.numBlocks) = TakeArray(data, isCompressed);
      arrays_.push_back(std::move(array));
    } else {
      section = name;
    }
  }
  Insist(data.empty(), "something behind the last array");
  CheckNumbers();
}

void Vtu::CheckNumbers() const {
  static const std::map<std::string, std::size_t> kSizes = {
      {"Int8", 1}, {"UInt8", 1}, {"Int32", 4}, {"Float32", 4}, {"Int64", 8}};
  for (const Array& array : arrays_) {
    std::size_t rows = array.section == "Points" || array.section == "PointData" ? numPoints_ : numCells_;
    if (array.name == "connectivity") {
      const auto offsets = Values<std::int64_t>("offsets");
      rows = offsets.empty() ? 0 : static_cast<std::size_t>(offsets.back());
    }
    Insist(array.bytes.size() == rows * array.components * kSizes.at(array.type),
           array.name + " has " + std::to_string(array.bytes.size()) + " bytes");
  }
}

const Vtu::Array& Vtu::Find(const std::string& name, const std::string& type) const {
  const auto at = std::ranges::find(arrays_, name, &Array::name);
  Insist(at != arrays_.end(), "no array \"" + name + '"');
  Insist(type.empty() || at->type == type, name + " is of " + at->type + ", not " + type);
  return *at;
}

bool Vtu::Has(const std::string& name) const {
  return std::ranges::find(arrays_, name, &Array::name) != arrays_.end();
}

std::vector<std::string> Vtu::Names(const std::string& section) const {
  std::vector<std::string> names;
  for (const Array& array : arrays_)
    if (array.section == section) names.push_back(array.name);
  return names;
}

std::size_t Vtu::NumBlocks(const std::string& name) const { return Find(name).numBlocks; }
