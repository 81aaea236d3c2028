#include <CoreGeometry/dst_Exchange.h>

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <cstring>
#include <ctime>

namespace {
constexpr std::size_t kMostBytes = std::size_t{1} << 30U; // in one frame
} // namespace

dst_Exchange::~dst_Exchange() = default;

void dst_Exchange::SetNumParts(unsigned numParts) {
  numParts_ = numParts;
  bytesSent_.assign(MyParts().Count(), {});
  NumPartsChanged();
}

dst_PartRange dst_Exchange::PartsOf(unsigned rank) const noexcept {
  const auto firstOf = [&](std::uint64_t r) { return static_cast<unsigned>(r * numParts_ / NumRanks()); };
  return {firstOf(rank), firstOf(std::uint64_t{rank} + 1)};
}

unsigned dst_Exchange::RankOf(unsigned part) const noexcept {
  // the last rank whose first part is not above it
  return static_cast<unsigned>(((std::uint64_t{part} + 1) * NumRanks() - 1) / numParts_);
}

void dst_Exchange::Guard(std::int64_t part, const std::function<void()>& work) {
  const auto fail = [&](bool isCancelled, const cow_String& text) {
    failure_ = Failure{part, isCancelled, text};
  };
  try {
    work();
  } catch (const wip_Cancelled& cancelled) {
    fail(true, cancelled.Message());
  } catch (const std::exception& failure) {
    fail(false, failure.what());
  }
}

void dst_Exchange::ForEachPart(const std::function<void(unsigned part)>& work) {
  const dst_PartRange own = MyParts();
  for (unsigned part = own.first; part < own.end && !failure_; ++part) Guard(part, [&] { work(part); });
}

void dst_Exchange::OnEachRank(const std::function<void()>& work) {
  if (!failure_) Guard(Failure::kNoPart, work);
}

void dst_Exchange::OnFirstRank(const std::function<void()>& work) {
  if (IsFirstRank()) OnEachRank(work);
}

void dst_Exchange::Fail(unsigned part, const cow_String& text) {
  if (!failure_) failure_ = Failure{part, false, text};
}

/// The answer of the call, whose processor time is added.
template<class Call> auto dst_Exchange::Timed(double& seconds, Call call) {
  struct Stopwatch {
    double& seconds;
    std::clock_t begun = std::clock();
    ~Stopwatch() { seconds += static_cast<double>(std::clock() - begun) / CLOCKS_PER_SEC; }
  } const stopwatch{seconds};
  return call();
}

void dst_Exchange::Agree() {
  Failure worst = failure_.value_or(Failure{});
  failure_.reset();
  Timed(seconds_.waiting, [&] { AgreeOn(worst); });
  hasAgreedToFail_ = worst.part != Failure::kNone;
  if (!hasAgreedToFail_) return;
  NumPartsChanged();
  if (worst.isCancelled) throw wip_Cancelled();
  if (worst.part == Failure::kNoPart) throw nex_TextException(worst.text);
  throw nex_TextException("part " + std::to_string(worst.part) + ": " + worst.text.c_str());
}

void dst_Exchange::Send(unsigned from, unsigned to, std::span<const std::byte> bytes) {
  const dst_PartRange own = MyParts();
  if (!own.Has(from) || to >= numParts_)
    throw nex_AssertionException("a message from part " + std::to_string(from) + " to part "
                                 + std::to_string(to) + ": this rank has the parts "
                                 + std::to_string(own.first) + " to " + std::to_string(own.end) + " of "
                                 + std::to_string(numParts_));
  if (from != to) bytesSent_[from - own.first][to] += bytes.size();
  while (!bytes.empty()) {
    const std::span<const std::byte> piece = bytes.first(std::min(bytes.size(), kMostBytes));
    frame_.assign({from, to, static_cast<unsigned>(piece.size())});
    frame_.resize(WordsOf(frame_.data()));
    std::memcpy(frame_.data() + kFrameWords, piece.data(), piece.size());
    Put(from, to, frame_);
    bytes = bytes.subspan(piece.size());
  }
}

void dst_Exchange::Deliver() {
  Agree();
  Timed(seconds_.moving, [&] { Transport(); });
}

std::vector<dst_Message> dst_Exchange::Received(unsigned part) {
  const std::vector<unsigned> framed = Take(part);
  std::vector<std::size_t> frames;
  for (std::size_t at = 0; at < framed.size(); at += WordsOf(&framed[at])) frames.push_back(at);
  std::ranges::stable_sort(frames, {}, [&](std::size_t at) { return framed[at]; });
  std::vector<dst_Message> messages;
  for (auto frame = frames.begin(); frame != frames.end();) {
    const unsigned from = framed[*frame];
    const auto end = std::find_if(frame, frames.end(), [&](std::size_t at) { return framed[at] != from; });
    std::size_t size = 0;
    for (auto at = frame; at != end; ++at) size += framed[*at + 2];
    dst_Message& message = messages.emplace_back(dst_Message{from, {}});
    message.bytes.reserve(size);
    for (; frame != end; ++frame) {
      const auto* bytes = reinterpret_cast<const std::byte*>(framed.data() + *frame + kFrameWords);
      message.bytes.insert(message.bytes.end(), bytes, bytes + framed[*frame + 2]);
    }
  }
  return messages;
}

const std::map<unsigned, std::uint64_t>& dst_Exchange::BytesSent(unsigned part) const {
  return bytesSent_.at(part - MyParts().first);
}

void dst_Exchange::Sum(std::span<std::int64_t> values) {
  Agree();
  Timed(seconds_.moving, [&] { Reduce(values, Reduction::Sum); });
}

void dst_Exchange::Min(std::span<std::int64_t> values) {
  Agree();
  Timed(seconds_.moving, [&] { Reduce(values, Reduction::Min); });
}

void dst_Exchange::Max(std::span<std::int64_t> values) {
  Agree();
  Timed(seconds_.moving, [&] { Reduce(values, Reduction::Max); });
}

std::vector<std::vector<std::byte>>
dst_Exchange::Gather(const std::vector<std::vector<std::byte>>& ofMyParts) {
  if (ofMyParts.size() != MyParts().Count() && !failure_)
    Guard(Failure::kNoPart, [&] {
      throw nex_AssertionException(std::to_string(ofMyParts.size()) + " texts of "
                                   + std::to_string(MyParts().Count()) + " parts");
    });
  Agree();
  return Timed(seconds_.moving, [&] { return GatherBytes(ofMyParts); });
}

void dst_Exchange::Broadcast(std::vector<std::byte>& bytes) {
  Agree();
  Timed(seconds_.moving, [&] { BroadcastBytes(bytes); });
}
