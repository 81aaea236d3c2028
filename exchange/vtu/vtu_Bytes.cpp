#include "vtu_Numbers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <zlib.h>

namespace {
constexpr std::size_t kBuffer = std::size_t{1} << 16;
constexpr unsigned char kNoDigit = 64, kSpace = 65, kPadding = 66;

constexpr std::array<unsigned char, 256> kDigitOf = [] {
  std::array<unsigned char, 256> table{};
  table.fill(kNoDigit);
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kDigits.size(); ++i)
    table[static_cast<unsigned char>(kDigits[i])] = static_cast<unsigned char>(i);
  for (const char c : {' ', '\t', '\r', '\n'}) table[static_cast<unsigned char>(c)] = kSpace;
  table['='] = kPadding;
  return table;
}();
} // namespace

struct vtu_Bytes::Inflater {
  Inflater() : input(kBuffer) {
    if (inflateInit(&stream) != Z_OK) throw std::bad_alloc();
  }
  ~Inflater() { inflateEnd(&stream); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  z_stream stream{};
  std::vector<unsigned char> input;
};

vtu_Bytes::vtu_Bytes(const cow_String& file, const vtu_Array& array)
    : file_(file), array_(array), in_(file, std::ios::binary) {
  in_.seekg(array.begin);
  if (!in_) Fail("the file cannot be read");
  inFile_ = static_cast<std::uint64_t>(array.end - array.begin);
  if (array.form == vtu_Form::Text) return;
  if (array.coding.isCompressed)
    ReadBlockSizes();
  else
    left_ = array.coding.headerSize > 0 ? ReadHeader() : inFile_;
  const std::uint64_t most = array.form == vtu_Form::Base64 ? inFile_ / 4 * 3 + kBuffer : inFile_;
  if (!array.coding.isCompressed && left_ > most)
    Fail("has " + std::to_string(left_) + " bytes by its header, and the file ends before");
}

vtu_Bytes::~vtu_Bytes() = default;

void vtu_Bytes::Fail(const cow_String& why) const {
  throw nex_TextException(file_ + ": " + array_.place + ", array \"" + array_.name + "\": " + why);
}

std::size_t vtu_Bytes::ReadFile(unsigned char* to, std::size_t count) {
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, inFile_));
  in_.read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(count));
  const auto read = static_cast<std::size_t>(in_.gcount());
  inFile_ = read < count ? 0 : inFile_ - read;
  return read;
}

std::size_t vtu_Bytes::ReadText(char* to, std::size_t count) {
  return ReadFile(reinterpret_cast<unsigned char*>(to), count);
}

/// Padding ends a part, and another one may follow: headers are encoded apart from their data, or not.
std::size_t vtu_Bytes::Decode(unsigned char* to, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    if (inTriple_ < tripleEnd_) {
      to[done++] = triple_[inTriple_++];
      continue;
    }
    // whole groups without spaces or padding
    while (count - done >= 3 && characters_.size() - nextCharacter_ >= 4) {
      const unsigned char* at = characters_.data() + nextCharacter_;
      const unsigned a = kDigitOf[at[0]], b = kDigitOf[at[1]], c = kDigitOf[at[2]], d = kDigitOf[at[3]];
      if ((a | b | c | d) >= kNoDigit) break;
      const unsigned word = a << 18U | b << 12U | c << 6U | d;
      to[done] = static_cast<unsigned char>(word >> 16U);
      to[done + 1] = static_cast<unsigned char>(word >> 8U);
      to[done + 2] = static_cast<unsigned char>(word);
      done += 3;
      nextCharacter_ += 4;
    }
    if (done == count) break;
    // a group character by character
    unsigned word = 0, digits = 0, padding = 0;
    while (digits + padding < 4) {
      if (nextCharacter_ == characters_.size()) {
        characters_.resize(kBuffer);
        characters_.resize(ReadFile(characters_.data(), kBuffer));
        nextCharacter_ = 0;
        if (characters_.empty()) {
          if (digits > 0) Fail("its base64 ends within a group of four characters");
          return done;
        }
      }
      const unsigned char character = characters_[nextCharacter_];
      const unsigned char digit = kDigitOf[character];
      if (digit == kNoDigit && digits == 0 && character == '<') return done;
      ++nextCharacter_;
      if (digit == kSpace) continue;
      const bool isPadding = digit == kPadding && digits >= 2;
      if (!isPadding && (digit >= kNoDigit || padding > 0))
        Fail("character " + std::to_string(unsigned{character}) + " is not base64");
      padding += isPadding;
      digits += !isPadding;
      word = word << 6U | (isPadding ? 0U : unsigned{digit});
    }
    triple_[0] = static_cast<unsigned char>(word >> 16U);
    triple_[1] = static_cast<unsigned char>(word >> 8U);
    triple_[2] = static_cast<unsigned char>(word);
    inTriple_ = 0;
    tripleEnd_ = 3 - padding;
  }
  return done;
}

std::size_t vtu_Bytes::ReadStored(unsigned char* to, std::size_t count) {
  return array_.form == vtu_Form::Base64 ? Decode(to, count) : ReadFile(to, count);
}

void vtu_Bytes::NeedStored(unsigned char* to, std::size_t count, const char* what) {
  if (ReadStored(to, count) < count) Fail(cow_String("the file ends within ") + what);
}

std::uint64_t vtu_Bytes::ReadHeader() {
  unsigned char bytes[8] = {};
  NeedStored(bytes, array_.coding.headerSize, "its header");
  if (array_.coding.headerSize == 4) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, 4);
    return array_.coding.isSwapped ? __builtin_bswap32(number) : number;
  }
  std::uint64_t number = 0;
  std::memcpy(&number, bytes, 8);
  return array_.coding.isSwapped ? __builtin_bswap64(number) : number;
}

/// Number of blocks, their length, that of the last when it is shorter, the compressed lengths.
void vtu_Bytes::ReadBlockSizes() {
  constexpr std::uint64_t kMostRatio = 1032; // of deflate (zlib's technical notes)
  const std::uint64_t all = inFile_, count = ReadHeader();
  blockSize_ = ReadHeader();
  lastSize_ = ReadHeader();
  if (count > all / array_.coding.headerSize)
    Fail("has " + std::to_string(count) + " blocks by its header, and the file ends before");
  if (lastSize_ > blockSize_)
    Fail("has a last block of " + std::to_string(lastSize_) + " bytes, and blocks of "
         + std::to_string(blockSize_));
  if (lastSize_ == 0) lastSize_ = blockSize_;
  packedSizes_.resize(static_cast<std::size_t>(count));
  std::uint64_t packed = 0;
  for (std::size_t i = 0; i < packedSizes_.size(); ++i) {
    packedSizes_[i] = ReadHeader();
    packed += packedSizes_[i];
    if (packedSizes_[i] > all || packed > all)
      Fail("block " + std::to_string(i + 1) + " has " + std::to_string(packedSizes_[i])
           + " compressed bytes by its header, and the file ends before");
    const std::uint64_t size = i + 1 == count ? lastSize_ : blockSize_;
    if (size / kMostRatio > packedSizes_[i])
      Fail("block " + std::to_string(i + 1) + " cannot have " + std::to_string(size) + " bytes in "
           + std::to_string(packedSizes_[i]) + " compressed ones");
  }
  if (count > 0) left_ = (count - 1) * blockSize_ + lastSize_;
  inflater_ = std::make_unique<Inflater>();
}

void vtu_Bytes::NextBlock() {
  packedLeft_ = packedSizes_[nextBlock_];
  blockLeft_ = ++nextBlock_ == packedSizes_.size() ? lastSize_ : blockSize_;
  inflateReset(&inflater_->stream);
  inflater_->stream.avail_in = 0;
}

void vtu_Bytes::Read(unsigned char* to, std::size_t count) {
  left_ -= count;
  if (!array_.coding.isCompressed) return NeedStored(to, count, "its data");
  z_stream& stream = inflater_->stream;
  while (count > 0) {
    if (blockLeft_ == 0) NextBlock();
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(count, blockLeft_));
    stream.next_out = to;
    stream.avail_out = static_cast<uInt>(part);
    // the end of a block is read with its last byte
    const bool isLast = part == blockLeft_;
    int result = Z_OK;
    while (result == Z_OK && (stream.avail_out > 0 || isLast)) {
      if (stream.avail_in == 0) {
        const auto some = static_cast<std::size_t>(std::min<std::uint64_t>(kBuffer, packedLeft_));
        NeedStored(inflater_->input.data(), some, "its data");
        packedLeft_ -= some;
        stream.next_in = inflater_->input.data();
        stream.avail_in = static_cast<uInt>(some);
        if (some == 0) break;
      }
      result = inflate(&stream, Z_NO_FLUSH);
    }
    if (stream.avail_out > 0 || (isLast && (result != Z_STREAM_END || packedLeft_ + stream.avail_in > 0)))
      Fail("block " + std::to_string(nextBlock_) + " is damaged or not of the length that its header says");
    blockLeft_ -= part;
    to += part;
    count -= part;
  }
}
