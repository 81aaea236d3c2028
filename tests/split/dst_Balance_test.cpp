// Parts are of one size, and what they send each other grows with the nodes that they share. BALANCE_SIZE=100 takes a
// block of a million elements.
#include "BlockInRanges.h"
#include "SplitTest.h"

#include <CoreGeometry/dst_Averages.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/dst_Split.h>
#include <iostream>

namespace {
/// What the parts have sent since the count began.
struct Sent {
  double sum = 0, most = 0;
};

/// Counts what the work sends; each message goes from a part to one of its neighbours.
template<class Work> Sent Count(const dst_Mesh& mesh, Work work) {
  dst_Exchange& exchange = mesh.Exchange();
  exchange.SetNumParts(mesh.NumParts()); // counts anew
  work();
  Sent sent;
  for (unsigned part = 0; part < mesh.NumParts(); ++part) {
    const std::vector<unsigned> neighbours = mesh.Index().Part(part).neighbours;
    double ofPart = 0;
    for (const auto& [to, bytes] : exchange.BytesSent(part)) {
      EXPECT_TRUE(std::ranges::binary_search(neighbours, to)) << "from part " << part << " to part " << to;
      ofPart += static_cast<double>(bytes);
    }
    sent.sum += ofPart;
    sent.most = std::max(sent.most, ofPart);
  }
  return sent;
}
} // namespace

TEST_F(Split, PartsAreBalancedAndSendNoMoreThanTheirSharedNodesAsk) {
  const char* wanted = std::getenv("BALANCE_SIZE");
  const std::uint64_t size = wanted ? std::strtoull(wanted, nullptr, 10) : 64;
  const Block block({size, size, size});
  for (const unsigned numParts : {64U, 256U, 1024U}) {
    fs::remove_all(In("block.split"));
    const dst_SplitReport report = dst_Split(block, In("block.split"), {.parts = numParts});
    EXPECT_LE(report.balance, 1.03) << numParts << " parts";
    double shared = 0;
    for (unsigned part = 0; part < numParts; ++part)
      shared += static_cast<double>(report.index.Part(part).numShared);
    dst_SerialExchange exchange(folder_.string());
    const dst_Mesh mesh = dst_Model(In("block.split"), exchange).Mesh();
    const auto average = [&](std::size_t numComponents) {
      dst_AverageAtNodes(mesh, dst_Elements::All(), numComponents,
                         [&](const dst_OpenPart&, const bme_FEMElemList& elements) {
                           return std::vector<double>(8 * numComponents * elements.Count(), 1.0);
                         });
    };
    const auto expect = [&](const char* what, const Sent& sent, double bytesPerSharedNode) {
      const double formula = sent.sum / (shared * bytesPerSharedNode),
                   balance = sent.most * numParts / sent.sum;
      std::cout << numParts << " parts, " << what << ": " << formula << " of the formula, most against mean "
                << balance << '\n';
      EXPECT_LE(formula, 1.3) << what << " of " << numParts << " parts";
      EXPECT_GE(formula, 0.4) << what << " of " << numParts << " parts";
      EXPECT_LE(balance, 1.6) << what << " of " << numParts << " parts";
    };
    // 16 bytes of numbers, a word and an answer for each shared node, whose number is about that of faces
    expect("faces", Count(mesh, [&] { dst_ComputeFaces(mesh); }), 21);
    // four elements for each shared node, about half of them in a part that does not own it; and the way back
    for (const std::size_t numComponents : {1U, 6U})
      expect(numComponents == 1 ? "means of 1 component" : "means of 6 components",
             Count(mesh, [&] { average(numComponents); }),
             4.0 * (4 + 8 * static_cast<double>(numComponents)));
  }
}
