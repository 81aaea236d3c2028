#include <CoreGeometry/odiC_Results.h>

#include "odiC_Fields.h"

#include <algorithm>

constexpr auto odiC_Results::StoredFields() {
  return cls_Fields{cls_Field{"name", &odiC_Results::name},
                    cls_Field{"description", &odiC_Results::description},
                    cls_Field{"meshRoot", &odiC_Results::meshRoot},
                    cls_Field{"meshId", &odiC_Results::meshId},
                    cls_Field{"numNodes", &odiC_Results::numNodes},
                    cls_Field{"classSizes", &odiC_Results::classSizes},
                    cls_Field{"classTypes", &odiC_Results::classTypes},
                    cls_Field{"program", &odiC_Results::program},
                    cls_Field{"units", &odiC_Results::units},
                    cls_Field{"timeStamp", &odiC_Results::timeStamp},
                    cls_Field{"steps", &odiC_Results::steps},
                    cls_Field{"variables", &odiC_Results::variables},
                    cls_Field{"categories", &odiC_Results::categories},
                    cls_Field{"numLayouts", &odiC_Results::numLayouts},
                    cls_Field{"numPointSets", &odiC_Results::numPointSets}};
}
template class odiC_Stored<odiC_Results>;

odiC_Results::odiC_Results(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (classSizes.size() != classTypes.size())
    visitor.Refuse("a run has " + std::to_string(classSizes.size()) + " sizes and "
                   + std::to_string(classTypes.size()) + " types of classes");
}

int odiC_Results::FindVariable(const cow_String& variable) const noexcept {
  const auto at = std::ranges::find(variables, variable, &odiC_Variable::name);
  return at == variables.end() ? -1 : static_cast<int>(at - variables.begin());
}

int odiC_Results::FindStep(const cow_String& step) const noexcept {
  const auto at = std::ranges::find(steps, step, &odiC_Step::name);
  return at == steps.end() ? -1 : static_cast<int>(at - steps.begin());
}

namespace {
cow_String Numbered(const char* form, int number) {
  char text[24];
  std::snprintf(text, sizeof text, form, number);
  return text;
}
} // namespace

cow_String odiC_LayoutRoot(const cow_String& run, int layout) {
  return run + Numbered("/layouts/%04d", layout);
}
cow_String odiC_PointSetRoot(const cow_String& run, int pointSet) {
  return run + Numbered("/points/%02d", pointSet);
}
cow_String odiC_FieldRoot(const cow_String& run, int step, int frame, int variable) {
  return run + Numbered("/s%02d", step) + Numbered("/f%06d", frame) + Numbered("/v%03d", variable);
}
cow_String odiC_HistoryRoot(const cow_String& run, int step, int history) {
  return run + Numbered("/s%02d", step) + Numbered("/h%03d", history);
}
