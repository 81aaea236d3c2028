// dst_MpiExchange.h: the parts of a split model on the ranks of an MPI program
#pragma once

#include <CoreGeometry/MpiExport.h>
#include <CoreGeometry/dst_RankedExchange.h>
#include <mpi.h>

/// Exchanges messages by MPI. The host program calls MPI_Init and MPI_Finalize; MPI_THREAD_SINGLE is enough. Each rank
/// has about as many parts as any other; with fewer parts than ranks some have none.
///
/// Cost       messages are sent in rounds of at most `roundBytes` a rank, and wait in the memory of sender and receiver.
///            Sums of numbers are one call of MPI each. Every call that all ranks make begins with one number of each,
///            which says whether something failed.
/// Errors     those of MPI end the program, as the communicator says.
class CORE_GEOMETRY_MPI_API dst_MpiExchange final : public dst_RankedExchange {
public:
  static constexpr std::size_t kRoundBytes = std::size_t{256} << 20;

  /// Duplicates the communicator: all its ranks make the exchange together.
  explicit dst_MpiExchange(MPI_Comm communicator, std::size_t roundBytes = kRoundBytes);
  ~dst_MpiExchange() override;
  /// Frees the duplicate. All ranks call it, at the end and before MPI_Finalize; else MPI_Finalize frees it.
  void Close();

private:
  void Transport() override;
  void AgreeOn(Failure& failure) override;
  void Reduce(std::span<std::int64_t> values, Reduction reduction) override;
  std::vector<std::vector<std::byte>> GatherBytes(const std::vector<std::vector<std::byte>>& own) override;
  void BroadcastBytes(std::vector<std::byte>& bytes) override;

  MPI_Comm communicator_ = MPI_COMM_NULL;
  std::size_t roundBytes_;
};
