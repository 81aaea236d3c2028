#include <CoreGeometry/odiC_Places.h>

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>

odiC_Places odiC_Places::All(Layout layout) {
  odiC_Places all(std::move(layout));
  if (all.layout_->numRows > 0) all.Add(0, all.layout_->numRows);
  return all;
}

void odiC_Places::Add(int first, int count) {
  if (count <= 0) return;
  if (!runs_.empty() && runs_.back().End() == first)
    runs_.back().count += count;
  else
    runs_.push_back({first, count});
  numRows_ += count;
}

/// Walks over the borders of the runs of both; between two of them nothing changes.
template<class Keep> odiC_Places odiC_Places::Combined(const odiC_Places& other, const Keep& keep) const {
  if (layout_ != other.layout_) throw odiC_Exception("places of different layouts cannot be combined");
  odiC_Places result(layout_);
  std::size_t a = 0, b = 0;
  for (int at = 0; a < runs_.size() || b < other.runs_.size();) {
    const auto border = [at](const std::vector<odiC_RowRun>& runs, std::size_t i, bool& isIn) {
      isIn = i < runs.size() && runs[i].first <= at;
      return i == runs.size() ? 2147483647 : isIn ? runs[i].End() : runs[i].first;
    };
    bool isInA = false, isInB = false;
    const int end = std::min(border(runs_, a, isInA), border(other.runs_, b, isInB));
    if (keep(isInA, isInB)) result.Add(at, end - at);
    at = end;
    if (a < runs_.size() && runs_[a].End() == at) ++a;
    if (b < other.runs_.size() && other.runs_[b].End() == at) ++b;
  }
  return result;
}

odiC_Places odiC_Places::And(const odiC_Places& other) const {
  return Combined(other, [](bool a, bool b) { return a && b; });
}
odiC_Places odiC_Places::Or(const odiC_Places& other) const {
  return Combined(other, [](bool a, bool b) { return a || b; });
}
odiC_Places odiC_Places::Without(const odiC_Places& other) const {
  return Combined(other, [](bool a, bool b) { return a && !b; });
}

odiC_Places odiC_Places::WholeEntities() const {
  odiC_Places whole(layout_);
  int done = 0;
  for (const odiC_RowRun& run : runs_)
    for (int row = std::max(run.first, done); row < run.End(); row = done) {
      const odiC_LayoutBlock& block = layout_->blocks[static_cast<std::size_t>(odiC_BlockOf(*layout_, row))];
      const int each = block.valuesPerEntity, within = row - block.firstRow;
      const int end = std::min(run.End() - block.firstRow, block.NumRows());
      const int first = within / each * each, last = (end + each - 1) / each * each;
      whole.Add(block.firstRow + first, last - first);
      done = block.firstRow + last;
    }
  return whole;
}

bool odiC_Places::Contains(int row) const noexcept {
  const auto after = std::ranges::upper_bound(runs_, row, {}, &odiC_RowRun::first);
  return after != runs_.begin() && row < std::prev(after)->End();
}

int odiC_BlockOf(const odiC_Layout& layout, int row) noexcept {
  // of blocks without rows that begin there, too, the last one has the row
  const auto after = std::ranges::upper_bound(layout.blocks, row, {}, &odiC_LayoutBlock::firstRow);
  return static_cast<int>(after - layout.blocks.begin()) - 1;
}

odiC_Place odiC_PlaceOf(const odiC_Layout& layout, int row) noexcept {
  odiC_Place place;
  place.block = odiC_BlockOf(layout, row);
  const odiC_LayoutBlock& block = layout.blocks[static_cast<std::size_t>(place.block)];
  place.at = (row - block.firstRow) / block.valuesPerEntity;
  place.point = (row - block.firstRow) % block.valuesPerEntity;
  place.entity = block.Entity(place.at);
  return place;
}

odiC_PlaceLabel odiC_LabelOf(const bme_Mesh& mesh, const odiC_LayoutBlock& block, const odiC_Place& place) {
  odiC_PlaceLabel label;
  label.position = block.position;
  label.region = block.region;
  const bme_NodeData& nodes = mesh.NodeData();
  const auto labelOf = [&](int node) {
    return nodes.HasUserNodeLabels() ? nodes.UserNodeLabels().Const()[static_cast<std::size_t>(node)]
                                     : node + 1;
  };
  if (block.IsNodal()) {
    label.label = labelOf(place.entity);
  } else if (block.classIndex >= 0) {
    const bme_ElementClass& elements = mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
    label.label = mesh.ElementData().HasUserElementLabels()
                      ? elements.UserElementLabels()[static_cast<std::size_t>(place.entity)]
                      : elements.FirstElementIndex() + place.entity + 1;
    if (block.HasFaces()) {
      const shp_Shape* shape = elements.Shape();
      const int facet = block.faces.Const()[static_cast<std::size_t>(place.at)];
      label.point = (shape ? rgnC_FacetOf(*shape, facet).face : facet) + 1;
    } else if (block.position == res_ELEMENT_NODAL || block.position == res_INTEGRATION_POINT) {
      label.point = place.point + 1;
      if (block.position == res_ELEMENT_NODAL) {
        const int node = elements.Connectivity(place.entity)[static_cast<std::size_t>(place.point)];
        if (node >= 0 && static_cast<unsigned>(node) < nodes.NumNodes()) label.node = labelOf(node);
      }
    }
  }
  return label;
}

cow_String odiC_PlaceLabel::Text() const {
  cow_String text;
  switch (position) {
  case res_NODAL:
  case res_SURFACE_NODAL: text = "node "; break;
  case res_WHOLE_REGION:
  case res_WHOLE_PART_INSTANCE:
  case res_WHOLE_MODEL: text = region.empty() ? "the whole model" : "the whole of "; break;
  case res_GENERAL_PARTICLE: text = "particle "; break;
  default: text = "element ";
  }
  text += label != 0 ? std::to_string(label) : region;
  if (point != 0) {
    text += position == res_ELEMENT_NODAL       ? ", node "
            : position == res_INTEGRATION_POINT ? ", point "
                                                : ", face ";
    text += std::to_string(point);
    if (node != 0) text += " (label " + std::to_string(node) + ')';
  }
  if (!sectionPoint.empty()) text += ", section point " + sectionPoint;
  if (label != 0 && !region.empty()) text += " in " + region;
  return text;
}
