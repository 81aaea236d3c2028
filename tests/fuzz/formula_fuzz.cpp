// A formula of any bytes, computed for some numbers.
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Formula.h>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const odiC_Formula formula(cow_String(reinterpret_cast<const char*>(data), size));
    const std::vector<double> numbers = {-2, 0, 0.5, 1e300};
    const std::vector<std::span<const double>> names(formula.Names().size(), numbers);
    std::vector<double> results(numbers.size());
    formula.Apply(names, results);
  } catch (const odiC_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  return 0;
}
