#include <CoreGeometry/odiC_Derive.h>

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <algorithm>
#include <cmath>
#include <limits>

void odiC_PutValues(odiC_RunWriter& writer, int variable, int layout, std::span<const double> values,
                    bool isDouble) {
  constexpr double kMost = std::numeric_limits<float>::max();
  const auto put = [&]<class T>(T) {
    const std::vector<T> numbers(values.begin(), values.end());
    cow_ArrayCOW<T> array;
    array.Append(std::span<const T>(numbers));
    writer.PutField(variable, layout, array);
  };
  if (isDouble
      || std::ranges::any_of(values, [](double v) { return std::isfinite(v) && std::abs(v) > kMost; }))
    put(double());
  else
    put(float());
}

odiC_Derived odiC_Derive(cls_Database& model, const odiC_Run& run, const odiC_Expression& expression,
                         const odiC_DerivedVariable& wanted) {
  odiC_RunWriter writer(model, run.Root(), run.Mesh());
  odiC_Variable made(wanted.name, res_SCALAR, wanted.unit);
  made.description = expression.Formula().Text();
  const int variable = writer.AddVariable(made), known = run.Header().FindVariable(wanted.name);
  const std::vector<odiC_When> frames = expression.Frames();
  for (const odiC_When& when : frames) { // before any work
    if (when.next >= 0)
      throw odiC_Exception(run.Model().File() + ", " + run.Root() + ", " + wanted.name
                           + ": what lies between two frames cannot be stored in one of them");
    if (known >= 0 && run.HasField(when.step, when.frame, known))
      throw nex_TextException(run.Root() + ": step \""
                              + run.Header().steps[static_cast<std::size_t>(when.step)].name + "\", frame "
                              + std::to_string(when.frame) + " has " + wanted.name + " already");
  }
  odiC_Derived derived{.numFrames = frames.size()};
  for (const odiC_When& when : frames) {
    const odiC_Gathered gathered = odiC_Gather(*expression.Open(when));
    if (gathered.values.empty()) continue;
    derived.numValues += static_cast<long long>(gathered.values.size());
    derived.notNumbers +=
        std::ranges::count_if(gathered.values, [](double value) { return std::isnan(value); });
    writer.GoTo(when.step, when.frame);
    const int layout = writer.AddLayout(gathered.layout);
    odiC_PutValues(writer, variable, layout, gathered.values, wanted.isDouble);
    writer.Commit();
  }
  if (derived.numValues == 0)
    throw odiC_Exception(run.Model().File() + ", " + run.Root()
                         + ": no frame and place has values of all variables of "
                         + expression.Formula().Text());
  return derived;
}
