// bme_Mesh.h: the finite-element mesh of one part or instance
#pragma once

#include <CaeUtils/g3d_Types.h>
#include <CoreGeometry/bme_ElementData.h>
#include <CoreGeometry/bme_NodeData.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreUtils/aio_ostream.h>
#include <memory>

class bme_FEMConnect;

enum bme_MeshType : int { bme_ORPHAN_MESH = 0, bme_ODB_MESH = 1, bme_NATIVE_MESH = 2, bme_INVALID_MESH = 3 };
template<> struct omu_EnumTable<bme_MeshType> {
  static constexpr const char* name = "bme_MeshType";
  static constexpr omu_EnumEntry entries[] = {{bme_ORPHAN_MESH, "Orphan mesh"},
                                              {bme_ODB_MESH, "Odb mesh"},
                                              {bme_NATIVE_MESH, "Native mesh"},
                                              {bme_INVALID_MESH, "Invalid mesh"}};
};

/// Nodes, element classes, a type, an identifier, a time stamp and a placement.
///
/// Units      model length; the time stamp is in seconds since the epoch.
/// Empty      a mesh without nodes has an empty box and a bounding sphere of radius -0.5.
/// Errors     labels that are not known give bme_kNotFound.
/// Cost       copies share nodes and elements. GetBBox runs over the coordinates each time.
/// Threads    see bme_NodeData and bme_ElementData.
/// Stored as  id, nodeData, elemData, meshType, timeStamp, transform
class CORE_GEOMETRY_API bme_Mesh {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bme_Mesh();
  explicit bme_Mesh(bme_MeshType type);
  /// Takes ownership of both parts; null parts are empty ones, a null transform is none.
  bme_Mesh(unsigned id, bme_NodeData* nodes, bme_ElementData* elements, bme_MeshType type,
           const gsl_Matrix* transform);
  /// Takes ownership of the classes; the number of nodes is that of the container, not numNodes.
  bme_Mesh(unsigned id, unsigned numNodes, uti_CoordCont3D& coordinates, unsigned numClasses,
           bme_ElementClass** classes, bme_MeshType type, unsigned numDim, const gsl_Matrix* transform);
  /// Deep copy under a new identifier: same uids, sphere and time stamp, change count 1.
  bme_Mesh(const bme_Mesh& other, unsigned newId);
  explicit bme_Mesh(const cls_ReadVisitor& visitor);
  bme_Mesh(const bme_Mesh&) = default;
  bme_Mesh& operator=(const bme_Mesh&) = default;
  virtual ~bme_Mesh();
  virtual bme_Mesh* VirtualCopy() const;

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  int Id() const noexcept { return id_; }
  bme_MeshType MeshType() const noexcept { return meshType_; }
  double TimeStamp() const noexcept { return timeStamp_; }
  const gsl_Matrix* Transform() const noexcept { return transform_.Matrix(); } ///< null when none was given
  const bme_NodeData& NodeData() const noexcept { return nodeData_.Const(); }
  const bme_ElementData& ElementData() const noexcept { return elemData_.Const(); }
  /// 1 in a new mesh, also in a copy; grows with InvalidateMeshData() and when the mesh is assigned to.
  unsigned ChangeCount() const noexcept { return changeCount_.count; }
  const g3d_Sphere& BoundingSphere() const noexcept {
    return sphere_;
  } ///< as of construction or ApplyTransform
  gsl_BBox GetBBox() const;
  virtual unsigned GetMeshElemIndexFromLabel(int label) const;
  /// False, and both outputs bme_kNotFound, when the label is not known.
  bool GetClassAndElemIndexFromElementLabel(int label, unsigned& classIndex,
                                            unsigned& elemIndexInClass) const;
  /// Unit normal of a face of an element of one of the mesh's classes, seen from the side of the face. False,
  /// and a zero normal, when there is no such face, a corner is not in the mesh, or the face has no area.
  bool ComputeFaceNorml(const bme_ElementClass& elements, unsigned elemIndexInClass, unsigned face,
                        g3d_Vector& normal) const;
  /// Adjacency of nodes and elements, built on first use and kept until InvalidateMeshData(); a copy of the
  /// mesh builds its own.
  const bme_FEMConnect& Connectivity() const;
  void Print(aio_ostream& out) const; ///< a summary, flushed after each line

  // change
  /// The nodes or the elements, owned by this mesh alone until it is copied. The copy shares them, and
  /// writing through a reference from before changes both meshes: after copying, call this again.
  bme_NodeData& NodeDataToModify() { return nodeData_.Modify(); }
  bme_ElementData& ElementDataToModify() { return elemData_.Modify(); }
  /// Moves every node; the stored placement stays as it is.
  void ApplyTransform(const gsl_Matrix& matrix);
  void SetTimeStamp(double seconds) noexcept {
    timeStamp_ = seconds;
  }                                   ///< of a mesh that stands for another one
  void InvalidateMeshData() noexcept; ///< to be called after changing nodes or elements

private:
  static constexpr auto StoredFields();
  void ComputeSphere();
  void CreateInverseConnectivity() const;

  int id_ = 0;
  cow_COW<bme_NodeData, cow_Virtual<bme_NodeData>> nodeData_;
  cow_COW<bme_ElementData> elemData_;
  bme_MeshType meshType_ = bme_ORPHAN_MESH;
  double timeStamp_ = 0;
  gsl_PersistentMatrix transform_;

  g3d_Sphere sphere_;
  bme_ChangeCount changeCount_;
  mutable bme_Cache<std::shared_ptr<const bme_FEMConnect>> connectivity_;
  cls_Uid uid_;
};
