// odiC_Map.h: values from one mesh to another, and loads from one surface to another
#pragma once

#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/odiC_Values.h>
#include <array>
#include <optional>

/// Which faces of the donor a place of a surface may have its value from, by the angle between the normals: any, those
/// that look the same way (less than 90 degrees), or those that look the other way, as the two sides of one gap do.
enum class odiC_Sides { Any, Same, Opposite };

struct odiC_MapOptions {
  res_OutputPositionEnm position = res_NODAL; ///< or res_INTEGRATION_POINT, res_WHOLE_ELEMENT at centroids
  double distance = 0;                        ///< of places outside the donor, in model length
  /// Both, for surfaces: values at the nodes of the target's faces from the closest points of the donor's.
  const bme_FEMFaceList *donorFaces = nullptr, *targetFaces = nullptr;
  odiC_Sides sides = odiC_Sides::Any;
};

/// Places of another mesh with values of this one: in the elements of the donor that contain them, by the shape functions
/// from its nodes (odiC_Probe); outside of the closest place, when that is within the distance. Places are found once for
/// all frames. For means of values of elements at nodes give odiC_Values::AtNodes.
///
/// Of faces the closest point is that of the curved face. With sides, faces are grouped by the axis that their normal is
/// next to, and the closest face of each group is a candidate.
///
/// Units      those of both meshes; the target's nodes are brought into the coordinates of the donor by the placements.
/// Errors     odiC_Exception for placements that are turned to each other when vectors or tensors are mapped, for a
///            position that is none of these, for faces of one mesh only, and for surfaces without a distance above 0;
///            wip_Cancelled.
/// Threads    one thread at a time; run and target must outlive it.
class CORE_GEOMETRY_API odiC_Map {
public:
  odiC_Map(const odiC_Values& donor, const bme_Mesh& target, const odiC_MapOptions& options = {});

  /// Of the target: entities all of whose places were found.
  const odiC_Layout& Layout() const noexcept { return layout_; }
  int NumComponents() const noexcept { return width_; }
  /// The variable on the target: of the donor's type in global axes, or a scalar when a component or invariant is meant.
  odiC_Variable Variable(const cow_String& name) const;
  /// Rows of the layout; not a number where the donor has no value.
  std::vector<double> Read(const odiC_When& when) const;

  const std::vector<int>& Unmapped() const noexcept { return unmapped_; } ///< labels of nodes or elements
  double LargestDistance() const noexcept { return largest_; }            ///< of those that were mapped

private:
  struct Place {
    unsigned word = bme_kNotFound; ///< of the donor's face, or its element
    std::vector<int> nodes;        ///< of the donor, on the face
    std::vector<double> weights;
  };
  void MapVolume(const bme_Mesh& target, const odiC_MapOptions& options);
  void MapSurface(const bme_Mesh& target, const odiC_MapOptions& options);
  std::vector<double> PointsIn(const bme_Mesh& target, const odiC_Layout& layout) const;
  void Keep(const bme_Mesh& target, const odiC_Layout& all, std::span<const double> distances, double most);

  odiC_Values values_;
  int width_ = 1;
  odiC_Layout layout_;
  std::vector<std::size_t> rows_; ///< of the layout, among all places
  std::shared_ptr<const class odiC_Probe> probe_;
  std::vector<Place> places_; ///< on faces
  std::vector<int> unmapped_;
  double largest_ = 0;
};

/// Forces at the nodes of the target's faces that are the loads on those of the donor.
struct odiC_Loads {
  odiC_When when;
  odiC_Layout layout;         ///< nodes of the target
  std::vector<double> forces; ///< three for each
  std::array<double, 3> forceBefore{}, forceAfter{};
  std::array<double, 3> momentBefore{}, momentAfter{}; ///< about the origin of the target's coordinates
  double areaMissing = 0;      ///< of the donor: no face of the target within the distance, or no value
  std::vector<int> unmapped{}; ///< labels of donor elements with such a part
  double largestDistance = 0;
};

/// Transfers a pressure (one number, pushing against the target's faces) or a traction (a vector) so that the resultant
/// force and moment stay, but for rounding. The load is integrated at 25 Gauss points of each donor face. Each part goes to
/// the nodes of the closest face of the target by its shape functions there, which keeps the force (C. Farhat,
/// M. Lesoinne and P. Le Tallec, 1998). The couple that it gets by the way from the donor to that point is added up for
/// each face of the target and given to its nodes as forces w x (X - C) about their centre C: of all forces with that
/// moment and no resultant the least in the sum of squares. So each face has its loads, and none spreads further.
///
/// Errors     those of odiC_Map; odiC_Exception for values that are neither one number nor a vector of three, and for a
///            target face whose nodes are on a line.
CORE_GEOMETRY_API odiC_Loads odiC_TransferLoads(const odiC_Values& donor, const odiC_When& when,
                                                const bme_Mesh& target, const odiC_MapOptions& options);
