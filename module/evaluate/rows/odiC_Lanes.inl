// Numbers that one instruction of the processor in force works on together. Included by the kernels, once for each kind
// of processor.

#ifdef ODI_USE_AVX2
constexpr std::size_t kLanes = 4;
#else
constexpr std::size_t kLanes = 2;
#endif
using Lanes [[gnu::vector_size(kLanes * sizeof(double))]] = double;
using FloatLanes [[gnu::vector_size(kLanes * sizeof(float))]] = float;
using Mask = decltype(Lanes{} < Lanes{});
