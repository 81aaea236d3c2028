// odiC_Places.h: some rows of a layout, and what they are values of
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/odiC_Layout.h>
#include <memory>
#include <span>
#include <vector>

/// Neighbouring rows of a layout.
struct odiC_RowRun {
  int first = 0, count = 0;
  int End() const noexcept { return first + count; }
  bool operator==(const odiC_RowRun&) const = default;
};

/// Rows of a layout, each once, in order.
///
/// Cost       operations on sets are linear in the runs of both.
/// Errors     nex_TextException when places of different layouts meet.
/// Threads    a value; the layout is shared.
class CORE_GEOMETRY_API odiC_Places {
public:
  using Layout = std::shared_ptr<const odiC_Layout>;

  // make
  explicit odiC_Places(Layout layout) : layout_(std::move(layout)) {}
  static odiC_Places All(Layout layout);
  /// Appends rows that come after all others.
  void Add(int first, int count);
  odiC_Places And(const odiC_Places& other) const;
  odiC_Places Or(const odiC_Places& other) const;
  odiC_Places Without(const odiC_Places& other) const;
  /// All rows of the entities that have a row here.
  odiC_Places WholeEntities() const;

  // ask
  const Layout& SharedLayout() const noexcept { return layout_; }
  std::span<const odiC_RowRun> Runs() const noexcept { return runs_; }
  long long NumRows() const noexcept { return numRows_; }
  bool IsEmpty() const noexcept { return runs_.empty(); }
  bool AreAll() const noexcept { return numRows_ == layout_->numRows; }
  bool Contains(int row) const noexcept;

private:
  template<class Keep> odiC_Places Combined(const odiC_Places& other, const Keep& keep) const;

  Layout layout_;
  std::vector<odiC_RowRun> runs_;
  long long numRows_ = 0;
};

/// What a row is a value of.
struct odiC_Place {
  int block = -1;
  int at = -1;     ///< position of the entity in the block
  int entity = -1; ///< index of a node, or position of an element in its class
  int point = 0;   ///< integration point or element node, from 0
};

CORE_GEOMETRY_API int odiC_BlockOf(const odiC_Layout& layout, int row) noexcept;
CORE_GEOMETRY_API odiC_Place odiC_PlaceOf(const odiC_Layout& layout, int row) noexcept;

/// The place in the words of a user.
struct CORE_GEOMETRY_API odiC_PlaceLabel {
  res_OutputPositionEnm position = res_UNDEFINED_POSITION;
  int label = 0; ///< user label of the node or element, index + 1 without labels; 0 for whole regions
  int point = 0; ///< integration point or element node from 1, face from 1 at faces; 0 for none
  cow_String sectionPoint, region;
  int node = 0; ///< at element nodes the label of the node

  cow_String Text() const; ///< "element 12, point 3, section point top", "element 12, node 3 (label 105)"
};

/// Without the section point, which a run knows: odiC_SectionPointName.
CORE_GEOMETRY_API odiC_PlaceLabel odiC_LabelOf(const bme_Mesh& mesh, const odiC_LayoutBlock& block,
                                               const odiC_Place& place);
