#include "fmt_Output.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>

fmt_Output::fmt_Output(uti_OutputFile& output) : output_(output), out_(output.Path(), std::ios::binary) {
  buffer_.reserve(kBuffer);
}

void fmt_Output::Pass(std::span<const std::byte> bytes) {
  Flush();
  if (bytes.size() <= kBuffer) return Bytes(bytes);
  out_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void fmt_Output::Flush() {
  thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
  out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  buffer_.clear();
  if (!out_) throw nex_TextException(output_.Name() + ": cannot be written; is the disk full?");
}

void fmt_Output::Finish() {
  Flush();
  out_.close();
  if (!out_) throw nex_TextException(output_.Name() + ": cannot be written; is the disk full?");
  output_.Commit();
}
