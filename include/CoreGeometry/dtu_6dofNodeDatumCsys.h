// dtu_6dofNodeDatumCsys.h: coordinate system that follows one node and its rotation
#pragma once

#include <CoreGeometry/dtu_DynamicDatumCsys.h>

/// Current position of a node and its rotation vector, whose length is the angle in radians.
struct dtu_6dofNodeCoord {
  float position[3] = {};
  float rotation[3] = {};
};

/// Coordinate system attached to a node with six degrees of freedom.
///
/// The rotation is total: it is applied to the axes of the reference system given at construction, or to the
/// global axes. The coordinates of the stored node hold the rotation that produced the stored axes, zero at
/// first; after reading, undoing this rotation recovers the reference. Transforming the system transforms its
/// reference.
///
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_DatumCsys, node; not the display frame
class CORE_GEOMETRY_API dtu_6dofNodeDatumCsys : public dtu_DatumCsys {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_6dofNodeDatumCsys() = default;
  /// Starts as the reference system, which may be null.
  dtu_6dofNodeDatumCsys(unsigned id, unsigned secondId, int instance, int node, dtu_DatumCsysType csysType,
                        const dtu_DatumCsys* reference);
  explicit dtu_6dofNodeDatumCsys(const cls_ReadVisitor& visitor);
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  // ask
  void Print(aio_ostream& out) const override; ///< as any system, and a line that names the node
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  /// The node; its coordinates are the rotation of the stored axes, not a position.
  const gsl_Dot& Node() const noexcept { return node_; }
  cow_String GetNodeInfo() const;                        ///< "inst1:1 node1:10"
  dtu_DatumCsys* GetDisplayCoordSystem() const override; ///< the display frame, same identifiers and kind
  void DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const override;

  // change
  void TransformData(const gsl_Matrix& matrix) override;
  /// Updates the display frame or the stored frame, never both.
  void Regenerate(const dtu_6dofNodeCoord& coords, bool display);

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

private:
  void RecoverReference();

  gsl_Dot node_{0, 0};
  gsl_Vector reference_[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  dtu_DisplayFrame display_;
};
