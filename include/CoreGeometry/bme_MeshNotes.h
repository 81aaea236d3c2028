// bme_MeshNotes.h: what a mesh file contains beside nodes, elements and sets
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/CoreGeometryExport.h>

/// What an annotation is about.
enum bme_NotedEnm : int {
  bme_CLASS_NOTED = 0,
  bme_NODES_NOTED = 1,
  bme_SURFACE_NOTED = 2,
  bme_ELEMENTS_NOTED = 3
};
template<> struct omu_EnumTable<bme_NotedEnm> {
  static constexpr const char* name = "bme_NotedEnm";
  static constexpr omu_EnumEntry entries[] = {{bme_CLASS_NOTED, "ELEMENT_CLASS"},
                                              {bme_NODES_NOTED, "NODE_SET"},
                                              {bme_SURFACE_NOTED, "SURFACE"},
                                              {bme_ELEMENTS_NOTED, "ELEMENT_SET"}};
};

/// Numbers and texts about an element class or a set that the mesh cannot hold itself.
///
/// Layout     for a class, `values` has a row for each element and a name for each column, or is empty. For a
///            set it has one column: `counts`[i] numbers for entry i, in the order of the subsets, or one
///            each without counts.
/// Order      `order`[i] is the position of entry i among the entries of the file; empty when it is the same.
/// Stored as  noted, number, typeName, columns, values, counts, order, properties, propertyValues
class CORE_GEOMETRY_API bme_Annotation {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  bme_Annotation();
  bme_Annotation(bme_NotedEnm noted, int number);
  explicit bme_Annotation(const cls_ReadVisitor& visitor);
  bme_Annotation(const bme_Annotation&) = default;
  bme_Annotation& operator=(const bme_Annotation&) = default;
  virtual ~bme_Annotation();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  bool operator==(const bme_Annotation& other) const;

  bool IsEmpty() const noexcept; ///< without any contents
  /// Why the annotation does not fit that number of elements or entries; empty when it fits.
  cow_String Misfit(std::size_t numEntries) const;

  bme_NotedEnm noted = bme_CLASS_NOTED;
  int number = 0;      ///< class index, or set index
  cow_String typeName; ///< type name in the file, when an export would write another one
  cls_xpListString columns;
  cls_xp2DArrayDouble values;
  cls_xp1DArrayListInt counts, order;
  cls_xpListString properties; ///< names of numbers for the whole class or set
  cls_xp1DArrayListInt propertyValues;

private:
  static constexpr auto StoredFields();
  cls_Uid uid_;
};

/// Folder of the notes of a mesh in a model: "notes/<mesh>".
inline constexpr const char* bme_kNotesFolder = "notes/";

/// Title, names and records of the file that a mesh came from, and annotations of its classes and sets.
///
/// Lifetime   stored beside the mesh, not in it: code that changes classes or sets must update their
///            annotations or drop them.
/// Stored as  title, coordinateNames, programs, information, annotations
class CORE_GEOMETRY_API bme_MeshNotes {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  bme_MeshNotes();
  explicit bme_MeshNotes(const cls_ReadVisitor& visitor);
  bme_MeshNotes(const bme_MeshNotes&) = default;
  bme_MeshNotes& operator=(const bme_MeshNotes&) = default;
  virtual ~bme_MeshNotes();
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  bool operator==(const bme_MeshNotes& other) const;

  bool IsEmpty() const noexcept; ///< without any contents

  cow_String title;
  cls_xpListString coordinateNames; ///< one for each dimension, or none
  cls_xpListString programs;        ///< four per program that processed the mesh: name, version, date, time
  cls_xpListString information;     ///< lines
  cls_xo1DArrayList<bme_Annotation> annotations;

private:
  static constexpr auto StoredFields();
  cls_Uid uid_;
};
