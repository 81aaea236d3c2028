// py_CommExchange.h: parts of a split model on the ranks of a Python communicator
#pragma once

#include "py_Errors.h"

#include <CoreGeometry/dst_RankedExchange.h>

/// Exchanges messages by a communicator with the methods that mpi4py writes with small letters: Get_rank, Get_size,
/// alltoall, allgather and bcast. All they carry is bytes, so this library needs no MPI.
///
/// Cost       messages travel in rounds of at most `roundBytes` between two ranks; sums of numbers are one allgather.
/// Errors     what the methods raise goes through as it is; other ranks may then wait.
class py_CommExchange final : public dst_RankedExchange {
public:
  static constexpr std::size_t kRoundBytes = std::size_t{64} << 20;

  explicit py_CommExchange(nb::object comm, std::size_t roundBytes = kRoundBytes); // NOLINT(*-value-param)

private:
  using Bytes = std::vector<std::byte>;

  void Transport() override;
  void AgreeOn(Failure& failure) override;
  void Reduce(std::span<std::int64_t> values, Reduction reduction) override;
  std::vector<std::vector<std::byte>> GatherBytes(const std::vector<std::vector<std::byte>>& own) override;
  void BroadcastBytes(std::vector<std::byte>& bytes) override;

  std::vector<Bytes> AllGather(std::span<const std::byte> own) const;

  nb::object comm_;
  std::size_t roundBytes_;
};
