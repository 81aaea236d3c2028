// dtu_DynamicDatumCsys.h: coordinate system that follows three nodes
#pragma once

#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/gsl_Dot.h>

/// The three nodes that define a system.
///
/// Stored as  node1, node2, node3, nodesOnCircle
class CORE_GEOMETRY_API dtu_NodesPackage {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_NodesPackage() = default; ///< nodes 0 of instance 0
  dtu_NodesPackage(int inst1, int inst2, int inst3, int node1, int node2, int node3, bool nodesOnCircle);
  explicit dtu_NodesPackage(const cls_ReadVisitor& visitor);
  dtu_NodesPackage(const dtu_NodesPackage&) = default;
  dtu_NodesPackage& operator=(const dtu_NodesPackage&) = default;
  virtual ~dtu_NodesPackage() = default;
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;

  // ask
  int ConstGetInstanceID(int i) const noexcept; ///< of node i = 1, 2, 3; 0 for any other i
  int ConstGetNodeLabel(int i) const noexcept;  ///< of node i = 1, 2, 3; 0 for any other i
  bool NodesOnCircle() const noexcept { return nodesOnCircle_; }
  const cls_Uid& Uid() const noexcept { return uid_; }
  bool operator==(const dtu_NodesPackage& other) const noexcept;

private:
  static constexpr auto StoredFields();
  const gsl_Dot* Node(int i) const noexcept;

  gsl_Dot node1_{0, 0}, node2_{0, 0}, node3_{0, 0};
  bool nodesOnCircle_ = false;
  cls_OwnUid uid_;
};

/// Current coordinates of the three nodes.
struct dtu_NodesCoordPackage {
  float coordinates[3][3] = {};
};

/// A second frame for drawing, never stored. It is the global frame until it is regenerated.
struct dtu_DisplayFrame {
  gsl_Point origin;
  gsl_Vector x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
};

/// Coordinate system whose frame is computed from three nodes when Regenerate is called.
///
/// Tolerance  colinear nodes, by gsl_NormalToThreePoints, change nothing.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  the fields of dtu_DatumCsys, _nodesPackage; not the display frame
class CORE_GEOMETRY_API dtu_DynamicDatumCsys : public dtu_DatumCsys {
public:
  static unsigned TypeId() noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  dtu_DynamicDatumCsys() = default;
  dtu_DynamicDatumCsys(unsigned id, unsigned secondId, int inst1, int inst2, int inst3, int node1, int node2,
                       int node3, dtu_DatumCsysType csysType, bool nodesOnCircle);
  explicit dtu_DynamicDatumCsys(const cls_ReadVisitor& visitor);
  dtu_Datum* Copy() const override;
  using dtu_Datum::Copy;

  // ask
  unsigned DynTypeId() const noexcept override;
  void DBWrite(const cls_WriteVisitor& visitor) const override;
  const dtu_NodesPackage& NodesPackage() const noexcept { return nodesPackage_; }
  cow_String GetNodeInfo() const; ///< "inst1:1 inst2:1 inst3:1 node1:10 node2:20 node3:30"
  dtu_DatumCsys* GetDisplayCoordSystem() const override; ///< the display frame, same identifiers and kind
  void DisplayGeometry(gsl_Point& origin, gsl_Vector& x, gsl_Vector& y, gsl_Vector& z) const override;

  // change
  /// Computes the display frame or the stored frame, never both: origin at node 1, x to node 2, z normal to
  /// the plane; for nodes on a circle: origin at its centre, x to node 1, z its normal. False, and nothing is
  /// changed, when the nodes are colinear.
  bool Regenerate(const dtu_NodesCoordPackage& coords, bool display);

protected:
  static constexpr auto StoredFields();
  bool IsSame(const dtu_Datum& other) const override;

private:
  dtu_NodesPackage nodesPackage_;
  dtu_DisplayFrame display_;
};
