// A text with placeholders of any bytes; the first byte chooses the arguments.
#include <CoreUtils/atr_String.h>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<atr_Arg> arguments;
  for (unsigned kinds = data[0]; kinds > 0; kinds /= 4) {
    switch (kinds % 4) {
    case 1: arguments.emplace_back(-9223372036854775807LL); break;
    case 2: arguments.emplace_back(-1.7976931348623157e308); break;
    case 3: arguments.emplace_back(std::string("%s%d")); break;
    default: arguments.emplace_back(0LL);
    }
  }
  atr_Format({reinterpret_cast<const char*>(data) + 1, size - 1}, arguments);
  return 0;
}
