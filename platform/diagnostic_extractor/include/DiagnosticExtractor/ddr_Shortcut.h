// ddr_Shortcut.h: values that name a stored object by its path
#pragma once

#include <BasicUtils/cow_COW.h>
#include <CaeUtils/omu_Prim.h>
#include <DiagnosticExtractor/ddr_DatabaseRoot.h>

/// Type identifier, name and version of one instantiation of the classes below, to be specialised by the
/// module that registers it:   static constexpr unsigned typeId; static constexpr const char* name;
template<class ShortcutClass> struct ddr_StoredClass;

/// Functions that all shortcut classes need as persistent classes.
template<class Self> class ddr_Stored {
public:
  static unsigned TypeId() noexcept { return ddr_StoredClass<Self>::typeId; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new Self(visitor); }

protected:
  static cls_ClassMetadata& Describe(cls_ClassRegistrar& registrar) {
    return registrar.CreateClassMD(ddr_StoredClass<Self>::name, TypeId(), 1, &Self::Ctor, 1)
        .AddDtor([](void* object) { delete static_cast<Self*>(object); })
        .AddWriter([](const void* object, const cls_WriteVisitor& visitor) {
          static_cast<const Self*>(object)->DBWrite(visitor);
        });
  }
};

/// How a shortcut finds its object of class T: this class by a path from the root, the derived ones by a
/// parent shortcut and one step.
///
/// Stored as  path
template<class T> class ddr_ShortcutImpl : public ddr_Stored<ddr_ShortcutImpl<T>> {
public:
  explicit ddr_ShortcutImpl(cow_String path) : path_(std::move(path)) {}
  explicit ddr_ShortcutImpl(const cls_ReadVisitor& visitor)
      : path_(visitor.GetString("path")), uid_(visitor.GetUid()) {}
  virtual ~ddr_ShortcutImpl() = default;
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    ddr_ShortcutImpl::Describe(registrar).AddAttribute("path", cls_AttributeType::String, 1,
                                                       cls_CollectionType::Single);
  }

  virtual ddr_ShortcutImpl* Copy() const { return new ddr_ShortcutImpl(*this); }
  virtual unsigned DynTypeId() const noexcept { return ddr_ShortcutImpl::TypeId(); }
  virtual cow_String Path() const { return path_; }
  virtual void DBWrite(const cls_WriteVisitor& visitor) const {
    if (visitor.StartWrite(ddr_ShortcutImpl::TypeId(), uid_) != 0) visitor.PutString("path", path_);
  }

protected:
  ddr_ShortcutImpl() = default;
  explicit ddr_ShortcutImpl(const cls_Uid& uid) : uid_(uid) {}
  const cls_Uid& Uid() const noexcept { return uid_; }
  /// A derived class is read back as itself.
  template<class Step> static void DescribeStep(cls_ClassMetadata& record) {
    record.AddBase(ddr_ShortcutImpl::TypeId(), [](void* object) -> void* {
      return static_cast<ddr_ShortcutImpl*>(static_cast<Step*>(object));
    });
  }

private:
  cow_String path_;
  cls_Uid uid_ = cls_Uid::AllocateUid();
};

/// A value that names a persistent object, or a list inside one, by its path. It is resolved in a database at
/// the time of use, against what is stored there.
///
/// Empty      a default shortcut is undefined.
/// Errors     Resolve throws nex_TextException naming the path: undefined, unknown root or member, index
///            outside the list, or no database bound to the thread.
/// Cost       copy O(1).
/// Stored as  impl
template<class T> class ddr_Shortcut : public omu_ShortcutBase, public ddr_Stored<ddr_Shortcut<T>> {
public:
  static constexpr cls_AttributeType kStoredAs = cls_AttributeType::Shortcut;
  static unsigned ElemTypeId() noexcept { return ddr_Shortcut::TypeId(); }

  // make
  ddr_Shortcut() = default;
  explicit ddr_Shortcut(const cow_String& path) : impl_(new ddr_ShortcutImpl<T>(path)) {}
  explicit ddr_Shortcut(ddr_ShortcutImpl<T>* impl) : impl_(impl) {} ///< takes ownership
  explicit ddr_Shortcut(const cls_ReadVisitor& visitor)
      : impl_(visitor.GetObject<ddr_ShortcutImpl<T>>("impl")), uid_(visitor.GetUid()) {}
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    ddr_Shortcut::Describe(registrar).AddAttribute("impl", cls_AttributeType::Object,
                                                   ddr_ShortcutImpl<T>::TypeId(), cls_CollectionType::Single);
  }

  // ask
  bool IsDefined() const override { return !impl_.IsNull(); }
  cow_String Path() const override { return IsDefined() ? impl_->Path() : cow_String(); }
  unsigned TargetTypeId() const override {
    if constexpr (requires { T::TypeId(); })
      return T::TypeId();
    else
      return 0;
  }
  /// The object, or the list, that the path names.
  cow_CountedHld<T> Resolve(const cls_Database& database = ddr_DatabaseRoot::Current()) const {
    if (!IsDefined()) throw nex_TextException("the shortcut is undefined");
    const cls_Location location = database.Resolve(Path());
    if constexpr (requires { T::kStoredAs; })
      return cow_CountedHld<T>(new T(database.GetValue<T>(location)));
    else
      return database.GetObject<T>(location);
  }
  friend bool operator==(const ddr_Shortcut& a, const ddr_Shortcut& b) { return a.Path() == b.Path(); }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    if (visitor.StartWrite(ddr_Shortcut::TypeId(), uid_) != 0) visitor.PutObject("impl", impl_.Holder());
  }

private:
  cow_COW<ddr_ShortcutImpl<T>, cow_Virtual<ddr_ShortcutImpl<T>>> impl_;
  cls_Uid uid_ = cls_Uid::AllocateUid();
};

/// A shortcut by a parent shortcut and one step from there. `Step` defines how the step is stored and how it
/// is written in a path.
template<class Parent, class T, class Step> class ddr_StepShortcut : public ddr_ShortcutImpl<T> {
public:
  using Self = ddr_StepShortcut;
  using Value = typename Step::Value;

  ddr_StepShortcut(ddr_Shortcut<Parent> parent, Value step)
      : parent_(std::move(parent)), step_(std::move(step)) {}
  explicit ddr_StepShortcut(const cls_ReadVisitor& visitor)
      : ddr_ShortcutImpl<T>(visitor.GetUid()), parent_(cls_ReadVisitor(visitor, "parent")),
        step_(Step::Read(visitor)) {}
  static unsigned TypeId() noexcept { return ddr_StoredClass<Self>::typeId; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new Self(visitor); }
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    cls_ClassMetadata& record =
        registrar.CreateClassMD(ddr_StoredClass<Self>::name, TypeId(), 1, &Self::Ctor, 1)
            .AddDtor([](void* object) { delete static_cast<Self*>(object); })
            .AddWriter([](const void* object, const cls_WriteVisitor& visitor) {
              static_cast<const Self*>(object)->DBWrite(visitor);
            })
            .AddAttribute("parent", cls_AttributeType::Shortcut, ddr_Shortcut<Parent>::TypeId(),
                          cls_CollectionType::Single)
            .AddAttribute(Step::kField, Step::kType, 1, cls_CollectionType::Single);
    ddr_ShortcutImpl<T>::template DescribeStep<Self>(record);
  }

  ddr_StepShortcut* Copy() const override { return new Self(*this); }
  unsigned DynTypeId() const noexcept override { return TypeId(); }
  cow_String Path() const override { return parent_.Path() + Step::InPath(step_); }
  void DBWrite(const cls_WriteVisitor& visitor) const override {
    if (visitor.StartWrite(TypeId(), this->Uid()) == 0) return;
    parent_.DBWrite(cls_WriteVisitor(visitor, "parent"));
    Step::Write(visitor, step_);
  }

private:
  ddr_Shortcut<Parent> parent_;
  Value step_;
};

/// A named member of the parent.
struct ddr_MemberStep {
  using Value = cow_String;
  static constexpr const char* kField = "member";
  static constexpr cls_AttributeType kType = cls_AttributeType::String;
  static Value Read(const cls_ReadVisitor& visitor) { return visitor.GetString(kField); }
  static void Write(const cls_WriteVisitor& visitor, const Value& member) {
    visitor.PutString(kField, member);
  }
  static cow_String InPath(const Value& member) { return "." + member; }
};

/// An element of the parent, which is a list.
struct ddr_IndexStep {
  using Value = int;
  static constexpr const char* kField = "index";
  static constexpr cls_AttributeType kType = cls_AttributeType::Int;
  static Value Read(const cls_ReadVisitor& visitor) { return visitor.GetInt(kField); }
  static void Write(const cls_WriteVisitor& visitor, Value index) { visitor.PutInt(kField, index); }
  static cow_String InPath(Value index) { return "[" + std::to_string(index) + "]"; }
};

template<class Parent, class T> using ddr_MemberShortcut = ddr_StepShortcut<Parent, T, ddr_MemberStep>;
template<class List, class T> using ddr_SequenceShortcut = ddr_StepShortcut<List, T, ddr_IndexStep>;
