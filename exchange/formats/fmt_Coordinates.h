// fmt_Coordinates.h: coordinates of a file, made single precision
#pragma once

#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/gsl_Matrix.h>

/// Coordinates of a few nodes as they are in the file, less the offset of the mesh.
struct fmt_ExactNodes {
  std::vector<unsigned> nodes; ///< ascending
  std::vector<double> xyz;     ///< three for each
};

/// Takes an offset off coordinates, rounds them to single precision, and keeps account of the largest change.
///
/// Errors     nex_TextException naming file, node (counted from 1), axis and value for one that is not finite or
///            does not fit single precision.
class CORE_GEOMETRY_EXCHANGE_API fmt_Rounder {
public:
  fmt_Rounder(cow_String file, const fmt_ReadOptions& options);

  /// Nodes from that one on, x0 y0 z0 x1 ... . An offset that is to be chosen comes from the first nodes that are given.
  /// The largest change of each node is noted in `byNode`, which gets a number for all nodes with the first change.
  template<class Number>
  void Round(std::size_t firstNode, std::span<const Number> xyz, std::span<float> target,
             std::vector<float>* byNode = nullptr, std::size_t numNodes = 0);

  const cow_String& File() const noexcept { return file_; }
  const std::array<double, 3>& Offset() const noexcept { return offset_; }
  /// The placement of the mesh; null for none.
  const gsl_Matrix* Transform() const noexcept { return transform_ ? &*transform_ : nullptr; }
  std::size_t ChangedNode() const noexcept { return changed_ / 3; } ///< that changed most
  fmt_Rounding Rounding(int nodeLabel) const; ///< the largest change, of the node with this label

private:
  template<class Number> void ChooseOffset(std::span<const Number> xyz);
  [[noreturn]] void Fail(std::size_t position, double value) const;

  cow_String file_;
  std::array<double, 3> offset_{};
  bool mustChoose_;
  std::optional<gsl_Matrix> transform_;
  double change_ = 0;
  std::size_t changed_ = 0; ///< position of the float that changed most
};

/// Takes the coordinates of all nodes of a file in order, and rounds them.
class CORE_GEOMETRY_EXCHANGE_API fmt_Coordinates {
public:
  fmt_Coordinates(cow_String file, std::size_t numNodes, const fmt_ReadOptions& options);

  /// Those of the next nodes, x0 y0 z0 x1 ... .
  void Add(std::span<const double> xyz);
  void Add(std::span<const float> xyz);

  std::size_t NumNodes() const noexcept { return next_ / 3; } ///< added so far
  /// After all of them were added. The array is handed over.
  uti_CoordCont3D Take() { return uti_CoordCont3D(std::move(xyz_)); }
  const gsl_Matrix* Transform() const noexcept { return rounder_.Transform(); } ///< as that of fmt_Rounder
  /// What changed, handed over; `labels` are those of the nodes, or empty when they count from 1.
  fmt_Rounding Rounding(std::span<const int> labels);

private:
  template<class Number> void AddAny(std::span<const Number> xyz);
  template<class Number> void KeepExact(std::span<const Number> xyz);

  fmt_Rounder rounder_;
  cow_ArrayCOW<float> xyz_;
  std::size_t next_ = 0; ///< number of floats that are there
  fmt_ExactNodes* exact_;
  std::vector<float> byNode_; ///< largest change of each node; none while nothing changed
};
