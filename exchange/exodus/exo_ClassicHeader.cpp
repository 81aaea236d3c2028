#include "exo_ClassicHeader.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

namespace {
using Size = std::uint64_t;
constexpr Size kTooMuch = std::numeric_limits<Size>::max();

struct Damage {
  cow_String what;
};

Size Times(Size a, Size b) {
  Size product = 0;
  return __builtin_mul_overflow(a, b, &product) ? kTooMuch : product;
}
Size Plus(Size a, Size b) { return a > kTooMuch - b ? kTooMuch : a + b; }
Size RoundUp4(Size bytes) { return bytes > kTooMuch - 3 ? kTooMuch : (bytes + 3) / 4 * 4; }

/// Reads the header from its start; throws Damage instead of reading beyond the end of the file.
class Reader {
public:
  explicit Reader(const cow_String& name)
      : in_(name, std::ios::binary), length_(std::filesystem::file_size(name, error_)) {
    std::array<char, 4> magic{};
    in_.read(magic.data(), magic.size());
    if (!error_ && in_ && magic[0] == 'C' && magic[1] == 'D' && magic[2] == 'F')
      version_ = static_cast<unsigned char>(magic[3]);
    left_ = length_ - 4;
  }
  bool IsClassic() const { return version_ == 1 || version_ == 2 || version_ == 5; }

  /// Checks the whole header, and that the data of every variable lies within the file.
  void Check() {
    const Size records = Count();
    SkipDimensions();
    SkipAttributes();
    struct Variable {
      cow_String name;
      Size begin, bytes;
    };
    std::vector<Variable> recordVariables;
    Size paddedRecord = 0;
    for (Size i = List(kVariables); i > 0; --i) {
      const cow_String name = Name();
      Size bytes = 1;
      bool isRecord = false;
      for (Size d = 0, rank = Counted(CountSize()); d < rank; ++d) {
        const Size id = Count();
        if (id >= dimensions_.size())
          throw Damage{"variable " + name + " names a dimension that is not there"};
        const Size extent = dimensions_[id];
        isRecord |= d == 0 && extent == 0;
        if (!(d == 0 && extent == 0)) bytes = Times(bytes, extent);
      }
      SkipAttributes();
      bytes = Times(bytes, SizeOf(Number(4)));
      Count(); // the stored size, which overflows for large variables
      const Size begin = Number(version_ == 1 ? 4 : 8);
      if (isRecord) {
        recordVariables.push_back({name, begin, bytes});
        paddedRecord = Plus(paddedRecord, RoundUp4(bytes));
      } else {
        CheckEnd(name, Plus(begin, bytes));
      }
    }
    const Size streaming = version_ == 5 ? kTooMuch : 0xffffffffU;
    if (records == 0 || records == streaming) return;
    for (const Variable& variable : recordVariables) {
      const Size record = recordVariables.size() == 1 ? variable.bytes : paddedRecord;
      CheckEnd(variable.name, Plus(Plus(variable.begin, Times(records - 1, record)), variable.bytes));
    }
  }

private:
  static constexpr Size kDimensions = 10, kVariables = 11, kAttributes = 12;

  Size CountSize() const { return version_ == 5 ? 8 : 4; }
  void Take(Size bytes) {
    if (bytes > left_) throw Damage{"is cut short: its header does not end within its " + Length()};
    left_ -= bytes;
  }
  Size Number(Size bytes) {
    Take(bytes);
    Size value = 0;
    for (Size i = 0; i < bytes; ++i) value = value << 8 | static_cast<unsigned char>(in_.get());
    return value;
  }
  Size Count() { return Number(CountSize()); }
  /// A count of entries that take at least that many bytes each.
  Size Counted(Size bytesEach) {
    const Size count = Count();
    if (Times(count, bytesEach) > left_)
      throw Damage{"its header counts " + std::to_string(count) + " entries, more than fit its " + Length()};
    return count;
  }
  Size List(Size wanted) {
    const Size tag = Number(4), count = Counted(2 * CountSize());
    if (count != 0 && tag != wanted) throw Damage{"its header has an unknown part " + std::to_string(tag)};
    return count;
  }
  void Skip(Size bytes) {
    Take(bytes);
    in_.seekg(static_cast<std::streamoff>(bytes), std::ios::cur);
  }
  cow_String Name() {
    const Size length = Counted(1), padded = RoundUp4(length);
    Take(padded);
    cow_String name(padded, '\0');
    in_.read(name.data(), static_cast<std::streamsize>(padded));
    name.resize(length);
    return name;
  }
  static Size SizeOf(Size type) {
    constexpr Size kSizes[] = {1, 1, 2, 4, 4, 8, 1, 2, 4, 8, 8};
    if (type < 1 || type > std::size(kSizes))
      throw Damage{"its header has an unknown type " + std::to_string(type)};
    return kSizes[type - 1];
  }
  void SkipDimensions() {
    for (Size i = List(kDimensions); i > 0; --i) {
      Name();
      dimensions_.push_back(Count());
    }
  }
  void SkipAttributes() {
    for (Size i = List(kAttributes); i > 0; --i) {
      Name();
      const Size size = SizeOf(Number(4));
      Skip(RoundUp4(Times(Count(), size)));
    }
  }
  void CheckEnd(const cow_String& variable, Size end) const {
    if (end > length_)
      throw Damage{"is cut short: variable " + variable + " ends at byte " + std::to_string(end) + " of "
                   + std::to_string(length_)};
  }
  cow_String Length() const { return std::to_string(length_) + " bytes"; }

  std::error_code error_;
  std::ifstream in_;
  Size length_, left_ = 0;
  int version_ = 0;
  std::vector<Size> dimensions_;
};
} // namespace

cow_String exo_CheckClassicHeader(const cow_String& fileName) {
  Reader reader(fileName);
  if (!reader.IsClassic()) return {};
  try {
    reader.Check();
  } catch (const Damage& damage) {
    return damage.what;
  }
  return {};
}
