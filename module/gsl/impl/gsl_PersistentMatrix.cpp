#include <CoreGeometry/gsl_PersistentMatrix.h>

#include "gsl_Component.h"
#include <cls_Fields.h>

namespace {
constexpr const char* kMatrix = "_matrix";
}

unsigned gsl_PersistentMatrix::TypeId() noexcept { return gsl_kPersistentMatrix; }
unsigned gsl_PersistentMatrix::DynTypeId() const noexcept { return TypeId(); }
void* gsl_PersistentMatrix::Ctor(cls_ReadVisitor& visitor) { return new gsl_PersistentMatrix(visitor); }
void gsl_PersistentMatrix::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_PersistentMatrix>(registrar, "gsl_PersistentMatrix", gsl_kVersion, cls_Fields{})
      .AddAttribute(kMatrix, cls_AttributeType::DoubleArray, 1, cls_CollectionType::Single);
}

gsl_PersistentMatrix::gsl_PersistentMatrix(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  const cls_ReadVisitor field(visitor, kMatrix);
  const auto numbers = field.GetArray<double>();
  if (numbers.IsEmpty()) return;
  if (numbers.Size() != 16) field.Refuse("a transform has 16 numbers, not " + std::to_string(numbers.Size()));
  double rows[4][4];
  std::ranges::copy(numbers.Const(), &rows[0][0]);
  matrix_.emplace(rows);
}

gsl_PersistentMatrix::~gsl_PersistentMatrix() = default;

void gsl_PersistentMatrix::DBWrite(const cls_WriteVisitor& visitor) const {
  if (visitor.StartWrite(TypeId(), uid_.Get()) == 0) return;
  cow_ArrayCOW<double> numbers;
  if (matrix_) {
    double rows[4][4];
    matrix_->AsArray(rows);
    numbers.Append(std::span<const double>(&rows[0][0], 16));
  }
  cls_WriteVisitor(visitor, kMatrix).PutArray(numbers, 4);
}
