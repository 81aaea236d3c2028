// bme_ElementClass.h: the elements of one type
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <BasicUtils/cow_2DArray.h>
#include <CaeUtils/mdl_MapInt2ObjCow.h>
#include <CoreGeometry/bme_ElemCtrlParams.h>
#include <CoreUtils/omi_BlkBitVect.h>

class bme_NodeData;
class shp_Shape;

enum bme_OrientationFreqEnm : int { bme_ORIENTATION_NONE = 0, bme_CONSTANT = 1, bme_CHANGING = 2 };
template<> struct omu_EnumTable<bme_OrientationFreqEnm> {
  static constexpr const char* name = "bme_OrientationFreqEnm";
  static constexpr omu_EnumEntry entries[] = {
      {bme_ORIENTATION_NONE, "None"}, {bme_CONSTANT, "Constant"}, {bme_CHANGING, "Changing"}};
};

/// Elements of one type: connectivity, control parameters, and user labels for all of them or none.
///
/// A type label without a shape is kept: the class is then not supported, and the number of nodes per element
/// is that of the connectivity it was given or read with.
///
/// Errors     a wrong index or length returns false and changes nothing, unless a function says otherwise;
///            reading throws nex_TextException when the arrays do not fit the element count.
/// Cost       copies share connectivity and labels; a change copies what is shared.
/// Threads    a value: concurrent reads are safe, and copies are independent.
/// Stored as  13 fields, numElements to DDBconnectivity (module/mesh/data/bme_ElementClass.cpp, StoredFields)
class CORE_GEOMETRY_API bme_ElementClass {
public:
  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void CowDtor(void* object);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bme_ElementClass();
  /// One pointer per row, to as many nodes as the shape has; nex_TextException when the type has no shape.
  bme_ElementClass(int numElements, const cow_String& elemType, int** connectivity);
  /// Rows of -1, to be filled through ConnectivityToModify().
  bme_ElementClass(int numElements, const cow_String& elemType, int meshIndex, int regionClassIndex,
                   int regionIndex, const cow_String& category, int classIndex,
                   bme_OrientationFreqEnm frequency);
  bme_ElementClass(int numElements, const cow_String& elemType, const cow_2DArray<int>& connectivity,
                   int meshIndex, int regionClassIndex, int regionIndex, const cow_String& category,
                   bme_OrientationFreqEnm frequency);
  /// Takes over whole rows of the given length without copying them.
  bme_ElementClass(const cow_String& elemType, cls_xp2DArrayInt connectivity);
  explicit bme_ElementClass(const cls_ReadVisitor& visitor);
  bme_ElementClass(const bme_ElementClass&) = default;
  bme_ElementClass& operator=(const bme_ElementClass&) = default;
  virtual ~bme_ElementClass();
  template<class... Arguments> static bme_ElementClass* ConstructObject(Arguments&&... arguments) {
    return new bme_ElementClass(std::forward<Arguments>(arguments)...);
  }

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  int NumElements() const noexcept { return numElements_; }
  int FirstElementIndex() const noexcept { return firstElementIndex_; } ///< mesh element index
  int ClassIndex() const noexcept { return classIndex_; }
  int MeshIndex() const noexcept { return meshIndex_; }
  int RegionClassIndex() const noexcept { return regionClassIndex_; }
  int RegionIndex() const noexcept { return regionIndex_; }
  const cow_String& ElemTypeLabel() const noexcept { return elemTypeLabel_; }
  const cow_String& CategoryLabel() const noexcept { return categoryLabel_; }
  bme_OrientationFreqEnm OrientationFreq() const noexcept { return orientationFreq_; }
  const bme_ElemCtrlParams& GetElemControlParams() const noexcept { return elemCtrlParams_; }
  /// The calling thread's shape of the element type; null when the type has none.
  const shp_Shape* Shape() const;
  bool IsSupported() const noexcept { return !unsupported_; }
  int NumNodesPerElem() const noexcept { return static_cast<int>(connectivity_.NumColumns()); }
  const cls_xp2DArrayInt& ElementConnectivity() const noexcept { return connectivity_; }
  std::span<const int> Connectivity(int element) const; ///< throws nex_OutOfRangeException
  bool HasUserElementLabels() const noexcept { return !userLabels_.IsEmpty(); }
  std::span<const int> UserElementLabels() const noexcept { return userLabels_.Const(); } ///< empty when none
  const cow_List<cow_String>& LocationLabels() const noexcept { return locationLabels_.List(); }
  const cow_String& SectionPointLabel(int i) const { return locationLabels_.List().ConstGet(i); }
  /// Area of all elements or of one: of surfaces, and of the section of axisymmetric elements; else 0.
  /// Volume: of solids and axisymmetric elements; else 0. Both are absolute values; bme_CalculateMeasures
  /// does more.
  double Area(const bme_NodeData& nodes) const;
  double Area(const bme_NodeData& nodes, int element) const; ///< throws nex_OutOfRangeException
  double Volume(const bme_NodeData& nodes) const;
  double Volume(const bme_NodeData& nodes, int element) const; ///< throws nex_OutOfRangeException
  int GetStackDirection(int element) const; ///< 0 to 7, 0 unless set; throws nex_OutOfRangeException

  // change
  void SetElemType(const cow_String& elemType);
  void SetElemControlParams(const bme_ElemCtrlParams& parameters) { elemCtrlParams_ = parameters; }
  void SetClassIndex(int index) noexcept { classIndex_ = index; }
  void SetFirstElementIndex(int index) noexcept { firstElementIndex_ = index; }
  void SetMeshIndex(int index) noexcept { meshIndex_ = index; }
  void SetRegion(int regionIndex, int regionClassIndex) noexcept;
  void SetCategoryLabel(const cow_String& label) { categoryLabel_ = label; }
  void SetOrientationFreq(bme_OrientationFreqEnm frequency) noexcept { orientationFreq_ = frequency; }
  void SetLocationLabels(const cow_List<cow_String>& labels) { locationLabels_ = cls_xpListString(labels); }
  /// One label per element, or none at all; false for any other count.
  bool SetUserElementLabels(std::span<const int> labels);
  bool SetUserElementLabels(cls_xp1DArrayListInt labels); ///< without copying
  bool SetStackDirection(int element, int direction);
  /// All rows, one after the other. A copy of the class shares them: after copying, do not write through an
  /// old span but call this again.
  std::span<int> ConnectivityToModify() { return connectivity_.Modify(); }
  /// Whole rows of nodes; one label per new element when the class has labels, no labels otherwise.
  bool AppendElements(std::span<const int> connectivity, std::span<const int> labels);
  bool RemoveElement(int element);
  bool RemoveElements(int count, const int* elements);
  /// Drops elements from the end, or adds rows of -1; a labelled class gives the new elements the labels
  /// above its largest one. nex_TextException when those pass 2147483647.
  bool ResetConnectArraySz(int numElements);
  /// Distributes the elements: groups[i] is the key of the class that element i goes to. The new classes keep
  /// type, controls, labels, stack directions and region; the elements keep their order.
  bool Split(const cow_List<int>& groups, mdl_MapInt2ObjCow<bme_ElementClass>& classes) const;
  /// Inverts one element, or all, by exchanging its nodes; false when the type has no shape.
  bool InvertElementConnectivity(int element);
  bool InvertElementsConnectivities();
  /// newNodeIndex[n] replaces node n; an index of -1 stays.
  void UpdateConnectivity(const int* newNodeIndex);

private:
  static constexpr auto StoredArrays(); ///< labels and connectivity
  static constexpr auto StoredFacts();  ///< the other fields, which come before them
  static constexpr auto StoredFields();
  void FindShape();
  void KeepElements(const omi_BlkBitVect& keep);
  bme_ElementClass WithoutElements() const;
  void CheckElement(int element) const;

  int numElements_ = 0;
  int firstElementIndex_ = 0;
  cow_String elemTypeLabel_;
  bme_ElemCtrlParams elemCtrlParams_;
  int meshIndex_ = 0;
  int classIndex_ = 0;
  int regionClassIndex_ = 0;
  int regionIndex_ = 0;
  cow_String categoryLabel_;
  bme_OrientationFreqEnm orientationFreq_ = bme_ORIENTATION_NONE;
  cls_xpListString locationLabels_;
  cls_xp1DArrayListInt userLabels_;
  cls_xp2DArrayInt connectivity_;

  bool unsupported_ = true;
  omi_BlkBitVect marks_[3]; ///< bits of the stack direction
  cls_Uid uid_;
};
