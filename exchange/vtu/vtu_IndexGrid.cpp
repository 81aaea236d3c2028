#include "vtu_Xml.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <filesystem>
#include <limits>

std::optional<std::int64_t> vtu_ParseCount(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  if (!isWhole || value < 0 || value > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return value;
}

namespace {
class Indexer {
public:
  Indexer(const cow_String& file, vtu_Grid& grid)
      : file_(file), grid_(grid), firstPiece_(grid.pieces.size()),
        fileSize_(static_cast<std::int64_t>(std::filesystem::file_size(file))) {}

  void Run() {
    vtu_ParseXml(file_, {[this](const vtu_Element& element) { Begin(element); },
                         [this](std::string_view name, std::int64_t at) { End(name, at); }});
    if (!isGrid_) Fail("line 1", "is no file of VTK");
    PlaceAppended();
  }

private:
  [[noreturn]] void Fail(const cow_String& place, const cow_String& why) const {
    throw nex_TextException(file_ + ": " + place + ": " + why);
  }
  [[noreturn]] void FailAttribute(const vtu_Element& element, std::string_view name,
                                  const cow_String& why) const {
    Fail(element.place, cow_String(element.name) + ": " + cow_String(name) + "=\""
                            + cow_String(element.Attribute(name)) + "\" " + why);
  }

  std::int64_t Count(const vtu_Element& element, std::string_view name) const {
    const auto count = vtu_ParseCount(element.Attribute(name));
    if (!count) FailAttribute(element, name, "is not a count of 32 bits");
    return *count;
  }

  void Begin(const vtu_Element& element) {
    if (!isGrid_) return BeginFile(element);
    if (element.name == "Piece") {
      vtu_Piece piece{.file = file_, .place = element.place};
      piece.numPoints = Count(element, "NumberOfPoints");
      piece.numCells = Count(element, "NumberOfCells");
      grid_.pieces.push_back(std::move(piece));
      return;
    }
    for (const std::string_view section : {"Points", "Cells", "PointData", "CellData", "FieldData"})
      if (element.name == section) return BeginSection(element);
    if (element.name == "DataArray" || element.name == "Array") return BeginArray(element);
    if (element.name == "AppendedData") {
      appended_ = element.contentBegin;
      appendedPlace_ = element.place;
      const std::string_view encoding = element.Attribute("encoding");
      if (encoding != "raw" && encoding != "base64")
        FailAttribute(element, "encoding", "is neither raw nor base64");
      isAppendedRaw_ = encoding == "raw";
    }
  }

  void BeginFile(const vtu_Element& element) {
    if (element.name != "VTKFile") Fail(element.place, "<" + cow_String(element.name) + "> is not <VTKFile>");
    if (element.Attribute("type") != "UnstructuredGrid")
      FailAttribute(element, "type", "is not read, UnstructuredGrid is");
    const std::string_view order = element.Attribute("byte_order"), header = element.Attribute("header_type"),
                           compressor = element.Attribute("compressor");
    if (order != "LittleEndian" && order != "BigEndian" && !order.empty())
      FailAttribute(element, "byte_order", "is neither LittleEndian nor BigEndian");
    if (header != "UInt32" && header != "UInt64" && !header.empty())
      FailAttribute(element, "header_type", "is neither UInt32 nor UInt64");
    if (compressor != "vtkZLibDataCompressor" && !compressor.empty())
      FailAttribute(element, "compressor", "is not read, vtkZLibDataCompressor is");
    coding_.isSwapped =
        !order.empty() && (order == "LittleEndian") != (std::endian::native == std::endian::little);
    coding_.isCompressed = !compressor.empty();
    coding_.headerSize = header == "UInt64" ? 8 : 4;
    isGrid_ = true;
  }

  vtu_Piece* Piece() { return grid_.pieces.size() > firstPiece_ ? &grid_.pieces.back() : nullptr; }

  void BeginSection(const vtu_Element& element) {
    section_ = element.name;
    if (vtu_Piece* piece = Piece()) {
      if (section_ == "PointData") piece->pointIds = element.Attribute("GlobalIds");
      if (section_ == "CellData") piece->cellIds = element.Attribute("GlobalIds");
    }
  }

  void BeginArray(const vtu_Element& element) {
    const cow_String name(element.Attribute("Name"));
    vtu_Piece* const piece = Piece();
    if (!piece || section_.empty() || section_ == "FieldData") {
      grid_.others.push_back(name);
      return;
    }
    std::string_view typeName = element.Attribute("type");
    if (typeName == "vtkIdType") typeName = "Int64";
    const auto type = vtu_FindType(typeName);
    if (!type) {
      if (section_ == "Points" || section_ == "Cells")
        FailAttribute(element, "type", "is no type of numbers");
      grid_.others.push_back(name); // texts and bits
      return;
    }
    vtu_Array array{.name = name, .place = element.place, .type = *type, .coding = coding_};
    if (!element.Attribute("NumberOfComponents").empty())
      array.components = Count(element, "NumberOfComponents");
    const std::string_view format = element.Attribute("format");
    if (format == "appended") {
      const std::string_view offset = element.Attribute("offset");
      const auto [end, error] = std::from_chars(offset.data(), offset.data() + offset.size(), array.begin);
      if (error != std::errc() || end != offset.data() + offset.size() || array.begin < 0)
        FailAttribute(element, "offset", "is not a number of bytes");
      array.end = -1;
    } else if (format == "binary" || format == "ascii" || format.empty()) {
      array.form = format == "binary" ? vtu_Form::Base64 : vtu_Form::Text;
      array.begin = element.contentBegin;
      array.end = fileSize_;
    } else {
      FailAttribute(element, "format", "is none of ascii, binary and appended");
    }
    vtu_Array& kept = Keep(*piece, std::move(array));
    open_ = kept.end >= 0 ? &kept : nullptr;
  }

  vtu_Array& Keep(vtu_Piece& piece, vtu_Array array) {
    if (section_ == "PointData" || section_ == "CellData") {
      auto& arrays = section_ == "PointData" ? piece.pointArrays : piece.cellArrays;
      return arrays.emplace_back(std::move(array));
    }
    std::optional<vtu_Array>* place = nullptr;
    if (section_ == "Points") place = &piece.points;
    if (array.name == "connectivity") place = &piece.connectivity;
    if (array.name == "offsets") place = &piece.offsets;
    if (array.name == "types") place = &piece.types;
    if (!place) return left_ = std::move(array); // faces of polyhedra
    if (place->has_value()) Fail(array.place, "a second array \"" + array.name + "\" of one piece");
    return place->emplace(std::move(array));
  }

  /// The content of an array ends where a child begins or its own element ends.
  void End(std::string_view name, std::int64_t at) {
    if (open_) {
      open_->end = std::max(open_->begin, at);
      if (open_->form == vtu_Form::Text) open_->coding = {};
    }
    open_ = nullptr;
    if (name == section_) section_.clear();
  }

  void PlaceAppended() {
    bool isNeeded = false;
    ForEachArray([&](vtu_Array& array) { isNeeded |= array.end < 0; });
    if (!isNeeded) return;
    if (appended_ < 0) Fail("at its end", "there is no AppendedData, and arrays are said to be in it");
    std::ifstream in(file_, std::ios::binary);
    in.seekg(appended_);
    char mark = ' ';
    while (in.get(mark) && (mark == ' ' || mark == '\n' || mark == '\r' || mark == '\t')) {
    }
    if (!in || mark != '_') Fail(appendedPlace_, "the appended data do not begin with \"_\"");
    const auto start = static_cast<std::int64_t>(in.tellg());
    ForEachArray([&](vtu_Array& array) {
      if (array.end >= 0) return;
      if (array.begin > fileSize_ - start)
        Fail(array.place,
             "array \"" + array.name + "\": offset " + std::to_string(array.begin) + " is behind the end");
      array.begin += start;
      array.end = fileSize_;
      array.form = isAppendedRaw_ ? vtu_Form::Raw : vtu_Form::Base64;
    });
  }

  template<class Work> void ForEachArray(const Work& work) {
    for (std::size_t i = firstPiece_; i < grid_.pieces.size(); ++i) {
      vtu_Piece& piece = grid_.pieces[i];
      for (auto* one : {&piece.points, &piece.types, &piece.offsets, &piece.connectivity})
        if (*one) work(**one);
      for (auto* arrays : {&piece.pointArrays, &piece.cellArrays})
        for (vtu_Array& array : *arrays) work(array);
    }
  }

  const cow_String& file_;
  vtu_Grid& grid_;
  std::size_t firstPiece_;
  std::int64_t fileSize_;
  vtu_Coding coding_;
  cow_String section_, appendedPlace_;
  bool isGrid_ = false, isAppendedRaw_ = false;
  std::int64_t appended_ = -1;
  vtu_Array* open_ = nullptr; ///< whose content follows
  vtu_Array left_;
};
} // namespace

void vtu_IndexGrid(const cow_String& file, vtu_Grid& grid) { Indexer(file, grid).Run(); }
