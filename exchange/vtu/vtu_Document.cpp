#include "vtu_Document.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <zlib.h>

namespace {
constexpr std::size_t kBlock = std::size_t{1} << 18; ///< bytes that are compressed at a time
constexpr int kOffsetWidth = 20;                     ///< digits of the largest

cow_String Escaped(const cow_String& text) {
  cow_String escaped;
  for (const char c : text) switch (c) {
    case '&': escaped += "&amp;"; break;
    case '<': escaped += "&lt;"; break;
    case '>': escaped += "&gt;"; break;
    case '"': escaped += "&quot;"; break;
    default: escaped += c;
    }
  return escaped;
}

void CheckCancelled() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

void WriteBytes(std::ostream& out, std::span<const unsigned char> bytes) {
  constexpr std::size_t kSlice = std::size_t{1} << 22;
  for (std::size_t at = 0; at < bytes.size(); at += kSlice) {
    CheckCancelled();
    const auto part = bytes.subspan(at, std::min(kSlice, bytes.size() - at));
    out.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
  }
}
void WriteHeader(std::ostream& out, std::span<const std::uint64_t> numbers) {
  out.write(reinterpret_cast<const char*>(numbers.data()),
            static_cast<std::streamsize>(numbers.size_bytes()));
}

/// A block by itself; it needs nothing of the others.
void CompressBlock(std::span<const unsigned char> block, std::vector<unsigned char>& packed) {
  packed.resize(compressBound(block.size()));
  uLongf length = packed.size();
  if (compress2(packed.data(), &length, block.data(), block.size(), Z_BEST_SPEED) != Z_OK)
    throw nex_TextException("zlib cannot compress " + std::to_string(block.size()) + " bytes");
  packed.resize(length);
}

/// Cuts what it gets into blocks, and writes them behind a header with their lengths. As many blocks are compressed
/// at once as keep the lent threads busy.
class Compressor {
public:
  Compressor(std::ostream& out, std::size_t numBytes)
      : out_(out), start_(out.tellp()), header_{(numBytes + kBlock - 1) / kBlock, kBlock, numBytes % kBlock},
        packed_(wip_NumThreads() > 1 ? std::size_t{kBlocksPerThread} * wip_NumThreads() : 1) {
    blocks_.reserve(std::min(packed_.size() * kBlock, numBytes));
    header_.resize(3 + header_[0]);
    WriteHeader(out, header_); // its place; the lengths are not known
    header_.resize(3);
  }
  void Add(std::span<const unsigned char> bytes) {
    const std::size_t most = packed_.size() * kBlock;
    while (!bytes.empty()) {
      const auto part = bytes.first(std::min(bytes.size(), most - blocks_.size()));
      blocks_.insert(blocks_.end(), part.begin(), part.end());
      bytes = bytes.subspan(part.size());
      if (blocks_.size() == most) Flush();
    }
  }
  void End() {
    if (!blocks_.empty()) Flush();
    const auto end = out_.tellp();
    out_.seekp(start_);
    WriteHeader(out_, header_);
    out_.seekp(end);
  }

private:
  static constexpr unsigned kBlocksPerThread = 4;

  void Flush() {
    const std::size_t count = (blocks_.size() + kBlock - 1) / kBlock;
    wip_RunPieces(count, [&](std::size_t k) {
      const std::size_t first = k * kBlock;
      CompressBlock(std::span(blocks_).subspan(first, std::min(kBlock, blocks_.size() - first)), packed_[k]);
    });
    for (std::size_t k = 0; k < count; ++k) {
      WriteBytes(out_, packed_[k]);
      header_.push_back(packed_[k].size());
    }
    blocks_.clear();
  }

  std::ostream& out_;
  std::ostream::pos_type start_;
  std::vector<std::uint64_t> header_;
  std::vector<unsigned char> blocks_;
  std::vector<std::vector<unsigned char>> packed_;
};

template<class T> void PrintAs(std::ostream& out, std::span<const unsigned char> bytes, int perLine) {
  cow_String text;
  char word[32];
  for (std::size_t i = 0; i * sizeof(T) < bytes.size(); ++i) {
    T value;
    std::memcpy(&value, bytes.data() + i * sizeof value, sizeof value);
    char* end = word;
    if constexpr (sizeof value == 1)
      end = std::to_chars(word, std::end(word), int{value}).ptr;
    else
      end = std::to_chars(word, std::end(word), value).ptr;
    *end++ = (i + 1) % static_cast<std::size_t>(perLine) == 0 ? '\n' : ' ';
    text.append(word, end);
    if (text.size() > kBlock) {
      CheckCancelled();
      out << text;
      text.clear();
    }
  }
  out << text;
}

void Print(std::ostream& out, vtu_Type type, std::span<const unsigned char> bytes, int components) {
  const int perLine = components > 1 ? components : 12;
  switch (type) {
  case vtu_Type::Int8: return PrintAs<signed char>(out, bytes, perLine);
  case vtu_Type::UInt8: return PrintAs<unsigned char>(out, bytes, perLine);
  case vtu_Type::Int64: return PrintAs<std::int64_t>(out, bytes, perLine);
  case vtu_Type::Float32: return PrintAs<float>(out, bytes, perLine);
  case vtu_Type::Float64: return PrintAs<double>(out, bytes, perLine);
  default: return PrintAs<int>(out, bytes, perLine);
  }
}
} // namespace

void vtu_Document::Add(const cow_String& name, vtu_Type type, int components, std::size_t count,
                       std::span<const cow_String> componentNames, std::function<void(const Put&)> produce) {
  cow_String attributes =
      "<DataArray type=\"" + cow_String(vtu_NameOf(type)) + "\" Name=\"" + Escaped(name) + "\"";
  if (components > 1) attributes += " NumberOfComponents=\"" + std::to_string(components) + "\"";
  for (std::size_t i = 0; i < componentNames.size(); ++i)
    attributes += " ComponentName" + std::to_string(i) + "=\"" + Escaped(componentNames[i]) + "\"";
  parts_.push_back({std::move(attributes), Numbers{type, components, count, std::move(produce)}, name});
}

void vtu_Document::Write(uti_OutputFile& output, fmt_Encoding encoding) const {
  std::ofstream out(output.Path(), std::ios::binary);
  const bool isCompressed = encoding == fmt_Encoding::Compressed;
  out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\""
      << (std::endian::native == std::endian::little ? "LittleEndian" : "BigEndian")
      << "\" header_type=\"UInt64\"" << (isCompressed ? " compressor=\"vtkZLibDataCompressor\"" : "")
      << ">\n";
  if (encoding == fmt_Encoding::Ascii)
    WriteText(out);
  else
    WriteAppended(out, isCompressed);
  out << "</VTKFile>\n";
  out.close();
  if (!out) throw nex_TextException(output.Name() + ": cannot be written; is the disk full?");
  output.Commit();
}

void vtu_Document::WriteText(std::ostream& out) const {
  for (const Part& part : parts_) {
    out << part.text;
    if (!part.numbers) continue;
    out << " format=\"ascii\">\n";
    part.numbers->produce([&](std::span<const unsigned char> bytes) {
      Print(out, part.numbers->type, bytes, part.numbers->components);
    });
    out << "\n</DataArray>\n";
  }
}

/// The offsets of compressed arrays are known last; there is room for them.
void vtu_Document::WriteAppended(std::ostream& out, bool isCompressed) const {
  std::vector<std::ostream::pos_type> places;
  std::uint64_t offset = 0;
  for (const Part& part : parts_) {
    out << part.text;
    if (!part.numbers) continue;
    out << " format=\"appended\" ";
    places.push_back(out.tellp());
    const cow_String known = "offset=\"" + std::to_string(offset) + '"';
    out << known;
    if (isCompressed) out << cow_String(static_cast<std::size_t>(kOffsetWidth), ' ');
    out << "/>\n";
    offset += isCompressed ? 0 : 8 + part.numbers->count * vtu_SizeOf(part.numbers->type);
  }
  out << "<AppendedData encoding=\"raw\">\n_";
  const auto start = out.tellp();
  std::size_t array = 0;
  for (const Part& part : parts_) {
    if (!part.numbers) continue;
    const std::uint64_t numBytes = part.numbers->count * vtu_SizeOf(part.numbers->type);
    if (!isCompressed) {
      WriteHeader(out, {&numBytes, 1});
      part.numbers->produce([&](std::span<const unsigned char> bytes) { WriteBytes(out, bytes); });
      continue;
    }
    const auto begin = out.tellp();
    out.seekp(places[array++]);
    out << "offset=\"" << begin - start << '"';
    out.seekp(begin);
    Compressor compressor(out, numBytes);
    part.numbers->produce([&](std::span<const unsigned char> bytes) { compressor.Add(bytes); });
    compressor.End();
  }
  out << "\n</AppendedData>\n";
}
