#include "ExchangeUnderTest.h"

#include <BasicUtils/wip_WIP.h>
#include <ThrownBy.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {
constexpr unsigned kNumParts[] = {1, 2, 3, 4, 7, 8, 27, 100};

struct Sent {
  unsigned from, to;
  std::vector<std::byte> bytes;
};

/// Messages of all lengths, also empty ones and many between the same parts; the same on all ranks.
std::vector<Sent> Messages(unsigned numParts, unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
  std::vector<Sent> messages(below(300));
  for (Sent& message : messages) {
    const unsigned length = below(8) == 0 ? below(5000) : below(40);
    message = {below(numParts), below(numParts), std::vector<std::byte>(length)};
    for (std::byte& byte : message.bytes) byte = static_cast<std::byte>(random());
  }
  std::ranges::stable_sort(messages, {}, &Sent::from);
  return messages;
}
} // namespace

TEST(dst_Exchange, EachPartReceivesBySenderWhatWasSentToIt) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const unsigned numParts : kNumParts) {
    exchange->SetNumParts(numParts);
    for (unsigned seed = 0; seed < 5; ++seed) {
      const std::vector<Sent> messages = Messages(numParts, 100 * numParts + seed);
      exchange->ForEachPart([&](unsigned part) {
        for (const Sent& message : messages)
          if (message.from == part) exchange->Send(part, message.to, message.bytes);
      });
      exchange->Deliver();
      exchange->ForEachPart([&](unsigned part) {
        std::vector<std::vector<std::byte>> expected(numParts), received(numParts);
        for (const Sent& message : messages)
          if (message.to == part)
            expected[message.from].insert(expected[message.from].end(), message.bytes.begin(),
                                          message.bytes.end());
        int last = -1;
        for (dst_Message& message : exchange->Received(part)) {
          EXPECT_LT(last, static_cast<int>(message.from));
          last = static_cast<int>(message.from);
          received[message.from] = std::move(message.bytes);
        }
        EXPECT_EQ(received, expected) << "part " << part << " of " << numParts;
        EXPECT_TRUE(exchange->Received(part).empty());
      });
      exchange->Agree();
    }
  }
}

TEST(dst_Exchange, EachPartHasOneRank) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const unsigned numParts : kNumParts) {
    exchange->SetNumParts(numParts);
    unsigned next = 0;
    for (unsigned rank = 0; rank < exchange->NumRanks(); ++rank) {
      const dst_PartRange parts = exchange->PartsOf(rank);
      EXPECT_EQ(parts.first, next);
      EXPECT_LE(parts.Count(), (numParts + exchange->NumRanks() - 1) / exchange->NumRanks());
      for (; next < parts.end; ++next) EXPECT_EQ(exchange->RankOf(next), rank);
    }
    EXPECT_EQ(next, numParts);
  }
}

TEST(dst_Exchange, AllRanksHaveTheSameNumbers) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const unsigned numParts : kNumParts) {
    exchange->SetNumParts(numParts);
    constexpr std::int64_t kBig = std::int64_t{1} << 40;
    std::int64_t sum[] = {0, 0}, least = kBig, most = -kBig;
    std::vector<std::vector<unsigned>> own;
    exchange->ForEachPart([&](unsigned part) {
      sum[0] += part;
      sum[1] += kBig;
      least = std::min<std::int64_t>(least, part);
      most = std::max<std::int64_t>(most, part);
      own.emplace_back(part % 5, part); // some give nothing
    });
    exchange->Sum(sum);
    exchange->Min({&least, 1});
    exchange->Max({&most, 1});
    const std::vector<std::vector<unsigned>> all = exchange->GatherRecords(own);
    std::vector<std::byte> text(exchange->IsFirstRank() ? 3000 : 7, std::byte{42});
    exchange->Broadcast(text);
    EXPECT_EQ(sum[0], std::int64_t{numParts} * (numParts - 1) / 2);
    EXPECT_EQ(sum[1], kBig * numParts);
    EXPECT_EQ(least, 0);
    EXPECT_EQ(most, numParts - 1);
    ASSERT_EQ(all.size(), numParts);
    for (unsigned part = 0; part < numParts; ++part)
      EXPECT_EQ(all[part], std::vector<unsigned>(part % 5, part));
    EXPECT_EQ(text, std::vector<std::byte>(3000, std::byte{42}));
  }
}

TEST(dst_Exchange, AllRanksThrowWhatThePartOfTheLowestNumberThrew) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  for (const unsigned numParts : {1U, 4U, 27U, 100U}) {
    exchange->SetNumParts(numParts);
    std::int64_t number = 0;
    const std::vector<std::function<void()>> collectives = {
        [&] { exchange->Agree(); },
        [&] { exchange->Deliver(); },
        [&] {
          exchange->Sum({&number, 1});
        },
        [&] {
          exchange->Min({&number, 1});
        },
        [&] {
          exchange->Max({&number, 1});
        },
        [&] { exchange->Gather(std::vector<std::vector<std::byte>>(exchange->MyParts().Count())); },
        [&] {
          std::vector<std::byte> text;
          exchange->Broadcast(text);
        }};
    const unsigned failing = numParts - 1 - numParts / 3;
    const cow_String place = "part " + std::to_string(failing) + ": ";
    const auto fail = [&](const std::function<void()>& thrower) {
      exchange->ForEachPart([&](unsigned part) {
        exchange->SendRecord(part, 0, part);
        if (part >= failing) thrower();
      });
    };
    for (const std::function<void()>& collective : collectives) {
      fail([] { throw nex_TextException("bad row"); });
      EXPECT_EQ(ThrownBy<nex_TextException>(collective), place + "bad row");
      fail([] { throw std::runtime_error("bad disk"); });
      if (numParts == 1) exchange->ForEachPart([](unsigned) { ADD_FAILURE() << "work after a failure"; });
      EXPECT_EQ(ThrownBy<nex_TextException>(collective), place + "bad disk");
      fail([] { throw wip_Cancelled(); });
      EXPECT_NE(ThrownBy<wip_Cancelled>(collective), kNothingThrown);
      exchange->OnFirstRank([] { throw nex_TextException("no index"); });
      EXPECT_EQ(ThrownBy<nex_TextException>(collective), "no index");
      collective(); // and it can go on
    }
    exchange->Deliver();
    exchange->ForEachPart([&](unsigned part) { EXPECT_TRUE(exchange->Received(part).empty()); });
    exchange->Agree();
  }
}

TEST(dst_Exchange, AMessageFromOrToNoPartIsTheCallersMistake) {
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange();
  exchange->SetNumParts(5);
  exchange->ForEachPart([&](unsigned part) {
    if (part == 3) exchange->SendRecord(3U, 5U, 1);
  });
  EXPECT_NE(ThrownBy<nex_TextException>([&] { exchange->Deliver(); }).find("to part 5"), cow_String::npos);
}
