// dst_Exchange.h: how the parts of a split model send each other messages
#pragma once

#include <CoreGeometry/DistributedExport.h>
#include <CoreUtils/cow_String.h>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <vector>

/// Part numbers from the first one up to, but without, the end.
struct dst_PartRange {
  unsigned first = 0, end = 0;

  unsigned Count() const noexcept { return end - first; }
  bool Has(unsigned part) const noexcept { return part >= first && part < end; }
};

/// All that one part sent to another between two deliveries, in the order in which it was sent.
struct dst_Message {
  unsigned from = 0;
  std::vector<std::byte> bytes;

  template<class Record> std::span<const Record> As() const noexcept {
    return {reinterpret_cast<const Record*>(bytes.data()), bytes.size() / sizeof(Record)};
  }
};

/// Processor time of a rank in calls that all ranks make, in seconds.
struct dst_ExchangeSeconds {
  double waiting = 0; ///< for the slowest rank, at the beginning of each call
  double moving = 0;  ///< messages and numbers
};

/// Exchanges messages between the parts of a split model. The parts are distributed over ranks: processes that all make
/// the same calls. A program alternates between work in each part (ForEachPart), in which parts send messages, and
/// Deliver(); after it each part finds the messages to it. It is written per part, never per rank, so its results do not
/// depend on the number of ranks.
///
/// Errors     whatever an own part's work throws is kept until the next call that all ranks make (Agree, Deliver, Sum,
///            Min, Max, Gather, Broadcast). There every rank throws the same: that of the part with the lowest number,
///            as nex_TextException "part 17: ...", or as wip_Cancelled. Messages are then forgotten, and the exchange
///            can be used again.
/// Order      a part receives by sender, and from each sender in the order of sending.
/// Range      records are copied byte by byte: numbers and structures of numbers.
/// Threads    one thread of each rank.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Exchange {
public:
  dst_Exchange() = default;
  dst_Exchange(const dst_Exchange&) = delete;
  dst_Exchange& operator=(const dst_Exchange&) = delete;
  virtual ~dst_Exchange(); ///< communicates with nobody

  // parts and ranks
  /// Distributes that many parts: each rank has consecutive ones. The number is the same on all ranks. Messages that are
  /// not delivered are forgotten.
  void SetNumParts(unsigned numParts);
  unsigned NumParts() const noexcept { return numParts_; }
  dst_PartRange MyParts() const noexcept { return PartsOf(Rank()); }
  dst_PartRange PartsOf(unsigned rank) const noexcept;
  unsigned RankOf(unsigned part) const noexcept;
  virtual unsigned Rank() const noexcept = 0;
  virtual unsigned NumRanks() const noexcept = 0;
  bool IsFirstRank() const noexcept { return Rank() == 0; }

  // work
  /// Calls work(part) for each own part, ascending, up to the first that throws. The work makes no call that all ranks
  /// make. Nothing is done when a part of this rank failed and the ranks have not agreed on it yet.
  void ForEachPart(const std::function<void(unsigned part)>& work);
  /// Calls the work on each rank, or on the first one alone. What it throws has no part in its message.
  void OnEachRank(const std::function<void()>& work);
  void OnFirstRank(const std::function<void()>& work);
  void Fail(unsigned part, const cow_String& text); ///< as if the part's work had thrown the text
  /// Throws on all ranks when anything failed on one of them.
  void Agree();
  /// True when the last call that all ranks make threw what they agreed on: every rank knows then.
  bool HasAgreedToFail() const noexcept { return hasAgreedToFail_; }

  // messages
  void Send(unsigned from, unsigned to, std::span<const std::byte> bytes); ///< from an own part
  template<class Record> void SendRecords(unsigned from, unsigned to, const std::vector<Record>& records) {
    if (!records.empty()) Send(from, to, std::as_bytes(std::span(records)));
  }
  template<class Record> void SendRecord(unsigned from, unsigned to, const Record& record) {
    Send(from, to, std::as_bytes(std::span(&record, 1)));
  }
  void Deliver();
  /// What was sent to an own part before the last delivery, which is given out once: one message a sender, ascending.
  std::vector<dst_Message> Received(unsigned part);
  /// The records of all senders, one after the other.
  template<class Record> std::vector<Record> ReceivedRecords(unsigned part) {
    std::vector<Record> all;
    for (const dst_Message& message : Received(part)) {
      const std::span<const Record> records = message.As<Record>();
      all.insert(all.end(), records.begin(), records.end());
    }
    return all;
  }
  /// Bytes that an own part has sent to each other part since SetNumParts.
  const std::map<unsigned, std::uint64_t>& BytesSent(unsigned part) const;

  const dst_ExchangeSeconds& Seconds() const noexcept { return seconds_; } ///< of this rank, so far

  // numbers that all ranks have in the end
  void Sum(std::span<std::int64_t> values); ///< of the ranks; integers, so that their order does not matter
  void Min(std::span<std::int64_t> values);
  void Max(std::span<std::int64_t> values);
  /// One text of bytes from each own part, in their order; the result has one for each part.
  std::vector<std::vector<std::byte>> Gather(const std::vector<std::vector<std::byte>>& ofMyParts);
  template<class Record>
  std::vector<std::vector<Record>> GatherRecords(const std::vector<std::vector<Record>>& ofMyParts);
  void Broadcast(std::vector<std::byte>& bytes); ///< those of the first rank

protected:
  enum class Reduction { Sum, Min, Max };
  struct Failure {
    static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max(), kNoPart = -1;
    std::int64_t part = kNone;
    bool isCancelled = false;
    cow_String text;
  };

  /// Messages travel as words: sender, receiver, length in bytes, and the bytes with zeros up to a whole word.
  static constexpr std::size_t kFrameWords = 3;
  static std::size_t WordsOf(const unsigned* frame) noexcept {
    return kFrameWords + (frame[2] + sizeof(unsigned) - 1) / sizeof(unsigned);
  }

private:
  virtual void NumPartsChanged() = 0; ///< forgets all messages
  virtual void Put(unsigned from, unsigned to, std::span<const unsigned> framed) = 0;
  virtual void Transport() = 0;
  virtual std::vector<unsigned> Take(unsigned part) = 0; ///< framed messages in any order of senders
  virtual void AgreeOn(Failure& failure) = 0;            ///< on that of the lowest part
  virtual void Reduce(std::span<std::int64_t> values, Reduction reduction) = 0;
  virtual std::vector<std::vector<std::byte>> GatherBytes(const std::vector<std::vector<std::byte>>& own) = 0;
  virtual void BroadcastBytes(std::vector<std::byte>& bytes) = 0;
  void Guard(std::int64_t part, const std::function<void()>& work);
  template<class Call> auto Timed(double& seconds, Call call);

  unsigned numParts_ = 0;
  std::optional<Failure> failure_;
  bool hasAgreedToFail_ = false;
  dst_ExchangeSeconds seconds_;
  std::vector<std::map<unsigned, std::uint64_t>> bytesSent_; ///< by own parts
  std::vector<unsigned> frame_;                              ///< of the message that is being sent
};

template<class Record>
std::vector<std::vector<Record>>
dst_Exchange::GatherRecords(const std::vector<std::vector<Record>>& ofMyParts) {
  std::vector<std::vector<std::byte>> own;
  own.reserve(ofMyParts.size());
  for (const std::vector<Record>& records : ofMyParts) {
    const std::span<const std::byte> bytes = std::as_bytes(std::span(records));
    own.emplace_back(bytes.begin(), bytes.end());
  }
  std::vector<std::vector<Record>> all;
  all.reserve(NumParts());
  for (dst_Message message; std::vector<std::byte> & bytes : Gather(own)) {
    message.bytes = std::move(bytes);
    const std::span<const Record> records = message.As<Record>();
    all.emplace_back(records.begin(), records.end());
  }
  return all;
}
