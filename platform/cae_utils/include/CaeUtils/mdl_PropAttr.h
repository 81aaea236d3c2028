// mdl_PropAttr.h: an attribute that a model may pass on to models derived from it
#pragma once

#include <BasicUtils/cls_Visitors.h>

/// Type identifier and name of mdl_PropAttr<List>, to be specialised by the module that registers it:
///   static constexpr unsigned typeId; static constexpr const char* name;
template<class List> struct mdl_StoredPropAttr;

/// A stored list, and whether it propagates to models that are derived from its owner.
///
/// Stored as  value, propagate
template<class List> class mdl_PropAttr {
public:
  static unsigned TypeId() noexcept { return mdl_StoredPropAttr<List>::typeId; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new mdl_PropAttr(visitor); }
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    registrar.CreateClassMD(mdl_StoredPropAttr<List>::name, TypeId(), 1, &mdl_PropAttr::Ctor, 1)
        .AddDtor([](void* object) { delete static_cast<mdl_PropAttr*>(object); })
        .AddWriter([](const void* object, const cls_WriteVisitor& visitor) {
          static_cast<const mdl_PropAttr*>(object)->DBWrite(visitor);
        })
        .AddAttribute("value", List::kStoredAs, List::ElemTypeId(), cls_CollectionType::Single)
        .AddAttribute("propagate", cls_AttributeType::Bool, 1, cls_CollectionType::Single);
  }

  // make
  mdl_PropAttr() = default;
  mdl_PropAttr(List list, bool propagates) : value(std::move(list)), propagate(propagates) {}
  explicit mdl_PropAttr(const cls_ReadVisitor& visitor)
      : value(cls_ReadVisitor(visitor, "value")), propagate(visitor.GetBool("propagate")),
        uid_(visitor.GetUid()) {}

  // ask
  /// The attribute of a derived model: the value when it propagates, an empty one otherwise.
  mdl_PropAttr Propagated() const { return propagate ? *this : mdl_PropAttr(); }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    if (visitor.StartWrite(TypeId(), uid_) == 0) return;
    value.DBWrite(cls_WriteVisitor(visitor, "value"));
    visitor.PutBool("propagate", propagate);
  }
  friend bool operator==(const mdl_PropAttr& a, const mdl_PropAttr& b) {
    return a.value == b.value && a.propagate == b.propagate;
  }

  List value;
  bool propagate = false;

private:
  cls_Uid uid_ = cls_Uid::AllocateUid();
};
