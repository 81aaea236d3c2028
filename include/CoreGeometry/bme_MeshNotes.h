// bme_MeshNotes.h: what the file of a mesh said beside nodes, elements and sets
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

/// Numbers and texts about an element class or a set that the mesh itself has no place for.
///
/// Layout     `values` has a row for each element of a class, with a name for each column, or none. Of a set it has
///            one column: in the order of the subsets, `counts`[i] numbers for entry i, or one each without counts.
/// Order      `order`[i] is where entry i stood among the entries of the file; empty when the order is the same.
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

  bool IsEmpty() const noexcept; ///< says nothing
  /// Why it says nothing sensible about so many elements or entries; empty when it does.
  cow_String Misfit(std::size_t numEntries) const;

  bme_NotedEnm noted = bme_CLASS_NOTED;
  int number = 0; ///< class index, or set index
  cow_String
      typeName; ///< of the elements of a class in the file, where it is not the one that is written otherwise
  cls_xpListString columns;
  cls_xp2DArrayDouble values;
  cls_xp1DArrayListInt counts, order;
  cls_xpListString properties; ///< names of numbers for the whole
  cls_xp1DArrayListInt propertyValues;

private:
  static constexpr auto StoredFields();
  cls_Uid uid_;
};

/// Where the notes of a mesh stand in a model: "notes/<mesh>".
inline constexpr const char* bme_kNotesFolder = "notes/";

/// Title, names and records of the file that a mesh came from, and annotations of its classes and sets.
///
/// Lifetime   beside the mesh, not in it: whoever changes classes or sets changes their annotations, or drops them.
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

  bool IsEmpty() const noexcept; ///< says nothing

  cow_String title;
  cls_xpListString coordinateNames; ///< one for each dimension, or none
  cls_xpListString programs;        ///< four for each that had a hand in the mesh: name, version, date, time
  cls_xpListString information;     ///< lines
  cls_xo1DArrayList<bme_Annotation> annotations;

private:
  static constexpr auto StoredFields();
  cls_Uid uid_;
};
