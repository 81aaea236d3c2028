// odiC_Source.h: values of one frame that are computed when they are read
#pragma once

#include <CoreGeometry/odiC_Places.h>
#include <functional>
#include <memory>
#include <span>

/// Rows of numbers over a layout, of which some places are meant. Sources are put one over another: a field of the
/// model, its invariant, the invariant at nodes ... Each reads the one below in blocks of rows.
///
/// Errors     as odiC_FieldReader and cls_Database.
/// Cost       one call for a block of rows; the memory of a stage is one block.
/// Threads    one thread at a time.
class CORE_GEOMETRY_API odiC_Source {
public:
  virtual ~odiC_Source() = default;
  odiC_Source(const odiC_Source&) = delete;
  odiC_Source& operator=(const odiC_Source&) = delete;

  const odiC_Places& Places() const noexcept { return places_; }
  const odiC_Layout& Layout() const noexcept { return *places_.SharedLayout(); }
  int NumComponents() const noexcept { return width_; }
  /// Rows of whole entities, from `firstRow` of the layout on, all of one block.
  virtual void Read(int firstRow, std::span<double> values) = 0;
  /// Position of the section point in the category that the value of a row is taken from; -1 for none.
  virtual int SectionPointOf(int row);

protected:
  odiC_Source(odiC_Places places, int width) : places_(std::move(places)), width_(width) {}

private:
  odiC_Places places_;
  int width_;
};
using odiC_SourcePointer = std::unique_ptr<odiC_Source>;

/// Rows that were read from a source: neighbours in one block, some of which are meant.
struct odiC_Range {
  const odiC_LayoutBlock& block;
  int firstRow;                      ///< of the values
  std::span<const double> values;    ///< whole rows
  std::span<const odiC_RowRun> rows; ///< those that are meant, rows of the layout
};
/// Calls for all places of a source, in the order of its layout. Asks for cancel between ranges.
CORE_GEOMETRY_API void odiC_ForEachRange(odiC_Source& source,
                                         const std::function<void(const odiC_Range&)>& take);

/// From rows to rows, a block at a time.
using odiC_Kernel = std::function<void(std::span<const double> rows, std::span<double> made)>;
/// The same where the place matters: the first row in the layout comes along.
using odiC_PlaceKernel =
    std::function<void(int firstRow, std::span<const double> rows, std::span<double> made)>;

CORE_GEOMETRY_API odiC_SourcePointer odiC_Mapped(odiC_SourcePointer from, int width, odiC_Kernel kernel);
CORE_GEOMETRY_API odiC_SourcePointer odiC_MappedByPlace(odiC_SourcePointer from, int width,
                                                        odiC_PlaceKernel kernel);
/// Values that are in memory, one row after the other.
CORE_GEOMETRY_API odiC_SourcePointer odiC_Kept(odiC_Places places, int width, std::vector<double> values);
/// The values of another source at the places of a layout that it has, too.
CORE_GEOMETRY_API odiC_SourcePointer odiC_OnLayout(odiC_SourcePointer from,
                                                   const odiC_Places::Layout& layout);
/// Row by row of several sources with the same places after odiC_OnLayout, side by side: first all components of
/// the first one. Only places that all of them have.
CORE_GEOMETRY_API odiC_SourcePointer odiC_Combined(std::vector<odiC_SourcePointer> sources, int width,
                                                   odiC_PlaceKernel kernel);

/// The places of a source with their values, in memory as a writer takes them.
struct odiC_Gathered {
  odiC_Layout layout; ///< entities with at least one place; not a number for their other rows
  std::vector<double> values;
};
CORE_GEOMETRY_API odiC_Gathered odiC_Gather(odiC_Source& source);
