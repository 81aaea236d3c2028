#include "fmt_Input.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

fmt_Input::fmt_Input(const cow_String& file)
    : name_(file), descriptor_(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  if (descriptor_ < 0) throw nex_TextException(name_ + ": cannot be opened: " + std::strerror(errno));
  struct stat facts {};
  if (fstat(descriptor_, &facts) != 0 || !S_ISREG(facts.st_mode)) {
    close(descriptor_);
    throw nex_TextException(name_ + ": is not a regular file");
  }
  size_ = static_cast<std::size_t>(facts.st_size);
  buffer_ = std::make_unique_for_overwrite<char[]>(kBuffer);
}

fmt_Input::~fmt_Input() { close(descriptor_); }

void fmt_Input::Fail(const cow_String& why) const {
  cow_String text = name_ + ": ";
  if (!place_.empty()) text += place_ + (isText_ ? ", " : ": ");
  if (isText_) text += "line " + std::to_string(line_) + ": ";
  throw nex_TextException(text + why);
}

void fmt_Input::FailAtWord(const char* what) {
  cow_String word(Peek(kLongestWord));
  word.resize(static_cast<std::size_t>(std::ranges::find_if(word, &fmt_Input::IsBlank) - word.begin()));
  constexpr std::size_t kShown = 40;
  if (word.size() > kShown) word = word.substr(0, kShown) + "...";
  for (char& c : word)
    if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~') c = '?';
  Fail("\"" + word + "\" is not " + what);
}

void fmt_Input::Poll() const {
  wip_WIP& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  channel.CheckCancelled();
  if (size_ > 0)
    channel.Progress(std::min(1.0, static_cast<double>(base_ + end_) / static_cast<double>(size_)));
}

std::size_t fmt_Input::ReadSome(char* target, std::size_t bytes) {
  Poll();
  std::size_t done = 0;
  while (done < bytes) {
    const ssize_t got = read(descriptor_, target + done, bytes - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw nex_TextException(name_ + ": cannot be read: " + std::strerror(errno));
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void fmt_Input::Fill() {
  std::memmove(buffer_.get(), buffer_.get() + at_, end_ - at_);
  base_ += at_;
  end_ -= at_;
  at_ = 0;
  if (base_ + end_ >= size_) return; // what is appended meanwhile is not of this file
  end_ += ReadSome(buffer_.get() + end_, std::min(kBuffer - end_, size_ - base_ - end_));
  if (end_ < kBuffer && base_ + end_ < size_) size_ = base_ + end_; // it was cut off meanwhile
}

void fmt_Input::ReadBytes(std::span<std::byte> target) {
  if (target.size() > Left())
    Fail("the file ends " + std::to_string(target.size() - Left()) + " bytes before the end of it");
  while (!target.empty()) {
    if (at_ == end_) Fill();
    const std::size_t part = std::min(target.size(), end_ - at_);
    if (part == 0) Fail("the file was cut off while it was read");
    std::memcpy(target.data(), buffer_.get() + at_, part);
    at_ += part;
    target = target.subspan(part);
  }
}

void fmt_Input::Skip(std::size_t bytes) {
  if (bytes > Left()) Fail("the file ends " + std::to_string(bytes - Left()) + " bytes before the end of it");
  while (bytes > 0) {
    if (at_ == end_) Fill();
    const std::size_t part = std::min(bytes, end_ - at_);
    if (part == 0) Fail("the file was cut off while it was read");
    at_ += part;
    bytes -= part;
  }
}

bool fmt_Input::SkipPast(std::string_view bytes) {
  for (;;) {
    if (end_ - at_ < bytes.size()) Fill();
    const std::string_view rest(buffer_.get() + at_, end_ - at_);
    const std::size_t found = rest.find(bytes);
    const bool isFound = found != std::string_view::npos;
    const std::size_t passed = isFound                      ? found + bytes.size()
                               : rest.size() < bytes.size() ? rest.size()
                                                            : rest.size() - bytes.size() + 1;
    line_ += static_cast<std::size_t>(std::ranges::count(rest.substr(0, passed), '\n'));
    at_ += passed;
    if (isFound) return true;
    if (Left() == 0) return false;
    if (rest.size() < bytes.size()) return false; // the rest is shorter than what is looked for
  }
}

std::string_view fmt_Input::Peek(std::size_t bytes) {
  if (end_ - at_ < bytes) Fill();
  return {buffer_.get() + at_, std::min(bytes, end_ - at_)};
}

bool fmt_Input::SkipBlanks() {
  for (;;) {
    while (at_ < end_ && IsBlank(buffer_[at_])) line_ += buffer_[at_++] == '\n';
    if (at_ < end_) return true;
    Fill();
    if (at_ == end_) return false;
  }
}

std::string_view fmt_Input::Word() {
  if (!SkipBlanks()) return {};
  const std::string_view start = Peek(kLongestWord);
  const auto length =
      static_cast<std::size_t>(std::ranges::find_if(start, &fmt_Input::IsBlank) - start.begin());
  if (length == kLongestWord) FailAtWord("a word of this format");
  at_ += length;
  return start.substr(0, length);
}

std::string_view fmt_Input::Line() {
  const char* found = static_cast<const char*>(std::memchr(buffer_.get() + at_, '\n', end_ - at_));
  if (!found) {
    Fill();
    found = static_cast<const char*>(std::memchr(buffer_.get() + at_, '\n', end_ - at_));
    if (!found && end_ - at_ == kBuffer) Fail("a line is longer than " + std::to_string(kBuffer));
  }
  const char* const first = buffer_.get() + at_;
  std::string_view line(first, found ? static_cast<std::size_t>(found - first) : end_ - at_);
  at_ += line.size() + (found ? 1 : 0);
  line_ += found ? 1 : 0;
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}
