#include <CoreGeometry/dst_Averages.h>

#include "dst_SharingCheck.h"

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <limits>
#include <map>
#include <numeric>

namespace {
/// Sums and how many numbers are in them, of several nodes.
class Means {
public:
  Means(std::size_t numNodes, std::size_t width)
      : width_(width), sums_(numNodes * width), counts_(numNodes * width) {}
  void Add(std::size_t node, const double* row) {
    for (std::size_t c = 0; c < width_; ++c)
      if (row[c] == row[c]) {
        sums_[node * width_ + c] += row[c];
        ++counts_[node * width_ + c];
      }
  }
  std::vector<double> Take() {
    for (std::size_t i = 0; i < sums_.size(); ++i)
      sums_[i] = counts_[i] > 0 ? sums_[i] / counts_[i] : std::numeric_limits<double>::quiet_NaN();
    return std::move(sums_);
  }

private:
  std::size_t width_;
  std::vector<double> sums_;
  std::vector<unsigned> counts_;
};

/// Calls visit(element, local node, row of values) for each node of each element.
template<class Visit>
void ForEachRow(const dst_OpenPart& part, const bme_FEMElemList& elements, std::span<const double> values,
                std::size_t width, Visit visit) {
  std::size_t at = 0;
  for (const unsigned element : elements) {
    const bme_ElementClass& type = part.mesh->ElementData().GetElemClass(element);
    for (const int node :
         type.ElementConnectivity().Row(element - static_cast<unsigned>(type.FirstElementIndex()))) {
      if (at + width > values.size())
        throw nex_TextException(std::to_string(values.size()) + " values end in element index "
                                + std::to_string(element));
      if (static_cast<unsigned>(node) >= part.part->NumNodes())
        throw nex_TextException("element index " + std::to_string(element) + " has node index "
                                + std::to_string(node) + ", which is not in the mesh");
      visit(element, static_cast<unsigned>(node), &values[at]);
      at += width;
    }
  }
  if (at != values.size())
    throw nex_TextException(std::to_string(values.size()) + " values for " + std::to_string(at)
                            + " components of element nodes");
}

/// Records of node number, element number and values, which arrived in any order, as records of node number and means.
std::vector<double> MeansOf(const std::vector<double>& records, std::size_t width) {
  std::vector<std::size_t> order(records.size() / (width + 2));
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto record = [&](std::size_t i) { return &records[i * (width + 2)]; };
  std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) { // rows of one element stay in order
    return std::pair(record(a)[0], record(a)[1]) < std::pair(record(b)[0], record(b)[1]);
  });
  std::vector<double> means;
  for (auto node = order.begin(); node != order.end();) {
    const double number = record(*node)[0];
    Means mean(1, width);
    for (; node != order.end() && record(*node)[0] == number; ++node) mean.Add(0, record(*node) + 2);
    const std::vector<double> row = mean.Take();
    means.push_back(number);
    means.insert(means.end(), row.begin(), row.end());
  }
  return means;
}
/// Position in SharedNodes() of a node that another part has sent.
unsigned SharedOf(const dst_Part& part, double number) {
  const auto node = static_cast<std::uint64_t>(number);
  const unsigned local = part.FindNode(node);
  const unsigned shared = local == bme_kNotFound ? local : part.FindShared(local);
  if (shared == bme_kNotFound)
    throw nex_TextException("another part sent node " + std::to_string(node)
                            + ", which this part does not share; check the split");
  return shared;
}
} // namespace

dst_OfParts<std::vector<double>> dst_AverageAtNodes(const dst_Mesh& mesh, const dst_Elements& elements,
                                                    std::size_t numComponents,
                                                    const dst_ElementNodeValues& values) {
  dst_Exchange& exchange = mesh.Exchange();
  const auto forEachRow = [&](const dst_OpenPart& part, auto visit) {
    const bme_FEMElemList some = elements.In(part);
    ForEachRow(part, some, values(part, some), numComponents, visit);
  };
  const auto isShared = [](const dst_OpenPart& part, unsigned node) {
    return part.part->FindShared(node) != bme_kNotFound;
  };
  dst_SharingCheck sharing(exchange);
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    sharing.Add(*part.part);
    std::map<unsigned, std::vector<double>> toOwners;
    forEachRow(part, [&](unsigned element, unsigned node, const double* row) {
      if (!isShared(part, node)) return;
      std::vector<double>& records = toOwners[part.part->OwnerOfNode(node)];
      records.push_back(part.part->NodeNumbers()[node]);
      records.push_back(part.part->ElementNumbers()[element]);
      records.insert(records.end(), row, row + numComponents);
    });
    for (const auto& [owner, records] : toOwners) exchange.SendRecords(number, owner, records);
  });
  sharing.Settle();
  exchange.Deliver();
  exchange.ForEachPart([&](unsigned number) {
    const std::vector<double> means = MeansOf(exchange.ReceivedRecords<double>(number), numComponents);
    const dst_Part& part = *mesh.Part(number).part;
    std::map<unsigned, std::vector<double>> toHolders;
    for (auto record = means.begin(); record != means.end();) {
      const auto end = record + static_cast<std::ptrdiff_t>(numComponents + 1);
      toHolders[number].insert(toHolders[number].end(), record, end);
      for (const unsigned holder : part.OtherHolders(SharedOf(part, *record)))
        toHolders[holder].insert(toHolders[holder].end(), record, end);
      record = end;
    }
    for (const auto& [holder, records] : toHolders) exchange.SendRecords(number, holder, records);
  });
  exchange.Deliver();
  dst_OfParts<std::vector<double>> result(exchange.MyParts());
  exchange.ForEachPart([&](unsigned number) {
    const dst_OpenPart& part = mesh.Part(number);
    Means own(part.part->NumNodes(), numComponents);
    forEachRow(part, [&](unsigned, unsigned node, const double* row) {
      if (!isShared(part, node)) own.Add(node, row);
    });
    result[number] = own.Take();
    const std::vector<double> settled = exchange.ReceivedRecords<double>(number);
    for (std::size_t at = 0; at < settled.size(); at += numComponents + 1) {
      const std::size_t node = part.part->SharedNodes()[SharedOf(*part.part, settled[at])];
      std::copy_n(&settled[at + 1], numComponents, &result[number][node * numComponents]);
    }
  });
  exchange.Agree();
  return result;
}
