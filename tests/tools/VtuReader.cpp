#include "VtuReader.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <numeric>
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

/// Takes `count` bytes in base64 with padding off the front.
std::string TakeBase64(std::string_view& text, std::size_t count) {
  static constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::size_t length = (count + 2) / 3 * 4;
  Insist(length <= text.size(), "the appended data end too early");
  std::string bytes;
  for (std::size_t i = 0; i < length; i += 4) {
    const std::size_t here = std::min<std::size_t>(3, count - bytes.size());
    unsigned word = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const std::size_t digit = kDigits.find(text[i + k]);
      Insist(k <= here ? digit < 64 : text[i + k] == '=', "wrong base64 digit or padding");
      word = word << 6U | (k <= here ? static_cast<unsigned>(digit) : 0U);
    }
    for (std::size_t k = 0; k < here; ++k) bytes += static_cast<char>(word >> (16 - 8 * k) & 255U);
  }
  text.remove_prefix(length);
  return bytes;
}
std::vector<std::uint64_t> TakeNumbers(std::string_view text, std::size_t count) {
  const std::string bytes = TakeBase64(text, 8 * count);
  std::vector<std::uint64_t> numbers(count);
  std::memcpy(numbers.data(), bytes.data(), bytes.size());
  return numbers;
}

/// Takes one array off the front: number of blocks, their length, that of the last when it is shorter, the
/// compressed lengths; the blocks.
std::pair<std::string, std::size_t> TakeArray(std::string_view& text) {
  const std::size_t count = TakeNumbers(text, 3)[0];
  Insist(count < 1000000, "too many blocks");
  const std::vector<std::uint64_t> header = TakeNumbers(text, 3 + count);
  TakeBase64(text, 8 * header.size());
  const std::string packed =
      TakeBase64(text, std::accumulate(header.begin() + 3, header.end(), std::size_t{0}));
  std::string bytes;
  std::size_t start = 0;
  for (std::size_t i = 0; i < count; ++i) {
    uLongf length = i + 1 == count && header[2] > 0 ? header[2] : header[1];
    const uLongf expected = length;
    std::string block(length, 0);
    const int result = uncompress(reinterpret_cast<Bytef*>(block.data()), &length,
                                  reinterpret_cast<const Bytef*>(packed.data()) + start, header[3 + i]);
    Insist(result == Z_OK && length == expected, "a block is not what its header says");
    bytes += block;
    start += header[3 + i];
  }
  return {bytes, count};
}
} // namespace

Vtu::Vtu(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  constexpr std::string_view kEnd = "\n</AppendedData>\n</VTKFile>\n",
                             kStart = "<AppendedData encoding=\"base64\">\n_";
  const std::size_t xmlEnd = text.find(kStart);
  Insist(xmlEnd != std::string::npos && text.ends_with(kEnd), file + " has no appended data");
  std::string_view data = text;
  data.remove_prefix(xmlEnd + kStart.size());
  data.remove_suffix(kEnd.size());
  const std::size_t dataSize = data.size();
  std::string section;
  for (std::size_t at = text.find('<'); at < xmlEnd; at = text.find('<', at + 1)) {
    const std::string_view tag = std::string_view(text).substr(at, text.find('>', at) - at);
    const std::string name(tag.substr(1, tag.find_first_of(" >/", 1) - 1));
    if (name == "VTKFile") {
      Insist(Needed(tag, "header_type") == "UInt64", "other headers");
      Insist(Needed(tag, "compressor") == "vtkZLibDataCompressor", "another compressor");
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
      std::tie(array.bytes, array.numBlocks) = TakeArray(data);
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
