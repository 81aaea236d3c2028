// dst_Referees.h: parts that look at all copies of a node or an element
#pragma once

#include <CoreGeometry/dst_Exchange.h>
#include <cstring>

/// Numbers in the whole go to parts in ranges of equal length, whoever holds them.
struct dst_Referees {
  std::uint64_t numNumbers = 0;
  unsigned numParts = 1;

  unsigned Of(std::uint64_t number) const noexcept { ///< which is one of them
    return static_cast<unsigned>(number * numParts / numNumbers);
  }
  std::uint64_t First(unsigned referee) const noexcept { ///< of the numbers of a referee
    return (referee * numNumbers + numParts - 1) / numParts;
  }
};

/// Lists of records of different kinds as one message: their lengths, and then the records.
template<class... Record>
void dst_SendLists(dst_Exchange& exchange, unsigned from, unsigned to, const std::vector<Record>&... lists) {
  if ((lists.empty() && ...)) return;
  const std::uint64_t lengths[] = {lists.size()...};
  exchange.Send(from, to, std::as_bytes(std::span(lengths)));
  (exchange.SendRecords(from, to, lists), ...);
}

/// Appends what one part has sent at once.
template<class... Record> void dst_AppendLists(const dst_Message& message, std::vector<Record>&... lists) {
  std::uint64_t lengths[sizeof...(Record)] = {};
  const std::byte* at = message.bytes.data();
  std::memcpy(static_cast<void*>(lengths), at, sizeof(lengths));
  at += sizeof(lengths);
  const std::uint64_t* length = lengths;
  const auto append = [&](auto& list) {
    const std::size_t before = list.size(), bytes = *length * sizeof(list[0]);
    list.resize(before + *length++);
    if (bytes > 0) std::memcpy(static_cast<void*>(list.data() + before), at, bytes);
    at += bytes;
  };
  (append(lists), ...);
}
