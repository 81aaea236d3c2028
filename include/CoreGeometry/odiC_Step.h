// odiC_Step.h: steps of an analysis and their frames
#pragma once

#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/odiC_Stored.h>
#include <vector>

enum odiC_StepKindEnm : int {
  odiC_UNDEFINED_STEP = 0,
  odiC_STATIC = 1,
  odiC_FREQUENCY = 2,
  odiC_BUCKLING = 3,
  odiC_TRANSIENT = 4,
  odiC_HARMONIC = 5,
  odiC_STEADY = 6
};
template<> struct omu_EnumTable<odiC_StepKindEnm> {
  static constexpr const char* name = "odiC_StepKindEnm";
  static constexpr omu_EnumEntry entries[] = {{odiC_UNDEFINED_STEP, "UNDEFINED"},
                                              {odiC_STATIC, "STATIC"},
                                              {odiC_FREQUENCY, "FREQUENCY"},
                                              {odiC_BUCKLING, "BUCKLING"},
                                              {odiC_TRANSIENT, "TRANSIENT"},
                                              {odiC_HARMONIC, "HARMONIC"},
                                              {odiC_STEADY, "STEADY"}};
};

/// What the values of the frames of a step are.
enum odiC_DomainEnm : int {
  odiC_NO_DOMAIN = 0,
  odiC_TIME = 1,             ///< within the step
  odiC_FREQUENCY_DOMAIN = 2, ///< cycles a unit of time
  odiC_LOAD_FACTOR = 3,
  odiC_MODE = 4
};
template<> struct omu_EnumTable<odiC_DomainEnm> {
  static constexpr const char* name = "odiC_DomainEnm";
  static constexpr omu_EnumEntry entries[] = {{odiC_NO_DOMAIN, "NONE"},
                                              {odiC_TIME, "TIME"},
                                              {odiC_FREQUENCY_DOMAIN, "FREQUENCY"},
                                              {odiC_LOAD_FACTOR, "LOAD_FACTOR"},
                                              {odiC_MODE, "MODE"}};
};

/// One frame of a step.
struct odiC_Frame {
  double value = 0;
  int increment = 0;
  int mode = 0;
  cow_String description{};
  double eigenvalue = 0;
  double damping = 0;
};

/// A step: its frames as columns, each with one entry a frame or none at all.
///
/// Units      time and frequency are the user's.
/// Errors     frames are counted from 0; nex_TextException for one that is not there, and for a value below the one
///            before.
/// Stored as  name, description, kind, domain, startTime, isPerturbation, values, increments, modes, eigenvalues,
///            dampings, descriptions, present, numHistories
class CORE_GEOMETRY_API odiC_Step : public odiC_Stored<odiC_Step> {
public:
  static constexpr const char* kName = "odiC_Step";
  static constexpr unsigned short kOrdinal = 3;

  odiC_Step() = default;
  explicit odiC_Step(const cls_ReadVisitor& visitor);

  int NumFrames() const noexcept { return static_cast<int>(values.size()); }
  odiC_Frame Frame(int frame) const;
  bool Has(int frame, int variable) const noexcept; ///< whether the variable has a field in the frame
  void Add(const odiC_Frame& frame, int numVariables);
  void SetPresent(int frame, int variable, int numVariables);

  cow_String name, description;
  odiC_StepKindEnm kind = odiC_UNDEFINED_STEP;
  odiC_DomainEnm domain = odiC_NO_DOMAIN;
  double startTime = 0; ///< total time at its start
  bool isPerturbation = false;
  std::vector<double> values; ///< they do not fall
  std::vector<int> increments, modes;
  std::vector<double> eigenvalues, dampings;
  std::vector<cow_String> descriptions;
  std::vector<unsigned> present; ///< bits of the variables that a frame has, `WordsPerFrame` words each
  int numHistories = 0;

private:
  friend odiC_Stored<odiC_Step>;
  static constexpr auto StoredFields();
  void Widen(int numVariables);
  std::size_t WordsPerFrame() const noexcept { return values.empty() ? 0 : present.size() / values.size(); }
};
extern template class odiC_Stored<odiC_Step>;
