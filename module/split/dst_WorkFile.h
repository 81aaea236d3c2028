// dst_WorkFile.h: a file for what a split keeps between its steps
#pragma once

#include <CoreUtils/cow_String.h>
#include <cstddef>
#include <cstdint>
#include <span>

/// A file that is read and written at any place. It is made with the first bytes. Unless it is kept its name is removed
/// at once, and its bytes go with the process.
///
/// Errors     nex_TextException naming the file and the system's reason.
class dst_WorkFile {
public:
  explicit dst_WorkFile(cow_String name, bool isKept = false) : name_(std::move(name)), isKept_(isKept) {}
  ~dst_WorkFile();
  dst_WorkFile(const dst_WorkFile&) = delete;
  dst_WorkFile& operator=(const dst_WorkFile&) = delete;

  const cow_String& Name() const noexcept { return name_; }
  void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes);
  void ReadAt(std::uint64_t offset, std::span<std::byte> bytes) const;
  template<class T> void Write(std::uint64_t first, std::span<const T> values) {
    WriteAt(first * sizeof(T), std::as_bytes(values));
  }
  template<class T> void Read(std::uint64_t first, std::span<T> values) const {
    ReadAt(first * sizeof(T), std::as_writable_bytes(values));
  }

private:
  void Open() const;

  cow_String name_;
  bool isKept_;
  mutable int descriptor_ = -1;
};
