// odiC_NodeAverage.h: values of elements at element nodes, centroids and faces, and their means at nodes
#pragma once

#include <CoreGeometry/bme_LastingMesh.h>
#include <CoreGeometry/odiC_Places.h>
#include <CoreGeometry/odiC_Source.h>
#include <CoreGeometry/shp_Weights.h>
#include <functional>

enum class odiC_Borders { None, Class, Category, Regions };
/// When the invariant is taken: of what stands at element nodes, of the mean at a node, or at integration points.
enum class odiC_Order { Before, After, AtPoints };
enum class odiC_Weights { Equal, Measure };

/// How values of elements become values at nodes.
struct odiC_ToNodes {
  odiC_Borders borders = odiC_Borders::Category;
  std::vector<cow_String> regions = {}; ///< names of the sets that are groups, with odiC_Borders::Regions
  double normals =
      30; ///< degrees between the normals of surface elements that are one group at a node; 0: any
  odiC_Weights weights = odiC_Weights::Equal; ///< Measure: volume, area or length of the element
  double threshold =
      100; ///< percent of the range of a group, above which every element keeps its own value at a node
  odiC_Order order = odiC_Order::Before;
  bool isPerElement =
      false; ///< the result is at the nodes of each element, which has the mean of its group there
};

/// Carries rows of elements to the nodes, faces or centroids of each element: from integration points by the weights of
/// their shape or point set, from whole elements as they are.
///
/// Empty      a component that is not a number at one point is not a number at all places that use the point.
/// Errors     odiC_Exception when a class has values at several positions, as at integration points and whole elements.
/// Threads    const calls from several threads.
class CORE_GEOMETRY_API odiC_Carrier {
public:
  /// Nodal values and those of faces and regions are left out. Point sets are asked for by their number.
  odiC_Carrier(const bme_Mesh& mesh, const odiC_Places& from,
               const std::function<const odiC_PointSet&(int)>& pointSet, shp_Target target);

  const odiC_Places& Places() const noexcept { return places_; }
  /// True when every place got the mean of all points of its element, as their places are not known.
  bool AreMeans() const noexcept { return areMeans_; }
  int SourceBlock(int block) const { return carries_[static_cast<std::size_t>(block)].source; }
  /// Rows of whole elements of the source block of a block.
  void Apply(int block, int numComponents, std::span<const float> rows, std::span<float> carried) const;
  void Apply(int block, int numComponents, std::span<const double> rows, std::span<double> carried) const;

private:
  struct Carry {
    int source = -1;
    shp_Weights weights;
    bool isCopy = false;
  };
  template<class T>
  void ApplyTo(int block, int numComponents, std::span<const T> rows, std::span<T> carried) const;

  odiC_Places places_;
  std::vector<Carry> carries_;
  bool areMeans_ = false;
};

/// Elements that are a group of their own.
struct odiC_ElementGroup {
  cow_String name;
  std::vector<unsigned> elements; ///< mesh element indices
};

/// Means at nodes of values at element nodes or of whole elements, group by group. Elements of one group, which do not
/// differ in section point, border or dimension, are averaged together, a node that an element has several times with
/// the mean of its values there; surface elements at a node are divided into
/// chains over common edges across which the normals turn by no more than the angle of the options.
///
/// Layout     a block of nodes for each group, named by its region when there are several; a node with several chains of
///            one group stands in further blocks. With a threshold below 100, or per element: the element nodes of all
///            blocks.
/// Empty      what is not a number is left out and counted; a node with nothing else has not a number.
/// Range      of the threshold: a node is averaged when 100 (max - min there) <= threshold (max - min of the group),
///            by component.
/// Cost       8 bytes a node of the mesh for each component, for one group after another, and 12 for each row; with a
///            threshold below 100 24 bytes for each component and group.
/// Errors     odiC_Exception for element positions other than element nodes, whole elements and centroids, and for a
///            threshold or an angle outside its range.
/// Threads    one thread at a time.
class CORE_GEOMETRY_API odiC_NodeAverage {
public:
  /// Elements of several of the regions belong to the first one; those of none are one more group.
  odiC_NodeAverage(bme_LastingMesh mesh, const odiC_Places& places, const odiC_ToNodes& options,
                   std::span<const odiC_ElementGroup> regions = {});
  odiC_NodeAverage Again() const; ///< over the same groups, which are shared; without values
  odiC_NodeAverage(odiC_NodeAverage&&) noexcept;
  odiC_NodeAverage& operator=(odiC_NodeAverage&&) noexcept;
  ~odiC_NodeAverage();

  // ask
  const odiC_Places&
  Places() const noexcept; ///< of the result: all rows of its layout, but for element nodes
  int NumGroups() const noexcept;
  const cow_String& GroupName(int group) const; ///< empty when there is only one
  int NumNodesOfSeveral() const noexcept;       ///< nodes with several rows
  long long NumNotNumbers() const noexcept;     ///< left out since Begin
  /// The group of a block of the result; all groups together, -1, with a threshold below 100.
  int GroupOf(int block) const noexcept;
  /// The blocks of the source whose values a group needs.
  std::span<const int> BlocksOf(int group) const;

  // average: Begin, Add all places of the group's blocks, Finish, then read rows of the group
  void Begin(int group, int numComponents); ///< -1 for all groups, which a threshold below 100 needs
  /// Rows of whole elements of a block of the source, of which the first is at a position in the block.
  void Add(int block, int firstEntity, std::span<const float> rows);
  void Add(int block, int firstEntity, std::span<const double> rows);
  void Finish();
  void Read(int firstRow, std::span<double> values) const;
  /// With a threshold below 100: what elements have at their nodes, given the rows that were added for them.
  void Keep(int block, int firstEntity, std::span<const double> rows, std::span<double> values) const;

private:
  struct Plan;
  struct Impl;
  explicit odiC_NodeAverage(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

/// The same as stages over a source.
CORE_GEOMETRY_API odiC_SourcePointer odiC_Carried(odiC_SourcePointer from, odiC_Carrier carrier);
CORE_GEOMETRY_API odiC_SourcePointer odiC_Averaged(odiC_SourcePointer from, odiC_NodeAverage average);
