// cls_Fields.h: the field list of a persistent class, from which it is read, written, compared and described
#pragma once

#include <BasicUtils/cls_Containers.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/cow_COW.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <tuple>

/// One stored field: its name and the member that holds it. The member's type says how it is stored.
template<class Class, class Value> struct cls_Field {
  const char* name;
  Value Class::*member;
};
template<class Class, class Value> cls_Field(const char*, Value Class::*) -> cls_Field<Class, Value>;

/// A stored real number with the value that it gets when the stored object does not have the field.
template<class Class> struct cls_FieldOr : cls_Field<Class, double> { double valueIfMissing; };
template<class Class> cls_FieldOr(cls_Field<Class, double>, double) -> cls_FieldOr<Class>;

/// The stored fields of a class, in stored order.
template<class... Fields> struct cls_Fields {
  std::tuple<Fields...> fields;
  constexpr explicit cls_Fields(Fields... list) : fields(list...) {}
};

/// Fields of a base class followed by those of the derived one.
template<class... Base, class... Own>
constexpr auto operator+(const cls_Fields<Base...>& base, const cls_Fields<Own...>& own) {
  return std::apply([](auto... field) { return cls_Fields{field...}; },
                    std::tuple_cat(base.fields, own.fields));
}

/// How a member type is stored: its attribute type, the class of its elements, and how to read and write it.
template<class Value> struct cls_FieldKind;

template<class Value, cls_AttributeType type, auto get, auto put> struct cls_PlainKind {
  static constexpr cls_AttributeType kType = type;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, Value& value) {
    value = (visitor.*get)(name);
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const Value& value) {
    (visitor.*put)(name, value);
  }
};
using cls_GetDouble = double (cls_ReadVisitor::*)(const cls_FieldHandle&) const;
template<>
struct cls_FieldKind<int>
    : cls_PlainKind<int, cls_AttributeType::Int, &cls_ReadVisitor::GetInt, &cls_WriteVisitor::PutInt> {};
template<>
struct cls_FieldKind<unsigned> : cls_PlainKind<unsigned, cls_AttributeType::Uint, &cls_ReadVisitor::GetUint,
                                               &cls_WriteVisitor::PutUint> {};
template<>
struct cls_FieldKind<bool>
    : cls_PlainKind<bool, cls_AttributeType::Bool, &cls_ReadVisitor::GetBool, &cls_WriteVisitor::PutBool> {};
template<>
struct cls_FieldKind<double>
    : cls_PlainKind<double, cls_AttributeType::Double,
                    static_cast<cls_GetDouble>(&cls_ReadVisitor::GetDouble), &cls_WriteVisitor::PutDouble> {};
template<>
struct cls_FieldKind<cow_String> : cls_PlainKind<cow_String, cls_AttributeType::String,
                                                 &cls_ReadVisitor::GetString, &cls_WriteVisitor::PutString> {
};

/// Enumerations are stored as text. A value that is not in the table is refused here, not when it is set.
template<omu_HasTable Enum> struct cls_FieldKind<Enum> {
  static constexpr cls_AttributeType kType = cls_AttributeType::Enum;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, Enum& value) {
    value = omu_PrimEnum<Enum>(cls_ReadVisitor(visitor, name));
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, Enum value) {
    omu_PrimEnum<Enum>(value).DBWrite(cls_WriteVisitor(visitor, name));
  }
};

/// Values that read and write themselves: containers (kStoredAs) and embedded persistent objects (TypeId).
template<class Value>
requires(
    requires { Value::kStoredAs; } || requires { Value::TypeId(); }) struct cls_FieldKind<Value> {
  static constexpr cls_AttributeType TypeOf() {
    if constexpr (requires { Value::kStoredAs; })
      return Value::kStoredAs;
    else
      return cls_AttributeType::Object;
  }
  static constexpr cls_AttributeType kType = TypeOf();
  static unsigned ElemTypeId() {
    if constexpr (requires { Value::ElemTypeId(); })
      return Value::ElemTypeId();
    else if constexpr (requires { Value::TypeId(); })
      return Value::TypeId();
    else
      return 1;
  }
  static void Read(const cls_ReadVisitor& visitor, const char* name, Value& value) {
    value = Value(cls_ReadVisitor(visitor, name));
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const Value& value) {
    value.DBWrite(cls_WriteVisitor(visitor, name));
  }
};

/// Owned objects: written once per write pass, and shared again after reading.
template<class T, class Policy> struct cls_FieldKind<cow_COW<T, Policy>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::Object;
  static unsigned ElemTypeId() { return T::TypeId(); }
  static void Read(const cls_ReadVisitor& visitor, const char* name, cow_COW<T, Policy>& value) {
    value = cow_COW<T, Policy>(visitor.GetObject<T>(name));
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const cow_COW<T, Policy>& value) {
    visitor.PutObject(name, value.Holder());
  }
};

template<class Class, class Owner, class Value>
void cls_ReadField(const cls_ReadVisitor& visitor, Class& object, const cls_Field<Owner, Value>& field) {
  if (visitor.HasValue(field.name)) cls_FieldKind<Value>::Read(visitor, field.name, object.*field.member);
}
template<class Class, class Owner>
void cls_ReadField(const cls_ReadVisitor& visitor, Class& object, const cls_FieldOr<Owner>& field) {
  object.*field.member = visitor.GetDouble(field.name, field.valueIfMissing);
}

/// Reads the fields of an object. A field that the stored layout does not have yet keeps its default value.
template<class Class, class... Fields>
void cls_ReadFields(const cls_ReadVisitor& visitor, Class& object, const cls_Fields<Fields...>& list) {
  std::apply([&](const auto&... field) { (cls_ReadField(visitor, object, field), ...); }, list.fields);
}

/// Writes an object unless this pass has written it already. The uid must be the object's own member.
template<class Class, class... Fields>
void cls_WriteFields(const cls_WriteVisitor& visitor, unsigned typeId, const cls_Uid& uid,
                     const Class& object, const cls_Fields<Fields...>& list) {
  if (visitor.StartWrite(typeId, uid) == 0) return;
  const auto write = [&]<class Owner, class Value>(const cls_Field<Owner, Value>& field) {
    cls_FieldKind<Value>::Write(visitor, field.name, object.*field.member);
  };
  std::apply([&](const auto&... field) { (write(field), ...); }, list.fields);
}

/// True when every stored field of two objects is equal.
template<class Class, class... Fields>
bool cls_SameFields(const Class& a, const Class& b, const cls_Fields<Fields...>& list) {
  return std::apply([&](const auto&... field) { return ((a.*field.member == b.*field.member) && ...); },
                    list.fields);
}

/// Describes the current layout of a class.
template<class Class, class... Fields>
cls_ClassMetadata& cls_DescribeClass(cls_ClassRegistrar& registrar, const char* name, int version,
                                     const cls_Fields<Fields...>& list) {
  cls_ClassMetadata& record = registrar.CreateClassMD(name, Class::TypeId(), version, &Class::Ctor, 1);
  record.AddDtor([](void* object) { delete static_cast<Class*>(object); });
  record.AddWriter([](const void* object, const cls_WriteVisitor& visitor) {
    static_cast<const Class*>(object)->DBWrite(visitor);
  });
  const auto describe = [&]<class Owner, class Value>(const cls_Field<Owner, Value>& field) {
    record.AddAttribute(field.name, cls_FieldKind<Value>::kType, cls_FieldKind<Value>::ElemTypeId(),
                        cls_CollectionType::Single);
  };
  std::apply([&](const auto&... field) { (describe(field), ...); }, list.fields);
  return record;
}

/// States that a class derives from another persistent class.
template<class Class, class Base> void cls_DescribeBase(cls_ClassMetadata& record) {
  record.AddBase(Base::TypeId(),
                 [](void* object) -> void* { return static_cast<Base*>(static_cast<Class*>(object)); });
}
