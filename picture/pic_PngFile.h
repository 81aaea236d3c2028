// pic_PngFile.h: the format's library writing one file, with one picture or several
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <array>
#include <cstdio>
#include <png.h>
#include <span>
#include <vector>

/// A PNG file from its first byte to its last.
///
/// Errors     nex_TextException naming the file and the reason.
class pic_PngFile {
public:
  pic_PngFile(const uti_OutputFile& output, int width, int height, bool hasOpacity);
  ~pic_PngFile();
  pic_PngFile(const pic_PngFile&) = delete;
  pic_PngFile& operator=(const pic_PngFile&) = delete;

  /// Of an animation, before the first picture.
  void AnnounceFrames(unsigned count);
  /// Before each frame: how many parts of a second it is shown.
  void BeginFrame(unsigned short part, unsigned short ofSecond);
  /// The first or only picture: rows of red, green, blue and opacity if there is one, from above.
  void WritePicture(std::span<const unsigned char> pixels);
  void WriteFurtherPicture(std::span<const unsigned char> pixels);
  void End();

private:
  struct Reason {
    std::array<char, 128> text{};
    void Set(const char* reason);
  };
  template<class Call> void Guarded(png_structp png, Call&& call);
  void WriteHeader(png_structp png, png_infop info, bool isFile);
  void WriteRows(png_structp png, const unsigned char* pixels) const;
  void WriteChunk(const char* name, std::span<const unsigned char> bytes);
  [[noreturn]] void Throw() const;
  static void OnError(png_structp png, png_const_charp message);

  cow_String name_;
  int width_, height_;
  bool hasOpacity_;
  std::FILE* file_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  Reason reason_;
  unsigned sequence_ = 0; ///< of the chunks that belong to the animation
};
