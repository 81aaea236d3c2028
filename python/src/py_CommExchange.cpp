#include "py_CommExchange.h"

#include <algorithm>
#include <cstring>

namespace {
nb::bytes BytesOf(std::span<const std::byte> bytes) { return nb::bytes(bytes.data(), bytes.size()); }

std::span<const std::byte> ViewOf(const nb::handle& object) {
  const auto bytes = nb::cast<nb::bytes>(object);
  return {static_cast<const std::byte*>(bytes.data()), bytes.size()}; // kept by the list that it is in
}
} // namespace

py_CommExchange::py_CommExchange(nb::object comm, std::size_t roundBytes) // NOLINT(*-value-param)
    : comm_(std::move(comm)), roundBytes_(std::max(roundBytes, sizeof(unsigned))) {
  SetRank(nb::cast<unsigned>(comm_.attr("Get_rank")()), nb::cast<unsigned>(comm_.attr("Get_size")()));
}

std::vector<py_CommExchange::Bytes> py_CommExchange::AllGather(std::span<const std::byte> own) const {
  const nb::gil_scoped_acquire held;
  const nb::list all(comm_.attr("allgather")(BytesOf(own)));
  std::vector<Bytes> gathered;
  gathered.reserve(all.size());
  for (const nb::handle one : all) {
    const std::span<const std::byte> view = ViewOf(one);
    gathered.emplace_back(view.begin(), view.end());
  }
  return gathered;
}

void py_CommExchange::Transport() {
  std::int64_t most = 0; // words to one rank, of all ranks
  for (const std::vector<unsigned>& stream : outgoing_)
    most = std::max(most, static_cast<std::int64_t>(stream.size()));
  Reduce({&most, 1}, Reduction::Max);
  const std::size_t piece = roundBytes_ / sizeof(unsigned);
  std::vector<std::vector<unsigned>> incoming(NumRanks());
  for (std::size_t done = 0; done < static_cast<std::size_t>(most); done += piece) {
    const nb::gil_scoped_acquire held;
    nb::list sent;
    for (const std::vector<unsigned>& stream : outgoing_) {
      const std::size_t first = std::min(done, stream.size());
      const auto words = std::span(stream).subspan(first, std::min(piece, stream.size() - first));
      sent.append(BytesOf(std::as_bytes(words)));
    }
    const nb::list got(comm_.attr("alltoall")(sent));
    for (unsigned rank = 0; rank < NumRanks(); ++rank) {
      const std::span<const std::byte> view = ViewOf(got[rank]);
      std::vector<unsigned>& stream = incoming[rank];
      const std::size_t before = stream.size();
      stream.resize(before + view.size() / sizeof(unsigned));
      if (!view.empty()) std::memcpy(stream.data() + before, view.data(), view.size());
    }
  }
  Receive(std::move(incoming));
}

void py_CommExchange::AgreeOn(Failure& failure) {
  Bytes own; // nothing, or the part, whether it was cancelled, and the text
  if (failure.part != Failure::kNone) {
    const std::int64_t facts[] = {failure.part, std::int64_t{failure.isCancelled}};
    const auto head = std::as_bytes(std::span(facts));
    const auto text = std::as_bytes(std::span(failure.text));
    own.assign(head.begin(), head.end());
    own.insert(own.end(), text.begin(), text.end());
  }
  Failure best;
  for (const Bytes& one : AllGather(own)) {
    if (one.empty()) continue;
    std::int64_t facts[2] = {};
    std::memcpy(static_cast<void*>(facts), one.data(), sizeof(facts));
    if (facts[0] >= best.part) continue; // of several without a part that of the lowest rank
    best.part = facts[0];
    best.isCancelled = facts[1] != 0;
    best.text.assign(reinterpret_cast<const char*>(one.data()) + sizeof(facts), one.size() - sizeof(facts));
  }
  failure = std::move(best);
}

void py_CommExchange::Reduce(std::span<std::int64_t> values, Reduction reduction) {
  const std::vector<Bytes> all = AllGather(std::as_bytes(values));
  for (std::size_t rank = 0; rank < all.size(); ++rank)
    for (std::size_t i = 0; i < values.size(); ++i) {
      std::int64_t value = 0;
      std::memcpy(&value, all[rank].data() + i * sizeof(value), sizeof(value));
      values[i] = rank == 0                     ? value
                  : reduction == Reduction::Sum ? values[i] + value
                  : reduction == Reduction::Min ? std::min(values[i], value)
                                                : std::max(values[i], value);
    }
}

std::vector<std::vector<std::byte>>
py_CommExchange::GatherBytes(const std::vector<std::vector<std::byte>>& own) {
  Bytes lengths, texts;
  for (const Bytes& one : own) {
    const std::uint64_t length = one.size();
    const auto bytes = std::as_bytes(std::span(&length, 1));
    lengths.insert(lengths.end(), bytes.begin(), bytes.end());
    texts.insert(texts.end(), one.begin(), one.end());
  }
  lengths.insert(lengths.end(), texts.begin(), texts.end());
  std::vector<Bytes> all;
  all.reserve(NumParts());
  const std::vector<Bytes> gathered = AllGather(lengths);
  for (unsigned rank = 0; rank < NumRanks(); ++rank) {
    const unsigned count = PartsOf(rank).Count();
    std::span<const std::byte> left = std::span(gathered[rank]).subspan(count * sizeof(std::uint64_t));
    for (unsigned i = 0; i < count; ++i) {
      std::uint64_t length = 0;
      std::memcpy(&length, gathered[rank].data() + i * sizeof(length), sizeof(length));
      all.emplace_back(left.begin(), left.begin() + static_cast<std::ptrdiff_t>(length));
      left = left.subspan(length);
    }
  }
  return all;
}

void py_CommExchange::BroadcastBytes(std::vector<std::byte>& bytes) {
  const nb::gil_scoped_acquire held;
  const nb::object got = comm_.attr("bcast")(BytesOf(bytes), nb::arg("root") = 0);
  const std::span<const std::byte> view = ViewOf(got);
  bytes.assign(view.begin(), view.end());
}
