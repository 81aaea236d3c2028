// bme_ElementLocator.h: which elements of a mesh contain a point
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <BasicUtils/uti_CoordCont3D.h>
#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_LastingMesh.h>
#include <CoreGeometry/shp_ElementSearch.h>
#include <CoreUtils/omi_LargePages.h>
#include <algorithm>
#include <span>
#include <vector>

/// The element that contains a point, and where the point is in it.
struct bme_ElementHit {
  unsigned element = bme_kNotFound; ///< mesh element index; bme_kNotFound when no element contains the point
  shp_Location location = shp_Location::Outside;
  shp_IsoPoint iso{}; ///< set when the point is Inside or OnBoundary
};

/// The element closest to a point.
struct bme_NearestElement {
  unsigned element = bme_kNotFound; ///< bme_kNotFound when the locator has no elements
  double distance = 0;              ///< 0 when the element contains the point; infinite without element
  shp_IsoPoint iso{};               ///< of the element's closest point
};

/// Finds the elements of a mesh that contain a point. A regular grid of bins stores the elements' bounding
/// boxes; a bin with many elements has a finer grid of its own.
///
/// The locator shares coordinates and connectivity with the mesh as they were when it was made, and owns its
/// shapes. It excludes elements without iso coordinates (points, rigid surfaces, types without a shape) and
/// elements with a node that is missing or not finite. In elements with rings it searches the first plane
/// only. The placement of the mesh is not applied.
///
/// Units      model length; points are x y z.
/// Tolerance  that of shp_Topology::Locate: gsl_Util's linear tolerance in iso coordinates; for the distance
///            from lines and surfaces a millionth of the element's bounding box.
/// Order      of elements that share a boundary point, the one with the smallest mesh element index comes
///            first; of elements that overlap, one that contains the point. When no element contains the
///            point but it lies in the bounding box of a flat or inverted element, the result is that
///            element, Degenerate.
/// Cost       construction takes a few passes over the elements and about 60 bytes per element, up to twice
///            that where boxes overlap much. FindEach visits the points bin by bin and searches several
///            elements at a time; it is faster for many points. Queries allocate no memory, except FindEach:
///            16 bytes per point.
/// Errors     construction, FindEach and FindNearest throw wip_Cancelled when the host asks to stop; the hits
///            of FindEach are then incomplete.
/// Threads    queries from several threads at once are safe, also after the thread that made the locator has
///            ended. Making and FindEach use a lent wip_Executor; their results are the same with any number of threads.
class CORE_GEOMETRY_API bme_ElementLocator {
public:
  using Point = std::array<double, 3>;

  explicit bme_ElementLocator(bme_LastingMesh mesh);
  /// Of some classes only; throws nex_OutOfRangeException for one that the mesh does not have.
  bme_ElementLocator(bme_LastingMesh mesh, std::span<const unsigned> classIndices);

  // ask
  unsigned NumElements() const noexcept { return numElements_; } ///< without the excluded ones
  bme_ElementHit Find(const Point& point) const;                 ///< the first element that contains it
  /// hits[i] of point i, three values each: the same as Find.
  void FindEach(std::span<const double> points, std::span<bme_ElementHit> hits) const;
  /// All elements that contain the point, by ascending index; empty when there is none.
  void FindAll(const Point& point, std::vector<bme_ElementHit>& owners) const;
  /// The first element that contains the point, else the closest one; of equally close ones the smallest
  /// index.
  bme_NearestElement FindNearest(const Point& point) const;

private:
  struct Class {
    shp_ElementSearch search;
    cls_xp2DArrayInt connectivity;
    unsigned firstElement; ///< mesh element index
    unsigned firstSlot;    ///< position of the first box
  };
  using Bin = std::array<int, 3>;

  /// Bins of one size: of all elements, or of those in a crowded bin of another grid.
  struct Grid {
    Point low{}, binsPerLength{};
    Bin numBins{1, 1, 1};
    std::size_t firstRow = 0;

    int BinAlong(std::size_t axis, double x) const noexcept {
      const double bin = (x - low[axis]) * binsPerLength[axis];
      return static_cast<int>(std::min(std::max(bin, 0.0), numBins[axis] - 1.0));
    }
    /// The nearest one to a point that is outside.
    template<class T> Bin BinOf(const std::array<T, 3>& point) const noexcept {
      const auto along = [&](std::size_t axis) { return BinAlong(axis, static_cast<double>(point[axis])); };
      return {along(0), along(1), along(2)};
    }
    std::size_t NumRows() const noexcept {
      return static_cast<std::size_t>(numBins[0]) * static_cast<std::size_t>(numBins[1])
             * static_cast<std::size_t>(numBins[2]);
    }
    std::size_t RowOf(const Bin& bin) const noexcept {
      const auto at = [](int value) { return static_cast<std::size_t>(value); };
      return firstRow + at(bin[0]) + at(numBins[0]) * (at(bin[1]) + at(numBins[1]) * at(bin[2]));
    }
    Bin BinAt(std::size_t row) const noexcept;                ///< row counted from the grid's first one
    double PlaneAt(std::size_t axis, int bin) const noexcept; ///< where the bin begins
  };
  class GridMaker;
  /// A row with one entry that has this bit stands for the grid of that number.
  static constexpr unsigned kDivided = 1U << 31U;

  void AddClass(const bme_Mesh& mesh, unsigned classIndex);
  void ChooseGrid();
  bool IsOnGrid(const Point& point) const noexcept;
  std::size_t RowOf(const Point& point) const noexcept;
  const Grid* GridOf(std::size_t row) const noexcept; ///< of a divided row, else null
  const Class& ClassOf(unsigned slot) const noexcept {
    std::size_t k = classes_.size() - 1;
    while (classes_[k].firstSlot > slot) --k;
    return classes_[k];
  }
  std::span<const int> Nodes(const Class& elements, unsigned slot) const noexcept;
  template<class Take> void ForEachCandidate(std::size_t row, const Point& point, const Take& take) const;
  bme_ElementHit FindInRow(std::size_t row, const Point& point) const;
  struct BatchEntry;
  class BatchPiece;
  std::vector<BatchEntry> SortByBin(std::span<const double> points) const;
  void SearchShells(const Grid& grid, const Point& point, bme_NearestElement& best) const;
  void ImproveNearest(const Grid& grid, const Bin& bin, const Bin& start, const Point& point,
                      bme_NearestElement& best) const;

  uti_CoordCont3D coordinates_;
  std::vector<Class> classes_;
  omi_LargeVector<shp_FloatBox> boxes_; ///< of the slots: the elements of the classes one after the other
  unsigned numElements_ = 0;
  Point low_{}, high_{};
  std::vector<Grid> grids_;             ///< the first has all elements
  omi_LargeVector<unsigned> rowStarts_; ///< of each bin of each grid, and the end
  omi_LargeVector<unsigned> slots_;     ///< rows of slots in ascending order
};
