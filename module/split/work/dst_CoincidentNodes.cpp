#include <CoreGeometry/dst_CoincidentNodes.h>

#include <CoreGeometry/bme_FEMConnect.h>
#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace {
struct Node {
  unsigned number;
  float xyz[3];
};
/// Two numbers of nodes that are in one group.
using Pair = std::array<unsigned, 2>;

std::vector<Node> NodesOf(const dst_OpenPart& part) {
  const std::span<const float> xyz = part.mesh->NodeData().Coordinates().Const();
  std::vector<Node> nodes;
  nodes.reserve(part.part->NumNodes());
  for (std::size_t i = 0; i < part.part->NumNodes(); ++i)
    nodes.push_back({part.part->NodeNumbers()[i], {xyz[3 * i], xyz[3 * i + 1], xyz[3 * i + 2]}});
  return nodes;
}

/// True within the tolerance of the box, and for some that are a little further away.
bool IsNear(const Node& node, const dst_PartFacts& other, double tolerance) {
  for (std::size_t a = 0; a < 3; ++a) {
    const double x = static_cast<double>(node.xyz[a]), low = static_cast<double>(other.box[a]),
                 high = static_cast<double>(other.box[a + 3]);
    if (!(low - x <= 1.000001 * tolerance && x - high <= 1.000001 * tolerance)) return false;
  }
  return true;
}

/// Each node of a group with its first one.
std::vector<Pair> PairsAmong(const std::vector<Node>& nodes, double tolerance) {
  std::vector<float> xyz;
  xyz.reserve(3 * nodes.size());
  for (const Node& node : nodes) xyz.insert(xyz.end(), std::begin(node.xyz), std::end(node.xyz));
  const bme_Adjacency groups =
      bme_FindCoincidentNodes(bme_NodeData(uti_CoordCont3D(cow_ArrayCOW<float>(std::move(xyz)))), tolerance);
  std::vector<Pair> pairs;
  pairs.reserve(groups.items.size());
  for (std::size_t g = 0; g + 1 < groups.first.size(); ++g)
    for (unsigned k = groups.first[g] + 1; k < groups.first[g + 1]; ++k)
      pairs.push_back({nodes[groups.items[groups.first[g]]].number, nodes[groups.items[k]].number});
  return pairs;
}

/// Groups that the pairs connect.
std::vector<std::vector<std::uint64_t>> Connect(const std::vector<std::vector<Pair>>& pairsOfParts) {
  std::map<unsigned, unsigned> parent;
  const auto root = [&](unsigned node) {
    for (auto at = parent.try_emplace(node, node).first; at->second != node; at = parent.find(node))
      node = at->second = parent.at(at->second);
    return node;
  };
  for (const std::vector<Pair>& pairs : pairsOfParts)
    for (const auto& [a, b] : pairs) {
      const unsigned rootA = root(a), rootB = root(b);
      parent[std::max(rootA, rootB)] = std::min(rootA, rootB);
    }
  std::map<unsigned, std::vector<std::uint64_t>> members;
  for (const auto& [node, above] : parent) members[root(node)].push_back(node);
  std::vector<std::vector<std::uint64_t>> groups;
  groups.reserve(members.size());
  for (auto& [first, nodes] : members) groups.push_back(std::move(nodes));
  return groups;
}
} // namespace

std::vector<std::vector<std::uint64_t>> dst_FindCoincidentNodes(const dst_Mesh& mesh, double tolerance) {
  dst_Exchange& exchange = mesh.Exchange();
  std::vector<dst_PartFacts> facts;
  facts.reserve(mesh.NumParts());
  for (unsigned part = 0; part < mesh.NumParts(); ++part) facts.push_back(mesh.Index().Part(part));
  // of two parts the later one looks for pairs
  exchange.ForEachPart([&](unsigned number) {
    const std::vector<Node> nodes = NodesOf(mesh.Part(number));
    std::vector<Node> near;
    for (unsigned other = number + 1; other < mesh.NumParts(); ++other) {
      near.clear();
      std::ranges::copy_if(nodes, std::back_inserter(near),
                           [&](const Node& node) { return IsNear(node, facts[other], tolerance); });
      exchange.SendRecords(number, other, near);
    }
  });
  exchange.Deliver();
  std::vector<std::vector<Pair>> pairs(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    std::vector<Node> nodes = NodesOf(part), others = exchange.ReceivedRecords<Node>(number);
    std::ranges::sort(others, {}, &Node::number);
    others.erase(std::unique(others.begin(), others.end(),
                             [](const Node& a, const Node& b) { return a.number == b.number; }),
                 others.end());
    std::erase_if(others,
                  [&](const Node& node) { return part.part->FindNode(node.number) != bme_kNotFound; });
    nodes.insert(nodes.end(), others.begin(), others.end());
    pairs[number - exchange.MyParts().first] = PairsAmong(nodes, tolerance);
  });
  return Connect(exchange.GatherRecords(pairs));
}
