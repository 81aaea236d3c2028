#include "vtu_Grid.h"
#include <CoreGeometry/vtu_Read.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <bit>
#include <charconv>
#include <filesystem>

namespace {
constexpr std::size_t kBuffer = std::size_t{1} << 17;

/// Words and lines of a file that may have bytes of arrays between them.
class Words {
public:
  explicit Words(const cow_String& file)
      : file_(file), in_(file, std::ios::binary),
        size_(static_cast<std::int64_t>(std::filesystem::file_size(file))) {
    if (!in_) throw nex_TextException(file + ": cannot be opened");
  }

  std::int64_t Size() const noexcept { return size_; }
  std::int64_t Position() const noexcept { return position_ + static_cast<std::int64_t>(next_); }
  cow_String Place() const {
    return isCounting_ ? "line " + std::to_string(line_) : "byte " + std::to_string(Position());
  }
  [[noreturn]] void Fail(const cow_String& why) const {
    throw nex_TextException(file_ + ": " + Place() + ": " + why);
  }

  /// Up to the end of the line, which is taken, too.
  cow_String Line() {
    constexpr std::size_t kLongest = 4096;
    cow_String line;
    for (int c; (c = Get()) >= 0 && c != '\n';) {
      if (line.size() == kLongest) Fail("a line of more than " + std::to_string(kLongest) + " bytes");
      line += static_cast<char>(c);
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
  }
  /// The next word; what ends it stays. Empty at the end.
  cow_String Word() {
    constexpr std::size_t kLongest = 4096;
    while (vtu_IsSpace(Peek())) Get();
    cow_String word;
    for (int c; (c = Peek()) >= 0 && !vtu_IsSpace(c); Get()) {
      if (word.size() == kLongest) Fail("a word of more than " + std::to_string(kLongest) + " bytes");
      word += static_cast<char>(c);
    }
    return word;
  }
  /// Whether only spaces follow in the line, which is then taken.
  void EndLine() {
    while (Peek() == ' ' || Peek() == '\t' || Peek() == '\r') Get();
    if (Peek() == '\n') Get();
  }
  /// Stops behind the last one. Where none of a part of the buffer can be the last, the part is counted as a whole.
  void SkipWords(std::int64_t count) {
    constexpr std::size_t kPart = 4096;
    bool isInWord = false;
    while (count > 0) {
      if (Peek() < 0) {
        count -= isInWord;
        if (count > 0) Fail("the file ends, and " + std::to_string(count) + " more numbers are needed");
        return;
      }
      const std::span<const char> part(buffer_.data() + next_, std::min(kPart, end_ - next_));
      std::int64_t ends = isInWord && vtu_IsSpace(part[0]), lines = part[0] == '\n';
      for (std::size_t i = 1; i < part.size(); ++i) {
        ends += !vtu_IsSpace(part[i - 1]) && vtu_IsSpace(part[i]);
        lines += part[i] == '\n';
      }
      if (ends < count) {
        count -= ends;
        line_ += lines;
        isInWord = !vtu_IsSpace(part.back());
        next_ += part.size();
        continue;
      }
      for (;; ++next_) { // up to the last end
        const bool isSpace = vtu_IsSpace(buffer_[next_]);
        if (isInWord && isSpace && --count == 0) return;
        isInWord = !isSpace;
        line_ += buffer_[next_] == '\n';
      }
    }
  }
  void SkipBytes(std::int64_t count) {
    if (count > size_ - Position())
      Fail(std::to_string(count) + " bytes are needed, and the file ends after "
           + std::to_string(size_ - Position()));
    position_ = Position() + count;
    next_ = end_ = 0;
    isCounting_ = false;
    in_.clear();
    in_.seekg(position_);
  }
  int Get() {
    const int c = Peek();
    if (c >= 0) ++next_;
    line_ += c == '\n';
    return c;
  }
  int Peek() {
    if (next_ == end_) Refill();
    return next_ == end_ ? -1 : static_cast<unsigned char>(buffer_[next_]);
  }

private:
  void Refill() {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    buffer_.resize(kBuffer);
    position_ += static_cast<std::int64_t>(end_);
    in_.read(buffer_.data(), static_cast<std::streamsize>(kBuffer));
    next_ = 0;
    end_ = static_cast<std::size_t>(in_.gcount());
  }

  const cow_String& file_;
  std::ifstream in_;
  std::int64_t size_, position_ = 0; ///< of the buffer in the file
  std::vector<char> buffer_;
  std::size_t next_ = 0, end_ = 0;
  std::int64_t line_ = 1;
  bool isCounting_ = true; ///< no bytes of arrays were passed, in which ends of lines are none
};

struct TypeName {
  std::string_view name;
  vtu_Type type;
};
/// vtkIdType is written with 32 bits whatever it has in memory.
constexpr TypeName kTypes[] = {{"char", vtu_Type::Int8},
                               {"signed_char", vtu_Type::Int8},
                               {"unsigned_char", vtu_Type::UInt8},
                               {"short", vtu_Type::Int16},
                               {"unsigned_short", vtu_Type::UInt16},
                               {"int", vtu_Type::Int32},
                               {"unsigned_int", vtu_Type::UInt32},
                               {"long", vtu_Type::Int64},
                               {"unsigned_long", vtu_Type::UInt64},
                               {"float", vtu_Type::Float32},
                               {"double", vtu_Type::Float64},
                               {"vtkidtype", vtu_Type::Int32}};

cow_String ToLower(cow_String text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

/// Names have %20 for a space.
cow_String Decoded(const cow_String& text) {
  cow_String decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    const char* const digits = text.data() + i + 1;
    if (text[i] == '%' && i + 2 < text.size()
        && std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
      decoded += static_cast<char>(value);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

class Indexer {
public:
  Indexer(const cow_String& file, vtu_Grid& grid) : words_(file), grid_(grid) { piece_.file = file; }

  void Run() {
    ReadHeader();
    for (cow_String word; !(word = cow_ToUpper(words_.Word())).empty();) {
      if (word == "POINTS")
        ReadPoints();
      else if (word == "CELLS")
        ReadCells();
      else if (word == "CELL_TYPES")
        ReadTypes();
      else if (word == "FIELD")
        ReadField(arrays_);
      else if (word == "METADATA")
        SkipMetadata();
      else if (word == "POINT_DATA")
        ReadData(piece_.pointArrays, piece_.pointIds, piece_.numPoints);
      else if (word == "CELL_DATA")
        ReadData(piece_.cellArrays, piece_.cellIds, piece_.numCells);
      else if (!ReadAttribute(word))
        words_.Fail("\"" + word + "\" is no section of an unstructured grid");
    }
    grid_.pieces.push_back(std::move(piece_));
  }

private:
  void ReadHeader() {
    if (!words_.Line().starts_with("# vtk DataFile Version")) words_.Fail("this is no legacy file of VTK");
    grid_.title = words_.Line();
    const cow_String form = cow_ToUpper(words_.Word());
    if (form != "ASCII" && form != "BINARY") words_.Fail("\"" + form + "\" is neither ASCII nor BINARY");
    isBinary_ = form == "BINARY";
    piece_.place = words_.Place();
    const cow_String word = cow_ToUpper(words_.Word());
    if (word != "DATASET") words_.Fail("\"" + word + "\" where DATASET is needed");
    const cow_String kind = cow_ToUpper(words_.Word());
    if (kind != "UNSTRUCTURED_GRID")
      words_.Fail("a dataset of the kind \"" + kind + "\" is not read, UNSTRUCTURED_GRID is");
  }

  std::int64_t Count(const char* what) {
    const cow_String word = words_.Word();
    const auto count = vtu_ParseCount(word);
    if (!count) words_.Fail("\"" + word + "\" is not the " + what);
    return *count;
  }

  /// The type's name; nothing for texts and bits, see SkipOther.
  std::optional<vtu_Type> Type(cow_String& name) {
    name = ToLower(words_.Word());
    const auto* const at = std::ranges::find(kTypes, name, &TypeName::name);
    if (at != std::end(kTypes)) return at->type;
    // vtktypeint64 and the like
    constexpr std::string_view kSized = "vtktype";
    if (name.starts_with(kSized))
      for (const vtu_Type type :
           {vtu_Type::Int8, vtu_Type::UInt8, vtu_Type::Int16, vtu_Type::UInt16, vtu_Type::Int32,
            vtu_Type::UInt32, vtu_Type::Int64, vtu_Type::UInt64, vtu_Type::Float32, vtu_Type::Float64})
        if (name.substr(kSized.size()) == ToLower(cow_String(vtu_NameOf(type)))) return type;
    if (name != "bit" && name != "string") words_.Fail("\"" + name + "\" is no type of data");
    return std::nullopt;
  }

  /// The array that follows, which is passed.
  vtu_Array Pass(const cow_String& name, vtu_Type type, std::int64_t components, std::int64_t count) {
    words_.EndLine();
    vtu_Array array{.name = name, .place = words_.Place(), .type = type, .components = components};
    array.begin = words_.Position();
    if (isBinary_) {
      array.form = vtu_Form::Raw;
      array.coding.isSwapped = std::endian::native == std::endian::little;
      const auto size = static_cast<std::int64_t>(vtu_SizeOf(type));
      if (count > (words_.Size() - array.begin) / size)
        words_.Fail("array \"" + name + "\" needs " + std::to_string(count)
                    + " numbers, and the file ends before");
      words_.SkipBytes(count * size);
    } else {
      words_.SkipWords(count);
    }
    array.end = words_.Position();
    return array;
  }
  vtu_Array Pass(const cow_String& name, vtu_Type type, std::int64_t components, std::int64_t a,
                 std::int64_t b) {
    std::int64_t count = 0;
    if (__builtin_mul_overflow(a, b, &count)) words_.Fail("array \"" + name + "\" is too large");
    return Pass(name, type, components, count);
  }

  void Once(const std::optional<vtu_Array>& array, const char* what) const {
    if (array) words_.Fail(cow_String("a second section ") + what);
  }

  void ReadPoints() {
    Once(piece_.points, "POINTS");
    piece_.numPoints = Count("number of points");
    cow_String name;
    const auto type = Type(name);
    if (!type) words_.Fail("points of the type " + name);
    piece_.points = Pass("POINTS", *type, 3, 3 * piece_.numPoints);
  }

  /// Either rows that begin with their lengths, or offsets from 0 and connectivity.
  void ReadCells() {
    Once(piece_.connectivity, "CELLS");
    const std::int64_t first = Count("number of cells"), second = Count("size of the cells");
    words_.EndLine();
    const int c = words_.Peek();
    if (c != 'O' && c != 'o') {
      piece_.numCells = first;
      piece_.areRowsCounted = true;
      piece_.connectivity = Pass("CELLS", vtu_Type::Int32, 1, second);
      return;
    }
    piece_.numCells = std::max<std::int64_t>(0, first - 1);
    piece_.areOffsetsStarts = true;
    piece_.offsets = ReadPart("OFFSETS", first);
    piece_.connectivity = ReadPart("CONNECTIVITY", second);
  }

  vtu_Array ReadPart(const cow_String& word, std::int64_t count) {
    const cow_String found = cow_ToUpper(words_.Word());
    if (found != word) words_.Fail("\"" + found + "\" where " + word + " is needed");
    cow_String name;
    const auto type = Type(name);
    if (!type) words_.Fail(word + " of the type " + name);
    return Pass(word, *type, 1, count);
  }

  void ReadTypes() {
    Once(piece_.types, "CELL_TYPES");
    const std::int64_t count = Count("number of cells");
    if (count != piece_.numCells)
      words_.Fail(std::to_string(count) + " types for " + std::to_string(piece_.numCells) + " cells");
    piece_.types = Pass("CELL_TYPES", vtu_Type::Int32, 1, count);
  }

  void ReadData(std::vector<vtu_Array>& arrays, cow_String& ids, std::int64_t needed) {
    arrays_ = &arrays;
    ids_ = &ids;
    numItems_ = Count("number of items");
    if (numItems_ != needed)
      words_.Fail("data for " + std::to_string(numItems_) + " items, and there are "
                  + std::to_string(needed));
  }

  /// False for a word that is none.
  bool ReadAttribute(const cow_String& word) {
    if (!arrays_) return false;
    if (word == "SCALARS") return ReadScalars();
    for (const auto& [attribute, components] : {std::pair{"VECTORS", 3},
                                                {"NORMALS", 3},
                                                {"TENSORS", 9},
                                                {"TENSORS6", 6},
                                                {"GLOBAL_IDS", 1},
                                                {"PEDIGREE_IDS", 1},
                                                {"EDGE_FLAGS", 1}})
      if (word == attribute) {
        const cow_String name = Decoded(words_.Word());
        if (word == "GLOBAL_IDS") *ids_ = name;
        ReadArray(name, components, numItems_, arrays_);
        return true;
      }
    if (word == "TEXTURE_COORDINATES") {
      const cow_String name = Decoded(words_.Word());
      const std::int64_t components = Count("number of components");
      ReadArray(name, components, numItems_, arrays_);
    } else if (word == "COLOR_SCALARS") { // bytes, or numbers from 0 to 1
      const cow_String name = Decoded(words_.Word());
      const std::int64_t components = Count("number of components");
      grid_.others.push_back(name);
      Pass(name, isBinary_ ? vtu_Type::UInt8 : vtu_Type::Float32, components, components, numItems_);
    } else if (word == "LOOKUP_TABLE") {
      const cow_String name = Decoded(words_.Word());
      grid_.others.push_back(name);
      Pass(name, isBinary_ ? vtu_Type::UInt8 : vtu_Type::Float32, 4, 4, Count("size of the table"));
    } else if (word == "FIELD") {
      ReadField(arrays_);
    } else {
      return false;
    }
    return true;
  }

  /// "SCALARS name type [components]", "LOOKUP_TABLE name", the numbers.
  bool ReadScalars() {
    const cow_String name = Decoded(words_.Word());
    cow_String typeName;
    const auto type = Type(typeName);
    cow_String word = words_.Word();
    std::int64_t components = 1;
    if (const auto count = vtu_ParseCount(word)) {
      components = *count;
      word = words_.Word();
    }
    if (cow_ToUpper(word) != "LOOKUP_TABLE") words_.Fail("\"" + word + "\" where LOOKUP_TABLE is needed");
    words_.Word();
    Store(name, type, typeName, components, numItems_, arrays_);
    return true;
  }

  void ReadArray(const cow_String& name, std::int64_t components, std::int64_t count,
                 std::vector<vtu_Array>* to) {
    cow_String typeName;
    const auto type = Type(typeName);
    Store(name, type, typeName, components, count, to);
  }

  void Store(const cow_String& name, std::optional<vtu_Type> type, const cow_String& typeName,
             std::int64_t components, std::int64_t count, std::vector<vtu_Array>* to) {
    if (!type) return PassOther(name, typeName == "bit", components, count);
    vtu_Array array = Pass(name, *type, components, components, count);
    if (to)
      to->push_back(std::move(array));
    else
      grid_.others.push_back(name);
  }

  void PassOther(const cow_String& name, bool areBits, std::int64_t components, std::int64_t count) {
    std::int64_t all = 0;
    if (__builtin_mul_overflow(components, count, &all)) words_.Fail("array \"" + name + "\" is too large");
    words_.EndLine();
    grid_.others.push_back(name);
    if (areBits) {
      if (isBinary_)
        words_.SkipBytes(all / 8 + (all % 8 != 0));
      else
        words_.SkipWords(all);
      return;
    }
    for (std::int64_t i = 0; i < all; ++i) {
      if (words_.Peek() < 0) words_.Fail("the file ends within the texts of \"" + name + "\"");
      if (isBinary_)
        SkipText();
      else
        words_.Line();
    }
  }

  /// The first two bits tell how many bytes the length has: 8, 4, 2 or 1.
  void SkipText() {
    const auto first = static_cast<unsigned>(std::max(0, words_.Get()));
    std::uint64_t length = first & 63U;
    for (int more = (8 >> (first >> 6U)) - 1; more > 0; --more)
      length = length << 8U | static_cast<unsigned>(std::max(0, words_.Get()));
    if (length > static_cast<std::uint64_t>(words_.Size()))
      words_.Fail("a text of " + std::to_string(length) + " bytes");
    words_.SkipBytes(static_cast<std::int64_t>(length));
  }

  /// "FIELD name number", then "name components items type" and the numbers of each.
  void ReadField(std::vector<vtu_Array>* to) {
    words_.Word();
    for (std::int64_t left = Count("number of arrays"); left > 0; --left) {
      cow_String name = words_.Word();
      if (name == "METADATA") {
        SkipMetadata();
        name = words_.Word();
      }
      if (name.empty()) words_.Fail("the file ends, and " + std::to_string(left) + " more arrays are needed");
      const std::int64_t components = Count("number of components"), count = Count("number of items");
      const bool fits = to && count == numItems_;
      ReadArray(Decoded(name), components, count, fits ? to : nullptr);
    }
  }

  /// Up to an empty line.
  void SkipMetadata() {
    words_.EndLine();
    while (words_.Peek() >= 0 && !words_.Line().empty()) {
    }
  }

  Words words_;
  vtu_Grid& grid_;
  vtu_Piece piece_;
  bool isBinary_ = false;
  std::vector<vtu_Array>* arrays_ = nullptr; ///< of points or cells
  cow_String* ids_ = nullptr;
  std::int64_t numItems_ = 0;
};
} // namespace

fmt_Import vtu_ReadLegacy(const cow_String& file, const fmt_ReadOptions& options) {
  vtu_Grid grid{.file = file};
  Indexer(file, grid).Run();
  return vtu_Assemble(grid, options);
}
