// bme_ElementData.h: the element classes of a mesh and the user element labels
#pragma once

#include <CoreGeometry/bme_Cache.h>
#include <CoreGeometry/bme_ElementClass.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreUtils/omi_LabelTable.h>

class bme_FEMElemList;

/// The element classes of a mesh in order, with all elements numbered one after the other.
///
/// Class i has class index i, and its first element index is the number of elements before it. If one class
/// has elements but no user labels, the labels of the whole mesh are implicit: 1 to the element count. A
/// label that is used twice finds the last of its elements.
///
/// Errors     an unknown index or label gives bme_kNotFound; functions that change the object return false
///            for a wrong position and change nothing; GetClass throws nex_OutOfRangeException.
/// Cost       copies share the classes. The first label query after a change builds the label map.
/// Threads    label queries build the label map on first use and are not thread-safe until it is built.
/// Stored as  classes
class CORE_GEOMETRY_API bme_ElementData {
public:
  using Classes = mdl_MapInt2ObjCow<bme_ElementClass>;

  static unsigned TypeId() noexcept;
  virtual unsigned DynTypeId() const noexcept;
  static void* Ctor(cls_ReadVisitor& visitor);
  static void InitializeMetadata(cls_ClassRegistrar& registrar);

  // make
  bme_ElementData();
  /// Takes ownership of the classes, even when it throws nex_AssertionException because one of them is null.
  bme_ElementData(bme_ElementClass** classes, unsigned count);
  explicit bme_ElementData(const cls_ReadVisitor& visitor);
  bme_ElementData(const bme_ElementData&) = default;
  bme_ElementData& operator=(const bme_ElementData&) = default;
  virtual ~bme_ElementData();

  // ask
  virtual void DBWrite(const cls_WriteVisitor& visitor) const;
  unsigned NumClasses() const noexcept { return static_cast<unsigned>(classes_.Count()); }
  unsigned NumElements() const noexcept { return firstOfClass_.back(); }
  const Classes& ElementClasses() const noexcept { return classes_; }
  const bme_ElementClass& GetClass(unsigned classIndex) const;
  const bme_ElementClass& GetElemClass(unsigned element) const;
  unsigned GetClassIndex(unsigned element) const noexcept;
  unsigned GetClassElemIndex(unsigned element) const noexcept; ///< position of the element within its class
  bool GetClassAndElemIndex(unsigned element, unsigned& classIndex, unsigned& inClass) const noexcept;
  unsigned GetMeshElemIndexFromClass(unsigned classIndex, unsigned inClass) const noexcept;

  // labels
  /// Negative labels arrive converted to unsigned.
  unsigned GetMeshElemIndexFromLabel(unsigned label) const;
  /// indices[i] is the index of labels[i]; prefetches overlap the cache misses, and a lent wip_Executor is used.
  void GetMeshElemIndices(std::span<const int> labels, std::span<unsigned> indices) const;
  /// Position of the first label that is not in the label map, or the length when all are. Implicit labels
  /// are not in the map: any list that is not empty then gives 0.
  int CheckUserElementLabels(const cow_List<int>& labels) const;
  bool HasUserElementLabels() const;         ///< false when the labels are implicit or there are no elements
  int GetNextAvailableLabel() const;         ///< nex_TextException when none is left
  int GetNextAvailableInternalLabel() const; ///< negative, below every label
  int GetMaximalUserLabel() const;           ///< the element count when labels are implicit

  // change
  void Init(); ///< renumbers classes and elements; to be called after changing a class
  /// Owned by this object alone until it is copied; a copy shares the class: after copying, call this again.
  bme_ElementClass& GetClassToModify(unsigned classIndex);
  bool AppendClass(bme_ElementClass* elements) { return AddElementClass(elements); }
  bool AddElementClass(bme_ElementClass* elements); ///< takes ownership; false for null
  void AppendClasses(const bme_ElementData& other);
  /// The classes are numbered from 0 in the order of their keys. nex_AssertionException, and nothing changes,
  /// for an empty handle.
  void ReplaceElemClasses(const Classes& classes);
  bool RemoveElementClass(unsigned classIndex);
  bool RemoveElementClassNoInit(unsigned classIndex); ///< leaves Init() to the caller
  bool AddElements(unsigned classIndex, const cow_List<int>& connectivity);
  /// Labels for a class without labels are dropped. If their number is wrong, consecutive labels from the
  /// next available one replace them.
  bool AddElements(unsigned classIndex, const cow_List<int>& connectivity, const cow_List<int>& labels);
  /// Removes the listed elements; a class stays even when it becomes empty. False, and nothing changes, when
  /// an element of the list is not in these classes.
  bool RemoveElements(const bme_FEMElemList& elements);
  /// Inverts every element. False when a class has no shape: that class stays as it is.
  bool InvertElementsConnectivities();
  void UpdateConnectivity(const int* newNodeIndex); ///< newNodeIndex[n] replaces node n

private:
  static constexpr auto StoredFields();
  struct LabelRange {
    bool areImplicit = false;
    long long smallest = 0, largest = 0;
    void Add(std::span<const int> labels);
  };
  void Number();
  bool AreLabelsImplicit() const;
  const LabelRange& RangeOfLabels() const;
  const omi_LabelTable& Labels() const;
  int CheckedLabel(long long label) const;

  Classes classes_;
  std::vector<unsigned> firstOfClass_{0}; ///< first element of each class, and the total
  mutable bme_Cache<omi_LabelTable> labels_;
  mutable bme_Cache<LabelRange> labelRange_; ///< follows elements that are added
  mutable long long nextAvailableLabel_ = 1;
  cls_Uid uid_;
};
