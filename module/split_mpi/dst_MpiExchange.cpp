#include <CoreGeometry/dst_MpiExchange.h>

#include <algorithm>

namespace {
constexpr std::size_t kWord = sizeof(unsigned), kLeastPiece = 16 * 1024; // bytes, words

int Int(std::size_t n) { return static_cast<int>(n); }

/// Words of the next piece of a stream: of the same length for who sends and who receives it.
std::size_t NextPiece(std::size_t length, std::size_t done, std::size_t piece) {
  return std::min(piece, length - done);
}

/// Sends a broadcast of any length in pieces that MPI can count.
void BroadcastInPieces(std::span<std::byte> bytes, int root, MPI_Comm communicator) {
  while (!bytes.empty()) {
    const std::size_t piece = std::min(bytes.size(), dst_MpiExchange::kRoundBytes);
    MPI_Bcast(bytes.data(), Int(piece), MPI_BYTE, root, communicator);
    bytes = bytes.subspan(piece);
  }
}
} // namespace

dst_MpiExchange::dst_MpiExchange(MPI_Comm communicator, std::size_t roundBytes) : roundBytes_(roundBytes) {
  MPI_Comm_dup(communicator, &communicator_);
  int rank = 0, size = 1;
  MPI_Comm_rank(communicator_, &rank);
  MPI_Comm_size(communicator_, &size);
  SetRank(static_cast<unsigned>(rank), static_cast<unsigned>(size));
}
dst_MpiExchange::~dst_MpiExchange() = default;

void dst_MpiExchange::Close() {
  if (communicator_ != MPI_COMM_NULL) MPI_Comm_free(&communicator_);
}

void dst_MpiExchange::Transport() {
  std::vector<std::int64_t> sending(NumRanks()), receiving(NumRanks());
  for (unsigned rank = 0; rank < NumRanks(); ++rank)
    sending[rank] = static_cast<std::int64_t>(outgoing_[rank].size());
  MPI_Alltoall(sending.data(), 1, MPI_INT64_T, receiving.data(), 1, MPI_INT64_T, communicator_);
  std::vector<std::vector<unsigned>> incoming(NumRanks());
  std::size_t most = 0;
  for (unsigned rank = 0; rank < NumRanks(); ++rank) {
    if (rank == Rank()) continue;
    incoming[rank].resize(static_cast<std::size_t>(receiving[rank]));
    most = std::max({most, incoming[rank].size(), outgoing_[rank].size()});
  }
  // at most so much between two ranks in a round: the same everywhere, so that nobody needs to ask
  const std::size_t piece =
      std::max(std::min(kLeastPiece, roundBytes_ / kWord), roundBytes_ / kWord / NumRanks());
  std::vector<MPI_Request> requests;
  for (std::size_t done = 0; done < most; done += piece) {
    requests.clear();
    for (unsigned rank = 0; rank < NumRanks(); ++rank)
      if (std::vector<unsigned>& words = incoming[rank]; done < words.size())
        MPI_Irecv(words.data() + done, Int(NextPiece(words.size(), done, piece)), MPI_UNSIGNED, Int(rank), 0,
                  communicator_, &requests.emplace_back());
    for (unsigned rank = 0; rank < NumRanks(); ++rank)
      if (const std::vector<unsigned>& words = outgoing_[rank]; rank != Rank() && done < words.size())
        MPI_Isend(words.data() + done, Int(NextPiece(words.size(), done, piece)), MPI_UNSIGNED, Int(rank), 0,
                  communicator_, &requests.emplace_back());
    MPI_Waitall(Int(requests.size()), requests.data(), MPI_STATUSES_IGNORE);
  }
  incoming[Rank()] = std::move(outgoing_[Rank()]);
  Receive(std::move(incoming));
}

void dst_MpiExchange::AgreeOn(Failure& failure) {
  std::int64_t part = failure.part;
  MPI_Allreduce(MPI_IN_PLACE, &part, 1, MPI_INT64_T, MPI_MIN, communicator_);
  if (part == Failure::kNone) return;
  int root = failure.part == part ? Int(Rank()) : Int(NumRanks());
  MPI_Allreduce(MPI_IN_PLACE, &root, 1, MPI_INT, MPI_MIN, communicator_);
  std::uint64_t facts[2] = {std::uint64_t{failure.isCancelled}, failure.text.size()};
  MPI_Bcast(facts, 2, MPI_UINT64_T, root, communicator_);
  failure.part = part;
  failure.isCancelled = facts[0] != 0;
  failure.text.resize(facts[1]);
  BroadcastInPieces(std::as_writable_bytes(std::span(failure.text)), root, communicator_);
}

void dst_MpiExchange::Reduce(std::span<std::int64_t> values, Reduction reduction) {
  const MPI_Op operation = reduction == Reduction::Sum   ? MPI_SUM
                           : reduction == Reduction::Min ? MPI_MIN
                                                         : MPI_MAX;
  MPI_Allreduce(MPI_IN_PLACE, values.data(), Int(values.size()), MPI_INT64_T, operation, communicator_);
}

std::vector<std::vector<std::byte>>
dst_MpiExchange::GatherBytes(const std::vector<std::vector<std::byte>>& own) {
  std::vector<std::int64_t> sizes(NumParts());
  const unsigned first = MyParts().first;
  for (std::size_t i = 0; i < own.size(); ++i) sizes[first + i] = static_cast<std::int64_t>(own[i].size());
  MPI_Allreduce(MPI_IN_PLACE, sizes.data(), Int(sizes.size()), MPI_INT64_T, MPI_MAX, communicator_);
  std::vector<std::vector<std::byte>> all;
  all.reserve(sizes.size());
  for (const std::int64_t size : sizes) all.emplace_back(static_cast<std::size_t>(size));
  std::ranges::copy(own, all.begin() + first);
  // all texts of a rank travel together
  for (unsigned rank = 0; rank < NumRanks(); ++rank) {
    const dst_PartRange parts = PartsOf(rank);
    std::vector<std::byte> text;
    for (unsigned part = parts.first; part < parts.end; ++part)
      text.insert(text.end(), all[part].begin(), all[part].end());
    BroadcastInPieces(text, Int(rank), communicator_);
    auto at = text.begin();
    for (unsigned part = parts.first; part < parts.end; ++part) {
      const auto end = at + static_cast<std::ptrdiff_t>(all[part].size());
      std::copy(at, end, all[part].begin());
      at = end;
    }
  }
  return all;
}

void dst_MpiExchange::BroadcastBytes(std::vector<std::byte>& bytes) {
  std::uint64_t size = bytes.size();
  MPI_Bcast(&size, 1, MPI_UINT64_T, 0, communicator_);
  bytes.resize(size);
  BroadcastInPieces(bytes, 0, communicator_);
}
