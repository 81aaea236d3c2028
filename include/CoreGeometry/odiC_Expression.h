// odiC_Expression.h: a formula over the variables of a run
#pragma once

#include <CoreGeometry/odiC_Formula.h>
#include <CoreGeometry/odiC_Values.h>

/// A scalar computed of variables of a run, place by place and frame by frame: "S.mises / 235 * (T > 0.1)".
///
/// Names are those of variables, with a component or an invariant behind a point. Without quotes X, Y and Z are the
/// coordinates of the place and T the value of the frame, unless a variable has that name.
///
/// Values of whole elements are those of all their points, too, and values of nodes those of each group of elements that
/// has a mean there.
///
/// Errors     odiC_Exception with a mark under the name that is wrong: no such variable, component or invariant; places
///            that differ, such as nodes beside elements.
/// Threads    one thread at a time; the run must outlive it.
class CORE_GEOMETRY_API odiC_Expression {
public:
  /// Values of elements are carried to nodes first where that is asked for.
  odiC_Expression(const odiC_Run& run, const cow_String& text, const odiC_Selection& where = {},
                  const std::optional<odiC_ToNodes>& atNodes = std::nullopt);

  const odiC_Formula& Formula() const noexcept { return formula_; }
  /// The frames of the selection that all variables have.
  std::vector<odiC_When> Frames() const;
  odiC_SourcePointer Open(const odiC_When& when) const; ///< one number a row

private:
  enum class Kind { Values, X, Y, Z, Time };
  struct Operand {
    Kind kind;
    std::size_t values; ///< position among the values
  };
  void Bind(const odiC_Formula::Name& name, const odiC_Selection& where,
            const std::optional<odiC_ToNodes>& atNodes);

  const odiC_Run* run_;
  odiC_Formula formula_;
  std::vector<odiC_Values> values_;
  std::vector<Operand> operands_; ///< of the names of the formula
};
