#include "msh_Source.h"

#include <algorithm>
#include <vector>

void msh_Source::ReadFormat() {
  in_.At("$MeshFormat");
  Expect("$MeshFormat");
  const auto version = in_.Number<double>("a version");
  const int form = in_.Number<int>("0 for ascii or 1 for binary");
  const int size = in_.Number<int>("a size of numbers");
  isOld_ = version >= 2 && version < 3;
  if (!isOld_ && version != 4.1) {
    char text[32];
    *std::to_chars(text, text + sizeof text - 1, version).ptr = '\0';
    in_.Fail("version " + cow_String(text) + " is not read, but 2.2 and 4.1 are");
  }
  if (form != 0 && form != 1) in_.Fail("the form is " + std::to_string(form) + ", neither 0 nor 1");
  if (size != 8 && (isOld_ || size != 4))
    in_.Fail("numbers of " + std::to_string(size) + " bytes are not read, but those of "
             + (isOld_ ? "8" : "4 and 8") + " are");
  sizeBytes_ = static_cast<std::size_t>(size);
  in_.Line();
  if (form == 1) {
    const int one = in_.ReadOne<int>();
    isSwapped_ = one == 1 << 24;
    if (one != 1 && !isSwapped_) in_.Fail("the order of bytes is not known: the binary 1 is something else");
  }
  Expect("$EndMeshFormat");
  isBinary_ = form == 1;
}

void msh_Source::Sizes(std::span<std::int64_t> values, const char* what) {
  if (!isBinary_ || sizeBytes_ == 8) return Numbers(values, what);
  std::vector<std::uint32_t> narrow(values.size());
  in_.Read(std::span(narrow), isSwapped_);
  std::ranges::copy(narrow, values.begin());
}

std::size_t msh_Source::CheckCount(std::int64_t count, std::size_t bytesEach, std::size_t numbersEach,
                                   const char* what) const {
  const std::size_t least = std::max<std::size_t>(1, isBinary_ ? bytesEach : 2 * numbersEach);
  const std::size_t most = (in_.Left() + 1) / least; // nothing need stand behind the last number
  if (count < 0 || static_cast<std::uint64_t>(count) > most)
    in_.Fail(std::to_string(count) + " " + what + " cannot be in the " + std::to_string(in_.Left())
             + " bytes that are left of the file");
  return static_cast<std::size_t>(count);
}

void msh_Source::Expect(std::string_view word) {
  const std::string_view next = in_.Word();
  if (next != word) {
    cow_String shown(next.substr(0, 40));
    for (char& c : shown)
      if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~') c = '?';
    in_.Fail(shown.empty() ? "the file ends where " + cow_String(word) + " should be"
                           : "\"" + shown + "\" stands where " + cow_String(word) + " should be");
  }
}
