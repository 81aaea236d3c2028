#include "pic_PngFile.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Poll.h>
#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace {
void Append(std::vector<unsigned char>& bytes, unsigned long long number, unsigned size) {
  for (unsigned k = size; k-- > 0;) bytes.push_back(static_cast<unsigned char>(number >> (8 * k)));
}

void IgnoreWarning(png_structp /*png*/, png_const_charp /*message*/) {}

/// A writer of the format's library and what it knows of its picture.
struct Writer {
  Writer(void* owner, png_error_ptr onError)
      : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, owner, onError, IgnoreWarning)) {
    if (png) info = png_create_info_struct(png);
  }
  ~Writer() { png_destroy_write_struct(&png, &info); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  png_structp png;
  png_infop info = nullptr;
};

void Collect(png_structp png, png_bytep bytes, png_size_t count) {
  try {
    auto& all = *static_cast<std::vector<unsigned char>*>(png_get_io_ptr(png));
    all.insert(all.end(), bytes, bytes + count);
    return;
  } catch (const std::bad_alloc&) { // no exception passes the library
  }
  png_error(png, "not enough memory");
}

/// The data of all chunks IDAT of a file in memory, behind a sequence number.
std::vector<unsigned char> FrameData(std::span<const unsigned char> file, unsigned sequence) {
  std::vector<unsigned char> data;
  data.reserve(file.size());
  Append(data, sequence, 4);
  for (std::size_t at = 8; at + 12 <= file.size();) {
    std::size_t size = 0;
    for (std::size_t k = 0; k < 4; ++k) size = size << 8U | file[at + k];
    const unsigned char* name = &file[at + 4];
    if (std::memcmp(name, "IDAT", 4) == 0) data.insert(data.end(), name + 4, name + 4 + size);
    at += size + 12;
  }
  return data;
}
} // namespace

void pic_PngFile::Reason::Set(const char* reason) {
  text.fill('\0');
  std::string_view(reason).copy(text.data(), text.size() - 1);
}

void pic_PngFile::OnError(png_structp png, png_const_charp message) {
  static_cast<Reason*>(png_get_error_ptr(png))->Set(message);
  png_longjmp(png, 1);
}

void pic_PngFile::Throw() const {
  throw nex_TextException(name_ + ": cannot be written: " + reason_.text.data());
}

/// Calls what calls the library. Nothing in it has a destructor that a jump out of the library would miss, and
/// wip_Cancelled passes no function of the library.
template<class Call> void pic_PngFile::Guarded(png_structp png, Call&& call) {
  if (setjmp(png_jmpbuf(png)) != 0) Throw(); // OnError comes back here
  call();
}

pic_PngFile::pic_PngFile(const uti_OutputFile& output, int width, int height, bool hasOpacity)
    : name_(output.Name()), width_(width), height_(height), hasOpacity_(hasOpacity),
      file_(std::fopen(output.Path().c_str(), "wb")) {
  if (!file_) {
    reason_.Set(std::strerror(errno));
    Throw();
  }
  Writer writer(&reason_, OnError);
  png_ = std::exchange(writer.png, nullptr);
  info_ = std::exchange(writer.info, nullptr);
  if (!info_) {
    png_destroy_write_struct(&png_, &info_);
    std::fclose(file_);
    throw std::bad_alloc();
  }
  png_init_io(png_, file_);
}

pic_PngFile::~pic_PngFile() {
  png_destroy_write_struct(&png_, &info_);
  if (file_) std::fclose(file_);
}

void pic_PngFile::WriteHeader(png_structp png, png_infop info, bool isFile) {
  Guarded(png, [&] {
    png_set_IHDR(png, info, static_cast<png_uint_32>(width_), static_cast<png_uint_32>(height_), 8,
                 hasOpacity_ ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    if (isFile) png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_write_info(png, info);
  });
}

void pic_PngFile::WriteRows(png_structp png, const unsigned char* pixels) const {
  const std::size_t size = static_cast<std::size_t>(width_) * (hasOpacity_ ? 4 : 3);
  for (std::size_t y = 0; y < static_cast<std::size_t>(height_); ++y) {
    if (y % 64 == 0) wip_Poll::Now();
    png_write_row(png, pixels + y * size);
  }
}

void pic_PngFile::WriteChunk(const char* name, std::span<const unsigned char> bytes) {
  Guarded(png_, [&] {
    png_write_chunk(png_, reinterpret_cast<png_const_bytep>(name), bytes.data(), bytes.size());
  });
}

void pic_PngFile::AnnounceFrames(unsigned count) {
  WriteHeader(png_, info_, true);
  std::vector<unsigned char> bytes;
  Append(bytes, count, 4);
  Append(bytes, 0, 4); // shown again and again
  WriteChunk("acTL", bytes);
}

void pic_PngFile::BeginFrame(unsigned short part, unsigned short ofSecond) {
  std::vector<unsigned char> bytes;
  Append(bytes, sequence_++, 4);
  Append(bytes, static_cast<unsigned>(width_), 4);
  Append(bytes, static_cast<unsigned>(height_), 4);
  Append(bytes, 0, 8); // the place of the upper left corner
  Append(bytes, part, 2);
  Append(bytes, ofSecond, 2);
  Append(bytes, 0, 2); // it stays, and the next one replaces it
  WriteChunk("fcTL", bytes);
}

void pic_PngFile::WritePicture(std::span<const unsigned char> pixels) {
  if (sequence_ == 0) WriteHeader(png_, info_, true);
  Guarded(png_, [&] { WriteRows(png_, pixels.data()); });
}

void pic_PngFile::WriteFurtherPicture(std::span<const unsigned char> pixels) {
  std::vector<unsigned char> file;
  {
    const Writer writer(&reason_, OnError);
    if (!writer.info) throw std::bad_alloc();
    png_set_write_fn(writer.png, &file, Collect, nullptr);
    WriteHeader(writer.png, writer.info, false);
    Guarded(writer.png, [&] {
      WriteRows(writer.png, pixels.data());
      png_write_end(writer.png, writer.info);
    });
  }
  WriteChunk("fdAT", FrameData(file, sequence_++));
}

void pic_PngFile::End() {
  Guarded(png_, [&] { png_write_end(png_, info_); });
  if (std::fclose(std::exchange(file_, nullptr)) == 0) return;
  reason_.Set(std::strerror(errno));
  Throw();
}
