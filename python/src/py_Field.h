// py_Field.h: what is asked of a run: a variable with choices, a formula, or arithmetic on others
#pragma once

#include "py_Errors.h"

#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/odiC_Expression.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <cctype>

/// A question, without the run that it is put to. A value: each choice makes another one.
struct py_Field {
  enum class Kind { Variable, Expression, Arithmetic };
  Kind kind = Kind::Variable;
  cow_String text; ///< name of the variable, or the formula
  odiC_Selection where;
  odiC_CarriedTo to = odiC_CarriedTo::AsStored;
  odiC_ToNodes toNodes;
  cow_String component, invariant; ///< checked by the run
  std::vector<py_Field> operands;  ///< of arithmetic, named a0, a1 ... in its formula
};

/// A question that is put to a run.
class py_Asked {
public:
  py_Asked(const odiC_Run& run, const py_Field& field);

  const odiC_Run& Run() const noexcept { return *run_; }
  std::vector<odiC_When> Frames() const;
  std::vector<cow_String> Components() const;
  /// Of a choice that is not made; see odiC_Values::Open.
  odiC_SourcePointer Open(const odiC_When& when,
                          std::optional<res_SectionResultsEnm> section = std::nullopt) const;
  const odiC_Values& Values(const char* what) const; ///< py_Error unless it is of a variable
  /// The variable as it is stored: nothing is computed.
  bool IsStored() const;
  void ExpectOneNumber() const;

private:
  const odiC_Run* run_;
  std::optional<odiC_Values> values_;
  std::optional<odiC_Expression> expression_;
  std::optional<odiC_Formula> formula_;
  std::vector<py_Asked> operands_;
};

/// Member of an enumeration by its text in any case. ValueError with the nearest texts, or all.
template<class Enum> Enum py_EnumOf(const char* what, const std::string& text) {
  const auto lower = [](std::string word) {
    std::ranges::transform(word, word.begin(), [](unsigned char c) { return std::tolower(c); });
    return word;
  };
  std::vector<cow_String> names;
  for (const omu_EnumEntry& entry : omu_EnumTable<Enum>::entries) {
    if (lower(entry.text) == lower(text)) return static_cast<Enum>(entry.value);
    names.push_back(entry.text);
  }
  throw py_Error("ValueError", std::string(what) + " \"" + text + "\" is none of its words"
                                   + atr_Alternatives(text, names));
}
template<class Enum> std::string py_TextOf(Enum value) {
  const char* text = omu_FindText(omu_EnumTable<Enum>::entries, static_cast<int>(value));
  return text ? text : "";
}

void py_BindField(nb::module_& module);
