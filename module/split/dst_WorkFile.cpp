#include "dst_WorkFile.h"

#include <BasicUtils/nex_Exception.h>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace {
[[noreturn]] void Fail(const cow_String& file, const char* what) {
  throw nex_TextException(file + ": " + what + ": " + std::generic_category().message(errno));
}
} // namespace

dst_WorkFile::~dst_WorkFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

void dst_WorkFile::Open() const {
  if (descriptor_ >= 0) return;
  descriptor_ = open(name_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | (isKept_ ? 0 : O_TRUNC), 0600);
  if (descriptor_ < 0) Fail(name_, "cannot be made");
  if (!isKept_) unlink(name_.c_str()); // nothing stays when the process is killed
}

void dst_WorkFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
  Open();
  while (!bytes.empty()) {
    const ssize_t written = pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) Fail(name_, "cannot be written");
    bytes = bytes.subspan(static_cast<std::size_t>(written));
    offset += static_cast<std::uint64_t>(written);
  }
}

void dst_WorkFile::ReadAt(std::uint64_t offset, std::span<std::byte> bytes) const {
  Open();
  while (!bytes.empty()) {
    const ssize_t read = pread(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (read < 0 && errno == EINTR) continue;
    if (read == 0) throw nex_TextException(name_ + ": is shorter than it was");
    if (read < 0) Fail(name_, "cannot be read");
    bytes = bytes.subspan(static_cast<std::size_t>(read));
    offset += static_cast<std::uint64_t>(read);
  }
}
