// pic_Field.h: values on the outside of a mesh, and how they and displacements are shown
#pragma once

#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/pic_Colours.h>
#include <optional>
#include <span>
#include <vector>

/// Values for a picture of a mesh. Not a number stands for no value.
struct pic_Values {
  enum class Place { Nodes, ElementNodes, Elements };
  Place place = Place::Nodes;
  std::span<const double> ofNodes{}; ///< one a node of the mesh
  std::vector<std::span<const double>>
      ofClasses{}; ///< by class index: one an element, or one for each of its
                   ///< nodes; empty for classes without values
};

/// The values that the faces, lines and points of an outside have.
///
/// Errors     nex_TextException when there are not as many values as nodes or elements.
/// Empty      the range of no values is low above high.
class CORE_GEOMETRY_PICTURE_API pic_Field {
public:
  pic_Field(const bme_Mesh& mesh, const bme_Outside& outside, const pic_Values& values);

  /// Whether neighbours share the values at their nodes.
  bool IsOfNodes() const noexcept { return place_ == pic_Values::Place::Nodes; }
  bool IsOfElements() const noexcept { return place_ == pic_Values::Place::Elements; }
  /// One value for each node of the face or line in its order, or one for all of them.
  std::span<const double> OfFace(std::size_t i) const { return Row(i); }
  std::span<const double> OfLine(std::size_t i) const { return Row(numFaces_ + i); }
  double OfPoint(std::size_t i) const { return ofPoints_[i]; } ///< has none unless nodes have values

  double Low() const noexcept { return low_; } ///< of the finite values
  double High() const noexcept { return high_; }
  bool HasMissing() const noexcept { return hasMissing_; } ///< on faces and lines

private:
  void Add(const bme_Mesh& mesh, const pic_Values& values, unsigned element, std::span<const int> nodes);
  void Put(double value);
  std::span<const double> Row(std::size_t i) const {
    return std::span(values_).subspan(first_[i], first_[i + 1] - first_[i]);
  }

  pic_Values::Place place_;
  std::size_t numFaces_;
  std::vector<std::size_t> first_{0}; ///< of faces, then of lines
  std::vector<double> values_, ofPoints_;
  double low_, high_;
  bool hasMissing_ = false;
};

/// What a legend says beside the colours.
struct pic_Legend {
  struct Extreme {
    double value = 0;
    cow_String place; ///< "node 1012, frame 3"
  };
  cow_String name{}, invariant{}, unit{}, frame{}; ///< each may be empty; frames may have several lines
  std::optional<Extreme> lowest{}, highest{};
};

/// What an analysis adds to a picture. Spans must outlive the drawing.
struct pic_Results {
  const pic_Field* field = nullptr; ///< without one, groups have their colours
  pic_Scale scale{};
  pic_Legend legend{};
  std::span<const double>
      displacement{};         ///< three a node, none at all for the shape as it is; nodes with what
                              ///< is not finite stay
  double factor = 1;          ///< of the displacement
  bool hasUndeformed = false; ///< the feature edges of the shape as it was
};

/// A tenth of the diagonal of the box over the largest displacement, rounded down to 1, 2 or 5 times a power of
/// ten, at least 1e-30; 0 when there is no displacement.
CORE_GEOMETRY_PICTURE_API double pic_AutoScale(double diagonal, double largest);
/// Coordinates, three a node, plus the displacement times its factor.
CORE_GEOMETRY_PICTURE_API std::vector<float>
pic_Displaced(std::span<const float> coordinates, std::span<const double> displacement, double factor);
/// With at least three digits, without a power of ten where that is short.
CORE_GEOMETRY_PICTURE_API std::string pic_NumberText(double value, int digits = 3);
