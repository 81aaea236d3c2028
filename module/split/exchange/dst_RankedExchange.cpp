#include <CoreGeometry/dst_RankedExchange.h>

void dst_RankedExchange::SetRank(unsigned rank, unsigned numRanks) {
  rank_ = rank;
  numRanks_ = numRanks;
}

void dst_RankedExchange::NumPartsChanged() {
  outgoing_.assign(numRanks_, {});
  received_.assign(MyParts().Count(), {});
}

void dst_RankedExchange::Put(unsigned /*from*/, unsigned to, std::span<const unsigned> framed) {
  std::vector<unsigned>& stream = outgoing_[RankOf(to)];
  stream.insert(stream.end(), framed.begin(), framed.end());
}

void dst_RankedExchange::Receive(Streams incoming) {
  NumPartsChanged();
  for (std::vector<unsigned>& stream : incoming) {
    for (std::size_t at = 0; at < stream.size();) {
      const auto frame = std::span(stream).subspan(at, WordsOf(&stream[at]));
      std::vector<unsigned>& target = received_[frame[1] - MyParts().first];
      target.insert(target.end(), frame.begin(), frame.end());
      at += frame.size();
    }
    stream = {};
  }
}

std::vector<unsigned> dst_RankedExchange::Take(unsigned part) {
  return std::move(received_.at(part - MyParts().first));
}
