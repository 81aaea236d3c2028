#include "odiC_SendLayout.h"
#include "odiC_Weights.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>

const std::vector<int>& odiC_LayoutSender::PlacesOfMade(std::size_t image) {
  placesOfMade_.resize(images_.size());
  std::vector<int>& places = placesOfMade_[image];
  const std::vector<int>& from = images_[image].renumbering->nodes.from;
  if (!places.empty() || from.empty()) return places;
  const auto count = static_cast<int>(images_[image].renumbering->made.starts.size()) - 1;
  int next = 0;
  for (const int old : from) places.push_back(old < 0 && next < count ? next++ : -1);
  return places;
}

void odiC_LayoutSender::SendSection(const odiC_LayoutBlock& block, int newClass, const cow_String& region,
                                    std::vector<Entry>& entries) {
  const bme_ElementClass& oldType = old_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
  const bme_ElementClass& newType = new_.ElementData().GetClass(static_cast<unsigned>(newClass));
  const shp_Weights weights = odiC_WeightsOf(
      block, oldType, [&](int set) -> const odiC_PointSet& { return run_.PointSet(set); }, shp_Target::Nodes);
  if (weights.values.empty()) return LeaveOut(block, "they cannot be extrapolated to nodes");
  std::ranges::sort(entries, {}, &Entry::entity);
  SentBlock sent;
  std::vector<int> entities;
  std::vector<double> counts(weights.numColumns); // of the element's values at a place
  // the shares of nodes of the element in a node of its section
  const auto add = [&](std::span<const int> row, int node, double share) {
    const auto at = std::ranges::find(row, node);
    if (at == row.end()) return false;
    const std::size_t first = static_cast<std::size_t>(at - row.begin()) * weights.numColumns;
    for (std::size_t k = 0; k < counts.size(); ++k) counts[k] += share * weights.values[first + k];
    return true;
  };
  wip_Poll poll(4096);
  for (const Entry& entry : entries) {
    poll.Advance();
    const auto image = static_cast<std::size_t>(entry.image);
    const bme_Renumbering& map = *images_[image].renumbering;
    const std::vector<int>& places = PlacesOfMade(image);
    const std::span<const int> row =
        oldType.Connectivity(static_cast<int>(entry.oldElement) - oldType.FirstElementIndex());
    for (const int node : newType.Connectivity(entry.entity)) {
      std::ranges::fill(counts, 0);
      const auto index = static_cast<std::size_t>(node);
      bool isKnown = true;
      if (const int place = places[index]; place >= 0) {
        const auto made = static_cast<std::size_t>(place);
        for (unsigned k = map.made.starts[made]; k < map.made.starts[made + 1]; ++k)
          isKnown &= add(row, static_cast<int>(map.made.parents[k]), map.made.weights[k]);
      } else {
        isKnown = add(row, map.nodes.from[index], 1);
      }
      if (!isKnown) return LeaveOut(block, "the section has nodes outside its elements");
      odiC_SentLayout::Sum sum;
      for (std::size_t k = 0; k < counts.size(); ++k) {
        if (counts[k] == 0) continue;
        sum.rows.push_back(block.firstRow + entry.at * block.valuesPerEntity + static_cast<int>(k));
        sum.weights.push_back(counts[k]);
      }
      sent.rows.push_back(-1 - static_cast<int>(sums_.size()));
      sent.images.push_back(entry.image);
      sums_.push_back(std::move(sum));
    }
    entities.push_back(entry.entity);
  }
  odiC_LayoutBlock made = block;
  made.position = res_ELEMENT_NODAL;
  made.pointSet = -1;
  made.classIndex = newClass;
  made.region = region;
  made.valuesPerEntity = newType.NumNodesPerElem();
  made.numEntities = static_cast<int>(entities.size());
  made.entities = entities.size() == static_cast<std::size_t>(newType.NumElements())
                      ? cow_ArrayCOW<int>()
                      : cow_ArrayCOW<int>(std::span<const int>(entities));
  sent.block = std::move(made);
  if (!entities.empty()) blocks_.push_back(std::move(sent));
}
