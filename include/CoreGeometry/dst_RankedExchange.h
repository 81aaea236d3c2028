// dst_RankedExchange.h: what exchanges between several processes have in common
#pragma once

#include <CoreGeometry/dst_Exchange.h>

/// Keeps the messages for each rank as one stream of words, and those that have come for each own part. A derived
/// class moves the streams between the ranks.
class CORE_GEOMETRY_DISTRIBUTED_API dst_RankedExchange : public dst_Exchange {
public:
  unsigned Rank() const noexcept final { return rank_; }
  unsigned NumRanks() const noexcept final { return numRanks_; }

protected:
  using Streams = std::vector<std::vector<unsigned>>;

  dst_RankedExchange() = default;
  void SetRank(unsigned rank, unsigned numRanks);
  /// Hands over the streams from all ranks, in their order, and forgets what was sent.
  void Receive(Streams incoming);

  Streams outgoing_; ///< to each rank

private:
  void NumPartsChanged() final;
  void Put(unsigned from, unsigned to, std::span<const unsigned> framed) final;
  std::vector<unsigned> Take(unsigned part) final;

  unsigned rank_ = 0, numRanks_ = 1;
  Streams received_; ///< of each own part
};
