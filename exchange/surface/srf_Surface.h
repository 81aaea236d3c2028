// srf_Surface.h: the outside of a mesh, or a set of it, as flat polygons
#pragma once

#include "fmt_Output.h"

#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/fmt_Format.h>
#include <functional>

/// A flat piece of a face: three corners, or all of a face without middle nodes.
struct srf_Polygon {
  int group;
  std::span<const int> nodes; ///< mesh node indices, against the clock as seen from outside
};

/// The faces that a file of surfaces gets, and what is lost of the mesh by that.
class srf_Surface {
public:
  /// nex_TextException as bme_FindOutside, and for a set of nodes.
  srf_Surface(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, const cow_String& name,
              const cow_String& place);

  const std::vector<cow_String>& Groups() const noexcept { return outside_.groups; }
  /// In placed axes, around the local origin: Shift() away from where they stand.
  std::span<const float> Coordinates() const noexcept { return mesh_.NodeData().Coordinates().Const(); }
  const std::array<double, 3>& Shift() const noexcept { return shift_; }
  const fmt_Ledger& Ledger() const noexcept { return ledger_; }
  /// Faces with middle nodes are cut into flat triangles; so are all faces, quadrilaterals along the shorter
  /// diagonal, unless polygons may be `whole`.
  void ForEach(bool whole, const std::function<void(const srf_Polygon&)>& each) const;
  std::vector<int> UsedNodes() const; ///< the number from 0 of each node, -1 for one that no face has

private:
  bme_Mesh mesh_; ///< turned when its placement is
  std::array<double, 3> shift_{};
  bme_Outside outside_;
  fmt_Ledger ledger_;
};

/// Of unit length; zero for a polygon without area.
std::array<float, 3> srf_Normal(std::span<const int> nodes, std::span<const float> xyz);

fmt_Ledger srf_WriteStl(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options);
fmt_Ledger srf_WriteObj(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options);
fmt_Ledger srf_WritePly(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options);
/// glTF 2.0 in one binary file: a mesh with a primitive for each group, flat normals and a colour. A mesh that is
/// farther from the origin than it is large is moved there, and its node moves it back.
fmt_Ledger srf_WriteGlb(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options);

/// Triangles as S3 with merged corners, in ascii or binary; each solid with a name among several is a set.
///
/// Errors     nex_TextException naming the file, the line or triangle, and the value; wip_Cancelled.
bool srf_RecognisesStl(std::string_view start);
fmt_Import srf_ReadStl(const cow_String& file, const fmt_ReadOptions& options);
