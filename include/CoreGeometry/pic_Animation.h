// pic_Animation.h: pictures one after the other, in one file or in a file each
#pragma once

#include <CoreGeometry/pic_Canvas.h>
#include <memory>

class pic_PngFile;

/// A series of pictures of one size. The last Add() ends it, and commits what is written.
///
/// Name       with a place for numbers, "out_%04d.png", a file for each picture, counted from 0; otherwise one
///            animated PNG that is shown again and again.
/// Errors     as uti_OutputFile for each name, before the first picture; nex_TextException for a rate
///            outside 0.1 to 1000 pictures a second; nex_AssertionException for a picture of another size, or
///            one too many.
/// Cost       two pictures in memory.
/// Layout     of one file: chunks acTL, fcTL and fdAT of the third edition of the PNG standard.
class CORE_GEOMETRY_PICTURE_API pic_Animation {
public:
  pic_Animation(uti_OutputFile& output, unsigned count, double rate);
  pic_Animation(const cow_String& pattern, uti_OutputRules rules, unsigned count);
  ~pic_Animation();
  pic_Animation(const pic_Animation&) = delete;
  pic_Animation& operator=(const pic_Animation&) = delete;

  void Add(const pic_Canvas& picture);

private:
  struct Numbered;
  void AddFrame(const pic_Canvas& picture);

  uti_OutputFile* output_ = nullptr; ///< of one file
  std::unique_ptr<Numbered> numbered_;
  std::unique_ptr<pic_PngFile> file_;
  unsigned count_, added_ = 0;
  unsigned short milliseconds_ = 0;
  int width_ = 0, height_ = 0;
};
