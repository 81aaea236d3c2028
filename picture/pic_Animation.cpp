#include <CoreGeometry/pic_Animation.h>

#include "pic_PngFile.h"

#include <BasicUtils/nex_Exception.h>
#include <cmath>

struct pic_Animation::Numbered {
  cow_String pattern;
  uti_OutputRules rules;
  cow_String Name(unsigned number) const {
    return uti_OutputFile::Numbered(pattern, static_cast<int>(number));
  }
};

pic_Animation::pic_Animation(uti_OutputFile& output, unsigned count, double rate)
    : output_(&output), count_(count) {
  constexpr double kLeast = 0.1, kMost = 1000;
  if (!(rate >= kLeast && rate <= kMost))
    throw nex_TextException(output.Name() + ": the rate of an animation is 0.1 to 1000 pictures a second");
  if (count == 0) throw nex_AssertionException("an animation has at least one picture");
  milliseconds_ = static_cast<unsigned short>(std::lround(1000 / rate));
}

pic_Animation::pic_Animation(const cow_String& pattern, uti_OutputRules rules, unsigned count)
    : numbered_(new Numbered{pattern, std::move(rules)}), count_(count) {
  if (count == 0) throw nex_AssertionException("an animation has at least one picture");
  for (unsigned i = 0; i < count; ++i) const uti_OutputFile refused(numbered_->Name(i), numbered_->rules);
}

pic_Animation::~pic_Animation() = default;

void pic_Animation::Add(const pic_Canvas& picture) {
  if (added_ == count_) throw nex_AssertionException("an animation has more pictures than announced");
  if (added_ == 0) {
    width_ = picture.Width();
    height_ = picture.Height();
  } else if (picture.Width() != width_ || picture.Height() != height_)
    throw nex_AssertionException("pictures of an animation have one size");
  if (numbered_) {
    uti_OutputFile output(numbered_->Name(added_), numbered_->rules);
    picture.WritePng(output);
  } else
    AddFrame(picture);
  ++added_;
}

void pic_Animation::AddFrame(const pic_Canvas& picture) {
  const std::vector<unsigned char> pixels = picture.Pixels();
  if (added_ == 0) {
    file_ = std::make_unique<pic_PngFile>(*output_, width_, height_, picture.IsTransparent());
    file_->AnnounceFrames(count_);
  }
  file_->BeginFrame(milliseconds_, 1000);
  if (added_ == 0)
    file_->WritePicture(pixels);
  else
    file_->WriteFurtherPicture(pixels);
  if (added_ + 1 < count_) return;
  file_->End();
  output_->Commit();
}
