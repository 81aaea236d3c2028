#include <CoreGeometry/odiC_Map.h>

#include "odiC_FaceFinder.h"
#include "odiC_Stages.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Probe.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {
/// Values in axes of their own are turned to the global ones, as they have no axes on another mesh.
odiC_Values Global(const odiC_Values& values) {
  return values.Variable().coordSystem == res_LOCAL && !values.Where().What().system
             ? values.System(res_GLOBAL)
             : values;
}

gsl_Point Moved(const gsl_Matrix& matrix, const double* at) {
  gsl_Point point(at[0], at[1], at[2]);
  point.Transform(matrix);
  return point;
}
} // namespace

odiC_Map::odiC_Map(const odiC_Values& donor, const bme_Mesh& target, const odiC_MapOptions& options)
    : values_(Global(donor)), width_(values_.NumComponents()) {
  if ((options.donorFaces == nullptr) != (options.targetFaces == nullptr))
    throw odiC_Exception(donor.Text() + ": surfaces are mapped from faces to faces; one of both is missing");
  if (!(options.distance >= 0) || (options.donorFaces && options.distance == 0))
    throw odiC_Exception(donor.Text() + ": a distance of " + std::to_string(options.distance)
                         + " is none within which a place is taken");
  const bme_Placement from(donor.Run().Mesh()), to(target);
  if (width_ > 1 && (from.IsTurned() || to.IsTurned()) && to.Into(from).Element(0, 0) != 1)
    throw odiC_Exception(donor.Text() + ": the meshes are turned to each other by their placements");
  if (options.donorFaces)
    MapSurface(target, options);
  else
    MapVolume(target, options);
}

/// Places of all rows, in the coordinates of the donor.
std::vector<double> odiC_Map::PointsIn(const bme_Mesh& target, const odiC_Layout& layout) const {
  std::vector<double> points(3 * static_cast<std::size_t>(layout.numRows));
  const std::span<const float> xyz = target.NodeData().Coordinates().Const();
  std::vector<float> own;
  for (const odiC_LayoutBlock& block : layout.blocks) {
    const auto each = static_cast<std::size_t>(block.valuesPerEntity);
    wip_Poll poll(8192);
    for (int at = 0; at < block.numEntities; ++at) {
      poll.Advance();
      double* const to =
          points.data()
          + 3 * (static_cast<std::size_t>(block.firstRow) + static_cast<std::size_t>(at) * each);
      if (block.IsNodal()) {
        std::copy_n(xyz.data() + 3 * static_cast<std::size_t>(block.Entity(at)), 3, to);
        continue;
      }
      const bme_ElementClass& type = target.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
      const std::span<const int> row = type.Connectivity(block.Entity(at));
      own.assign(3 * each, 0);
      if (block.position == res_INTEGRATION_POINT) {
        int count = 0;
        type.Shape()->IntPtCoord(xyz, row, own, count);
      } else {
        type.Shape()->Centroid(row, xyz, std::span<float, 3>(own.data(), 3));
      }
      std::ranges::copy(own, to);
    }
  }
  const bme_Placement from(target), into(values_.Run().Mesh());
  if (from.IsNone() && into.IsNone()) return points;
  const gsl_Matrix matrix = from.Into(into);
  for (std::size_t i = 0; i < points.size(); i += 3) {
    const gsl_Point moved = Moved(matrix, points.data() + i);
    for (unsigned axis = 0; axis < 3; ++axis) points[i + axis] = moved[axis];
  }
  return points;
}

/// Entities all of whose places are near enough.
void odiC_Map::Keep(const bme_Mesh& target, const odiC_Layout& all, std::span<const double> distances,
                    double most) {
  bool isFull = true;
  for (const odiC_LayoutBlock& block : all.blocks) {
    std::vector<int> entities;
    std::vector<unsigned> missing;
    const unsigned first =
        block.IsNodal()
            ? 0
            : static_cast<unsigned>(
                target.ElementData().GetClass(static_cast<unsigned>(block.classIndex)).FirstElementIndex());
    for (int at = 0; at < block.numEntities; ++at) {
      const std::size_t row =
          static_cast<std::size_t>(block.firstRow)
          + static_cast<std::size_t>(at) * static_cast<std::size_t>(block.valuesPerEntity);
      const auto own = distances.subspan(row, static_cast<std::size_t>(block.valuesPerEntity));
      const double farthest = *std::ranges::max_element(own);
      if (!(farthest <= most)) {
        missing.push_back(first + static_cast<unsigned>(block.Entity(at)));
        continue;
      }
      largest_ = std::max(largest_, farthest);
      entities.push_back(block.Entity(at));
      for (std::size_t k = 0; k < own.size(); ++k) rows_.push_back(row + k);
    }
    const std::vector<int> labels = block.IsNodal() ? bme_FEMNodeList(target, missing).Labels()
                                                    : bme_FEMElemList(target, missing).Labels();
    unmapped_.insert(unmapped_.end(), labels.begin(), labels.end());
    isFull &= missing.empty() && block.entities.IsEmpty();
    if (entities.empty()) continue;
    odiC_LayoutBlock kept = block;
    kept.numEntities = static_cast<int>(entities.size());
    if (!missing.empty()) kept.entities = cow_ArrayCOW<int>(std::span<const int>(entities));
    layout_.Add(std::move(kept));
  }
  std::ranges::sort(unmapped_);
  layout_.completeness = layout_.blocks.empty() ? res_EMPTY_FIELD
                         : isFull               ? res_FULL_FIELD
                                                : res_PARTIAL_FIELD;
}

void odiC_Map::MapVolume(const bme_Mesh& target, const odiC_MapOptions& options) {
  if (options.position != res_NODAL && options.position != res_INTEGRATION_POINT
      && options.position != res_WHOLE_ELEMENT)
    throw odiC_Exception(values_.Text()
                         + ": values are mapped to nodes, integration points or whole elements, not to "
                         + omu_PrimEnum<res_OutputPositionEnm>(options.position).Text());
  const odiC_Layout all = odiC_FullLayout(target, options.position);
  const std::vector<double> points = PointsIn(target, all);
  probe_ = std::make_shared<odiC_Probe>(values_, points, options.distance > 0);
  std::vector<double> distances;
  distances.reserve(probe_->Places().size());
  for (const bme_NearestElement& place : probe_->Places())
    distances.push_back(place.element == bme_kNotFound ? std::numeric_limits<double>::infinity()
                                                       : place.distance);
  Keep(target, all, distances, options.distance);
}

void odiC_Map::MapSurface(const bme_Mesh& target, const odiC_MapOptions& options) {
  if (options.position != res_NODAL)
    throw odiC_Exception(values_.Text() + ": surfaces have their mapped values at nodes");
  const bme_FEMNodeList nodes = bme_FEMNodeList::OfFaces(*options.targetFaces);
  odiC_LayoutBlock block;
  block.position = res_NODAL;
  block.numEntities = static_cast<int>(nodes.Count());
  const std::vector<int> entities(nodes.begin(), nodes.end());
  block.entities = cow_ArrayCOW<int>(std::span<const int>(entities));
  odiC_Layout all;
  all.Add(block);
  const std::vector<double> points = PointsIn(target, all);
  const odiC_FaceFinder finder(*options.donorFaces, options.sides);
  const auto normals = odiC_NodeNormals(*options.targetFaces);
  std::vector<double> distances;
  wip_Poll poll(256);
  for (std::size_t i = 0; i < entities.size(); ++i) {
    poll.Advance();
    odiC_FaceHit hit;
    finder.Find({points[3 * i], points[3 * i + 1], points[3 * i + 2]}, normals.at(nodes[i]), hit);
    distances.push_back(hit.distance);
    places_.push_back({hit.word, std::move(hit.nodes), std::move(hit.weights)});
  }
  Keep(target, all, distances, options.distance);
}

odiC_Variable odiC_Map::Variable(const cow_String& name) const {
  const odiC_Variable& old = values_.Variable();
  const odiC_What& what = values_.Where().What();
  if (what.component || what.invariant || width_ == 1) return {name, res_SCALAR, old.unit};
  odiC_Variable made = old;
  made.name = name;
  made.pair = res_NO_PAIR;
  if (made.coordSystem == res_LOCAL) {
    made.coordSystem = res_GLOBAL;
    made.axes.clear();
  }
  return made;
}

std::vector<double> odiC_Map::Read(const odiC_When& when) const {
  const auto width = static_cast<std::size_t>(width_);
  std::vector<double> read(rows_.size() * width);
  if (probe_) {
    const std::vector<double> all = probe_->Read(when);
    for (std::size_t i = 0; i < rows_.size(); ++i)
      std::copy_n(all.begin() + static_cast<std::ptrdiff_t>(rows_[i] * width), width,
                  read.begin() + static_cast<std::ptrdiff_t>(i * width));
    return read;
  }
  const odiC_FaceRows rows(values_, when);
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const Place& place = places_[rows_[i]];
    rows.Read(place.word, place.nodes, place.weights, std::span(read).subspan(i * width, width));
  }
  return read;
}
