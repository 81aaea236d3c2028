// A shape by its label against a plain hash look-up of the same label, over all labels in a mixed order.
// The ratio of the two times is the figure to read; the reference is measured in the same run.
#include <CoreGeometry/shp_ShapeDictionary.h>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cctype>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {
std::vector<std::string> MixedLabels(const shp_ShapeDictionary& dictionary) {
  std::vector<std::string> labels;
  for (const auto& [label, key] : dictionary.LabelTable()) labels.push_back(label);
  std::shuffle(labels.begin(), labels.end(), std::mt19937(1));
  return labels;
}

void HashLookUp(benchmark::State& state) {
  const shp_ShapeDictionary dictionary;
  const std::vector<std::string> labels = MixedLabels(dictionary);
  std::unordered_map<std::string, const void*> map;
  for (const std::string& label : labels) map[label] = dictionary.GetShape(label);
  for (auto _ : state)
    for (const std::string& label : labels) benchmark::DoNotOptimize(map.find(label)->second);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(labels.size()));
}

void ShapeByLabel(benchmark::State& state) {
  const shp_ShapeDictionary dictionary;
  std::vector<std::string> labels = MixedLabels(dictionary);
  if (state.range(0))
    for (std::string& label : labels)
      for (char& c : label) c = static_cast<char>(std::tolower(c));
  for (const std::string& label : labels) dictionary.GetShape(label);
  for (auto _ : state)
    for (const std::string& label : labels) benchmark::DoNotOptimize(dictionary.GetShape(label));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(labels.size()));
}

void MakeDictionary(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(shp_ShapeDictionary().LabelTable().size());
}
} // namespace

BENCHMARK(HashLookUp);
BENCHMARK(ShapeByLabel)->ArgName("lowerCase")->Arg(0)->Arg(1);
BENCHMARK(MakeDictionary)->Unit(benchmark::kMicrosecond);
