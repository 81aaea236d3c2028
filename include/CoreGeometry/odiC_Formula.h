// odiC_Formula.h: arithmetic in text, computed for rows of numbers
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/cow_String.h>
#include <memory>
#include <span>
#include <vector>

/// A formula over names: + - * / ^ ( ), comparisons (0 or 1), abs sqrt cbrt exp log sin cos tan atan2 min max sign
/// if(c, a, b), numbers and names. ^ binds first and to the right, then the sign: -2^2 is -4. A name is a word of letters,
/// digits and _, or any text in quotes, with a part behind a point: S.xx, "my stress".mises.
///
/// Units      angles in radians.
/// Empty      what is not a number stays so; a comparison with it is not a number.
/// Errors     odiC_Exception with the text and a mark ^ under the place. Nesting is limited to 200 levels.
/// Threads    immutable.
class CORE_GEOMETRY_API odiC_Formula {
public:
  explicit odiC_Formula(cow_String text);

  struct Name {
    cow_String name, part; ///< the part is empty without a point
    bool isQuoted = false;
    std::size_t position = 0; ///< in the text
    bool operator==(const Name& other) const noexcept {
      return name == other.name && part == other.part && isQuoted == other.isQuoted;
    }
  };
  const cow_String& Text() const noexcept { return text_; }
  const std::vector<Name>& Names() const noexcept { return names_; } ///< each once
  /// Numbers of each name in their order, as many as there are results.
  void Apply(std::span<const std::span<const double>> names, std::span<double> results) const;
  /// Throws as the constructor does: the text, a mark under a place, and what is wrong there.
  [[noreturn]] void Fail(std::size_t position, const cow_String& what) const;

private:
  friend class odiC_FormulaParser;
  /// One step of a computation on a stack.
  struct Step {
    int operation;    ///< of the table of operations
    double number;    ///< of a number
    std::size_t name; ///< of a name
  };
  cow_String text_;
  std::vector<Name> names_;
  std::vector<Step> steps_;
  std::size_t depth_ = 0; ///< most numbers on the stack
};
