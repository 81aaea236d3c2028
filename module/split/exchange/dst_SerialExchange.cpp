#include <CoreGeometry/dst_SerialExchange.h>

#include "dst_Buckets.h"

#include <unistd.h>

/// The messages between two deliveries, a bucket a receiver.
class dst_SerialExchange::Box {
public:
  Box(const cow_String& file, unsigned numParts, std::size_t memory) : buckets(file, numParts, memory) {}
  dst_Buckets buckets;
};

dst_SerialExchange::dst_SerialExchange(cow_String spillFolder, std::size_t memory)
    : spillFolder_(std::move(spillFolder)), memory_(memory) {}
dst_SerialExchange::~dst_SerialExchange() = default;

void dst_SerialExchange::NumPartsChanged() {
  sent_.reset();
  received_.reset();
}

void dst_SerialExchange::Put(unsigned /*from*/, unsigned to, std::span<const unsigned> framed) {
  if (!sent_) {
    const cow_String file =
        spillFolder_ + "/messages." + std::to_string(getpid()) + "." + std::to_string(numBoxes_++);
    sent_ = std::make_unique<Box>(file, NumParts(), memory_ / 2); // one half waits while the other is read
  }
  sent_->buckets.Add(to, framed);
}

void dst_SerialExchange::Transport() { received_ = std::move(sent_); }

std::uint64_t dst_SerialExchange::BytesSpilled() const noexcept {
  return received_ ? received_->buckets.BytesSpilled() : 0;
}

std::vector<unsigned> dst_SerialExchange::Take(unsigned part) {
  return received_ ? received_->buckets.Take(part) : std::vector<unsigned>();
}

void dst_SerialExchange::AgreeOn(Failure& /*failure*/) {}
void dst_SerialExchange::Reduce(std::span<std::int64_t> /*values*/, Reduction /*reduction*/) {}
std::vector<std::vector<std::byte>>
dst_SerialExchange::GatherBytes(const std::vector<std::vector<std::byte>>& own) {
  return own;
}
void dst_SerialExchange::BroadcastBytes(std::vector<std::byte>& /*bytes*/) {}
