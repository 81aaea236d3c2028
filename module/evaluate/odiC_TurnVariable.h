// odiC_TurnVariable.h: what a rotation or mirror of the mesh does to the values of a variable
#pragma once

#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/odiC_SendRun.h>
#include <optional>

/// A variable, and how its rows turn with the images of a mesh.
class odiC_TurnVariable {
public:
  odiC_TurnVariable(const odiC_Variable& variable, std::span<const odiC_Image> images);

  const odiC_Variable& Result() const noexcept { return result_; }
  const cow_String& WhyNot() const noexcept { return whyNot_; } ///< empty when it can be carried
  bool IsNone() const noexcept { return works_.empty(); }       ///< every value stays as it is
  bool IsMirrored() const noexcept;
  template<class T> void Turn(int image, std::span<const T> rows, std::span<T> out) const;

private:
  struct Work {
    std::array<double, 9> matrix{};
    std::array<double, 4> quaternion{};
    bool isMirror = false;
  };
  void TakeSigns(std::span<const odiC_Image> images);

  odiC_Variable result_;
  cow_String whyNot_;
  std::vector<Work> works_;                ///< of each image; none when nothing turns
  std::vector<std::vector<double>> signs_; ///< of each image, by component: instead of a rotation
  std::optional<odiC_Rotation> rotation_;  ///< else of quaternions
};
