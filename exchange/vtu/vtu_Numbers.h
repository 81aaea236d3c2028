// vtu_Numbers.h: arrays of numbers in files of VTK, read in slices
#pragma once

#include <BasicUtils/nex_Exception.h>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

enum class vtu_Type : unsigned char {
  Int8,
  UInt8,
  Int16,
  UInt16,
  Int32,
  UInt32,
  Int64,
  UInt64,
  Float32,
  Float64
};
std::string_view vtu_NameOf(vtu_Type type); ///< "Int8": as the attribute `type` has it
std::optional<vtu_Type> vtu_FindType(std::string_view name);
std::size_t vtu_SizeOf(vtu_Type type);
inline bool vtu_IsInteger(vtu_Type type) { return type < vtu_Type::Float32; }

inline bool vtu_IsSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

enum class vtu_Form : unsigned char { Text, Base64, Raw };

/// How the bytes of all arrays of a file are arranged.
struct vtu_Coding {
  bool isSwapped = false;       ///< the other byte order than this machine's
  bool isCompressed = false;    ///< by zlib, in blocks
  unsigned char headerSize = 0; ///< bytes of each number before the data, 4 or 8; 0 when there are none
};

/// Where an array stands in its file.
struct vtu_Array {
  cow_String name;
  cow_String place; ///< "line 7"
  vtu_Type type = vtu_Type::Int32;
  std::int64_t components = 1;
  vtu_Form form = vtu_Form::Text;
  vtu_Coding coding{};
  std::int64_t begin = 0, end = 0; ///< bytes of the file; what follows the array may be in them
};

/// The bytes of an array, decoded from base64 and decompressed.
class vtu_Bytes {
public:
  vtu_Bytes(const cow_String& file, const vtu_Array& array);
  ~vtu_Bytes();
  vtu_Bytes(const vtu_Bytes&) = delete;
  vtu_Bytes& operator=(const vtu_Bytes&) = delete;

  std::uint64_t Left() const noexcept { return left_; } ///< to be read
  /// No more than are left.
  void Read(unsigned char* to, std::size_t count);
  /// Of a text: those there are, 0 at the end.
  std::size_t ReadText(char* to, std::size_t count);

private:
  struct Inflater;
  [[noreturn]] void Fail(const cow_String& why) const;
  std::size_t ReadFile(unsigned char* to, std::size_t count);
  std::size_t Decode(unsigned char* to, std::size_t count);
  std::size_t ReadStored(unsigned char* to, std::size_t count);
  void NeedStored(unsigned char* to, std::size_t count, const char* what);
  std::uint64_t ReadHeader();
  void ReadBlockSizes();
  void NextBlock();

  const cow_String& file_;
  const vtu_Array& array_;
  std::ifstream in_;
  std::uint64_t inFile_ = 0; ///< bytes of the file that are not read
  std::uint64_t left_ = 0;
  // base64: characters that were read
  std::vector<unsigned char> characters_;
  std::size_t nextCharacter_ = 0;
  unsigned char triple_[3] = {};
  std::size_t inTriple_ = 0, tripleEnd_ = 0;
  // compressed blocks
  std::vector<std::uint64_t> packedSizes_;
  std::uint64_t blockSize_ = 0, lastSize_ = 0, packedLeft_ = 0, blockLeft_ = 0;
  std::size_t nextBlock_ = 0;
  std::unique_ptr<Inflater> inflater_;
};

/// The numbers of an array one after the other; T is std::int64_t, float or double.
///
/// Errors     nex_TextException naming file, array, position from 1 and value.
template<class T> class vtu_Numbers {
public:
  static constexpr std::size_t kMost = std::size_t{1} << 15; ///< that can be taken at a time

  /// Refers to both. An array of floating numbers is no array of integers.
  vtu_Numbers(const cow_String& file, const vtu_Array& array);

  /// How many there are; of a text how many there can be at most.
  std::uint64_t Count() const noexcept { return count_; }
  bool IsText() const noexcept { return array_.form == vtu_Form::Text; }
  /// The next ones, at most kMost; they are good until the next call.
  std::span<const T> Take(std::size_t count) {
    if (end_ - next_ < count) Fill(count);
    const std::span<const T> taken(values_.data() + next_, count);
    next_ += count;
    return taken;
  }
  T Next() { return Take(1)[0]; }
  void Skip(std::uint64_t count);
  /// Refuses what follows the numbers that were taken.
  void End();
  /// A number that was taken is wrong: `back` 1 for the last one.
  [[noreturn]] void Fail(std::size_t back, const cow_String& why) const;

private:
  void Fill(std::size_t count);
  void ReadBinary(std::size_t count);
  void ReadText(std::size_t count);
  bool RefillText();

  const cow_String& file_;
  const vtu_Array& array_;
  vtu_Bytes bytes_;
  std::uint64_t count_;
  std::vector<T> values_;
  std::size_t next_ = 0, end_ = 0;
  std::uint64_t before_ = 0; ///< number of those that are no more in values_
  std::vector<unsigned char> raw_;
  std::vector<char> text_;
  std::size_t textNext_ = 0, textEnd_ = 0;
  bool isTextAtEnd_ = false;
};
