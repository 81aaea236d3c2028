#include <CoreGeometry/odiC_Run.h>

#include <BasicUtils/cls_ReadView.h>

namespace {
constexpr const char* kAdvice = "import the results again, or remove the run";

class RunChecker {
public:
  RunChecker(const odiC_Run& run, chk_Findings& findings) : run_(run), findings_(findings) {}

  void Check() {
    const bme_Mesh* mesh = nullptr;
    Try("odiC_Results", "meshRoot", [&] { mesh = &run_.Mesh(); });
    std::vector<int> pointSetCounts;
    for (int i = 0; i < run_.Header().numPointSets; ++i)
      Try("odiC_PointSet", "", [&] { pointSetCounts.push_back(run_.PointSet(i).count); });
    for (int i = 0; i < run_.Header().numLayouts; ++i)
      Try("odiC_Layout", "blocks", [&] {
        const cow_String wrong =
            mesh ? odiC_WhatIsWrong(*run_.Layout(i), *mesh, pointSetCounts) : cow_String();
        if (!wrong.empty()) throw nex_TextException("layout " + std::to_string(i) + ": " + wrong);
      });
    for (int step = 0; step < static_cast<int>(run_.Header().steps.size()); ++step) CheckStep(step);
  }

private:
  void Try(const char* className, const char* field, auto what) {
    try {
      what();
    } catch (const cls_BusyException&) {
      throw;
    } catch (const nex_Exception& failure) {
      findings_.Add(className, field, failure.Message(), kAdvice);
    }
  }

  /// The last row of a field is where its layout says when the arrays have the right length.
  void CheckStep(int step) {
    const odiC_Step& of = run_.Header().steps[static_cast<std::size_t>(step)];
    for (int frame = 0; frame < of.NumFrames(); ++frame)
      for (int variable = 0; variable < static_cast<int>(run_.Header().variables.size()); ++variable)
        if (of.Has(frame, variable))
          Try("odiC_Field", "", [&] {
            odiC_FieldReader field = run_.Field(step, frame, variable);
            std::vector<double> row(static_cast<std::size_t>(field.NumComponents()));
            if (field.NumRows() > 0) field.Read(field.NumRows() - 1, row);
          });
    for (int history = 0; history < of.numHistories; ++history)
      Try("odiC_History", "", [&] { run_.History(step, history); });
  }

  const odiC_Run& run_;
  chk_Findings& findings_;
};
} // namespace

void odiC_CheckRuns(const cls_Database& model, std::vector<chk_Finding>& findings) {
  const cls_ReadView view(model);
  for (const cow_String& root : odiC_Run::RootsOf(model)) {
    chk_Findings here(root, findings);
    const odiC_Run run = odiC_Run::Open(model, root);
    RunChecker(run, here).Check();
  }
}
