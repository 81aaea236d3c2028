// odiC_FaceFinder.h: the closest of some faces to a point, and values on faces
#pragma once

#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/odiC_Map.h>
#include <map>

/// Where a point is nearest to a face: nodes of the face's mesh, and the shape functions there.
struct odiC_FaceHit {
  unsigned word = bme_kNotFound;
  double distance = 0;
  std::vector<int> nodes{};
  std::vector<double> weights{};
};

class odiC_FaceFinder {
public:
  using Point = bme_ElementLocator::Point;

  /// With sides the faces are grouped by the axis that their normal is next to.
  odiC_FaceFinder(const bme_FEMFaceList& faces, odiC_Sides sides);

  /// The closest face whose normal has the side that is asked for against this one; false when there is none.
  bool Find(const Point& point, const Point& normal, odiC_FaceHit& hit) const;
  /// Unit normal of a face of the list.
  Point NormalOf(unsigned word) const;

private:
  struct Group {
    bme_Mesh shells;
    std::vector<unsigned> words; ///< of the shells, by label - 1
    std::vector<int> nodes;      ///< of the mesh, by those of the shells
    std::unique_ptr<bme_ElementLocator> locator;
  };
  bool IsMeant(double cosine) const noexcept {
    return sides_ == odiC_Sides::Any || (sides_ == odiC_Sides::Same ? cosine > 0 : cosine < 0);
  }

  odiC_Sides sides_;
  std::vector<float> normals_;
  std::map<unsigned, std::size_t> positions_; ///< of words in the list
  std::vector<std::unique_ptr<Group>> groups_;
};

/// Mean unit normals at the nodes of faces.
std::map<unsigned, odiC_FaceFinder::Point> odiC_NodeNormals(const bme_FEMFaceList& faces);

/// Values of a frame in memory, read on faces of elements: those of nodes, of element nodes, or of the faces themselves.
class odiC_FaceRows {
public:
  odiC_FaceRows(const odiC_Values& values, const odiC_When& when);

  std::size_t Width() const noexcept { return width_; }
  /// The sum of the values at these nodes of the element that has the face; not a number where one is missing.
  void Read(unsigned word, std::span<const int> nodes, std::span<const double> weights,
            std::span<double> sum) const;

private:
  long long RowOf(const bme_ElementClass& type, unsigned word, int node) const;

  const bme_Mesh& mesh_;
  odiC_Gathered gathered_;
  std::size_t width_ = 1;
  std::vector<int> ofNodes_;              ///< row of each node, -1 for none
  std::map<unsigned, long long> ofFaces_; ///< row of each face that has a value
};
