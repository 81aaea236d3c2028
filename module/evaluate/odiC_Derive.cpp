#include <CoreGeometry/odiC_Derive.h>

#include <CoreGeometry/odiC_RunWriter.h>
#include <algorithm>
#include <cmath>

namespace {
template<class T> cow_ArrayCOW<T> ArrayOf(const std::vector<double>& values) {
  const std::vector<T> numbers(values.begin(), values.end());
  cow_ArrayCOW<T> array;
  array.Append(std::span<const T>(numbers));
  return array;
}
} // namespace

odiC_Derived odiC_Derive(cls_Database& model, const odiC_Run& run, const odiC_Expression& expression,
                         const odiC_DerivedVariable& wanted) {
  odiC_RunWriter writer(model, run.Root(), run.Mesh());
  odiC_Variable made(wanted.name, res_SCALAR, wanted.unit);
  made.description = expression.Formula().Text();
  const int variable = writer.AddVariable(made), known = run.Header().FindVariable(wanted.name);
  const std::vector<odiC_When> frames = expression.Frames();
  for (const odiC_When& when : frames)
    if (known >= 0 && run.HasField(when.step, when.frame, known))
      throw nex_TextException(run.Root() + ": step \""
                              + run.Header().steps[static_cast<std::size_t>(when.step)].name + "\", frame "
                              + std::to_string(when.frame) + " has " + wanted.name + " already");
  odiC_Derived derived{.numFrames = frames.size()};
  for (const odiC_When& when : frames) {
    const odiC_Gathered gathered = odiC_Gather(*expression.Open(when));
    if (gathered.values.empty()) continue;
    derived.numValues += static_cast<long long>(gathered.values.size());
    derived.notNumbers +=
        std::ranges::count_if(gathered.values, [](double value) { return std::isnan(value); });
    writer.GoTo(when.step, when.frame);
    const int layout = writer.AddLayout(gathered.layout);
    if (wanted.isDouble)
      writer.PutField(variable, layout, ArrayOf<double>(gathered.values));
    else
      writer.PutField(variable, layout, ArrayOf<float>(gathered.values));
    writer.Commit();
  }
  return derived;
}
