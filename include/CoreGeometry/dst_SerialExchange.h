// dst_SerialExchange.h: all parts of a split model in one process
#pragma once

#include <CoreGeometry/dst_Exchange.h>
#include <memory>

/// One process that works on the parts one after the other. Messages beyond the memory limit wait in a file.
///
/// Errors     nex_TextException naming the spill file and the system's reason.
class CORE_GEOMETRY_DISTRIBUTED_API dst_SerialExchange final : public dst_Exchange {
public:
  /// With the folder of the spill files, which are made when they are needed and removed again.
  explicit dst_SerialExchange(cow_String spillFolder, std::size_t memory = std::size_t{256} << 20);
  ~dst_SerialExchange() override;

  unsigned Rank() const noexcept override { return 0; }
  unsigned NumRanks() const noexcept override { return 1; }
  std::uint64_t BytesSpilled() const noexcept; ///< between the last two deliveries

private:
  class Box;
  void NumPartsChanged() override;
  void Put(unsigned from, unsigned to, std::span<const unsigned> framed) override;
  void Transport() override;
  std::vector<unsigned> Take(unsigned part) override;
  void AgreeOn(Failure& failure) override;
  void Reduce(std::span<std::int64_t> values, Reduction reduction) override;
  std::vector<std::vector<std::byte>> GatherBytes(const std::vector<std::vector<std::byte>>& own) override;
  void BroadcastBytes(std::vector<std::byte>& bytes) override;

  cow_String spillFolder_;
  std::size_t memory_;
  unsigned numBoxes_ = 0; ///< that were made, for their names
  std::unique_ptr<Box> sent_, received_;
};
