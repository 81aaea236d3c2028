#include <BasicUtils/cls_Uid.h>

#include <atomic>
#include <mutex>
#include <pthread.h>
#include <random>

namespace {
constexpr std::uint64_t kBlockSize = std::uint64_t{1} << 20;
constinit std::atomic<std::uint64_t> theNextBlock{0};
constinit std::once_flag theSeeded;
} // namespace

constinit thread_local cls_Uid::Block cls_Uid::block_{0, 0};
std::uint64_t cls_Uid::processPrefix_ = 0;

void cls_Uid::NewPrefix() noexcept {
  std::random_device random;
  const std::uint64_t old = processPrefix_;
  while (processPrefix_ == 0 || processPrefix_ == old)
    processPrefix_ = std::uint64_t{random()} << 32 | random();
}

void cls_Uid::TakeBlock() noexcept {
  std::call_once(theSeeded, [] {
    NewPrefix();
    // the child goes on with its parent's running numbers, so it needs a prefix of its own
    pthread_atfork(nullptr, nullptr, [] { NewPrefix(); });
  });
  block_.next = theNextBlock.fetch_add(kBlockSize, std::memory_order_relaxed);
  block_.end = block_.next + kBlockSize;
}

cls_Uid::cls_Uid(const ByteArray& bytes) noexcept {
  for (std::size_t i = 0; i < 8; ++i) {
    prefix_ = prefix_ << 8 | bytes[i];
    number_ = number_ << 8 | bytes[i + 8];
  }
}

cls_Uid::ByteArray cls_Uid::Bytes() const noexcept {
  ByteArray bytes;
  for (std::size_t i = 0; i < 8; ++i) {
    bytes[i] = static_cast<unsigned char>(prefix_ >> (56 - 8 * i));
    bytes[i + 8] = static_cast<unsigned char>(number_ >> (56 - 8 * i));
  }
  return bytes;
}

cow_String cls_Uid::Text() const {
  cow_String text;
  for (const unsigned char byte : Bytes()) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}
