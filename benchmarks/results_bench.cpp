// Invariants and rotations of ten million tensors of six floats, and means at the nodes of a million C3D8. Counters: "of_traffic", time of reading the tensors and
// writing as many numbers as come out over the time of the work; "of_closed_form", the same with eigenvalues by the
// arccosine. Argument 1 takes the loops for the oldest processor, or numbers the nodes at random. Of means the yardstick
// reads values and connectivity and writes the nodes; benchmarks/peers/vtk_cell_to_point.py measures VTK on the same mesh.
#include "BlockMesh.h"
#include "SideBySide.h"
#include "odiC_RowKernels.h"

#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <CoreGeometry/odiC_NodeAverage.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/odiC_Run.h>
#include <bit>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

namespace {
constexpr std::size_t kRows = 10'000'000, kBlock = 10'000; // rows of a block of 256 KiB

std::vector<float> Tensors() {
  std::vector<float> rows(6 * kRows);
  std::mt19937 random(5);
  for (float& number : rows) number = static_cast<float>(random() % 20001) * 0.01F - 100;
  return rows;
}
odiC_RowBody Body(const benchmark::State& state) {
  return state.range(0) == 0 ? odiC_BestRowBody() : odiC_RowBody::Plain;
}
float Read(std::span<const float> numbers) {
  return std::reduce(numbers.begin(), numbers.end(), 0.0F, [](float a, float b) {
    return std::bit_cast<float>(std::bit_cast<unsigned>(a) ^ std::bit_cast<unsigned>(b));
  });
}
/// Work on blocks of rows, against reading all and writing `width` numbers a row.
template<class Work> void AgainstTraffic(benchmark::State& state, std::size_t width, Work work) {
  const std::vector<float> rows = Tensors();
  std::vector<float> out(width * kRows);
  SideBySide(
      state, kRows,
      [&] {
        for (std::size_t row = 0; row < kRows; row += kBlock) work(&rows[6 * row], row, &out[width * row]);
        return out[12345];
      },
      [&] {
        for (std::size_t row = 0; row < kRows; row += kBlock)
          std::fill_n(&out[width * row], width * kBlock, Read(std::span(rows).subspan(6 * row, 6 * kBlock)));
        return out[12345];
      });
  state.counters["of_traffic"] = 1 / state.counters["ratio"];
}

void Mises(benchmark::State& state) {
  const odiC_RowForm form;
  AgainstTraffic(state, 1, [&, body = Body(state)](const float* rows, std::size_t, float* out) {
    odiC_ReduceRows(body, odiC_RowWork::Mises, 0, form, rows, kBlock, out);
  });
}

/// Largest less smallest eigenvalue with the functions of the C library.
float ClosedForm(const float* s) {
  const double mean = (double{s[0]} + double{s[1]} + double{s[2]}) / 3, a = s[0] - mean, b = s[1] - mean,
               c = s[2] - mean, d = s[3], e = s[4], f = s[5];
  const double p = std::sqrt((a * a + b * b + c * c + 2 * (d * d + e * e + f * f)) / 6);
  if (p == 0) return 0;
  const double half = (a * (b * c - f * f) - d * (d * c - f * e) + e * (d * f - b * e)) / (2 * p * p * p);
  const double angle = std::acos(half < -1 ? -1.0 : half > 1 ? 1.0 : half) / 3;
  constexpr double kThird = 2.0943951023931953;
  return static_cast<float>(2 * p * (std::cos(angle) - std::cos(angle + kThird)));
}
void Tresca(benchmark::State& state) {
  const odiC_RowForm form;
  const std::vector<float> rows = Tensors();
  std::vector<float> out(kRows);
  SideBySide(
      state, kRows,
      [&, body = Body(state)] {
        odiC_ReduceRows(body, odiC_RowWork::Tresca, 0, form, rows.data(), kRows, out.data());
        return out[12345];
      },
      [&] {
        for (std::size_t row = 0; row < kRows; ++row) out[row] = ClosedForm(&rows[6 * row]);
        return out[12345];
      });
  state.counters["of_closed_form"] = 1 / state.counters["ratio"];
}

void RotationByMatrix(benchmark::State& state) {
  const odiC_RowForm form;
  constexpr double kMatrix[] = {0.36, 0.48, -0.8, -0.8, 0.6, 0, 0.48, 0.64, 0.6};
  AgainstTraffic(state, 6, [&, body = Body(state)](const float* rows, std::size_t, float* out) {
    odiC_TurnTensors(body, form, kMatrix, 0, rows, kBlock, out);
  });
}
void RotationIntoCylinder(benchmark::State& state) {
  const odiC_Rotation rotation(odiC_Variable("S", res_TENSOR));
  const dtu_DatumCsys csys(1, 0, {1, 2, 3}, {1, 2, 0}, {-2, 1, 0}, {0, 0, 1}, dtu_CYLINDRICAL);
  std::vector<float> points(3 * kRows);
  for (std::size_t k = 0; k < points.size(); ++k) points[k] = static_cast<float>(k % 1013) * 0.01F;
  AgainstTraffic(state, 6, [&](const float* rows, std::size_t first, float* out) {
    rotation.IntoDatum(csys, std::span<const float>(points).subspan(3 * first, 3 * kBlock),
                       std::span<const float>(rows, 6 * kBlock), std::span(out, 6 * kBlock));
  });
}

/// A million C3D8, numbered row by row or at random.
bme_Mesh Million(bool isRandom) {
  const shp_ShapeDictionary dictionary;
  bme_Mesh mesh = Block(*dictionary.GetShape("C3D8"), 100);
  if (!isRandom) return mesh;
  std::vector<int> order(mesh.NodeData().NumNodes());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  mesh.ElementDataToModify().UpdateConnectivity(order.data());
  return mesh;
}

enum class From { WholeElements, Points, PointsByMises };
void Means(benchmark::State& state, From from) {
  constexpr std::size_t kElements = 1'000'000, kAtOnce = 1000;
  const bme_Mesh mesh = Million(state.range(0) == 1);
  const auto position = from == From::WholeElements ? res_WHOLE_ELEMENT : res_INTEGRATION_POINT;
  const odiC_Places places =
      odiC_Places::All(std::make_shared<const odiC_Layout>(odiC_FullLayout(mesh, position)));
  const odiC_Carrier carrier(
      mesh, places, [](int) -> const odiC_PointSet& { throw std::logic_error("no point set"); },
      shp_Target::Nodes);
  odiC_NodeAverage average(mesh, from == From::WholeElements ? places : carrier.Places(), {});
  const odiC_Invariant mises(odiC_Variable("S", res_TENSOR), res_MISES);
  const std::size_t numPoints = from == From::WholeElements ? 1 : 8,
                    width = from == From::PointsByMises ? 1 : 6;
  std::vector<float> values(kElements * numPoints * 6), carried(kAtOnce * 48), reduced(kAtOnce * 8);
  for (std::size_t k = 0; k < values.size(); ++k) values[k] = static_cast<float>(k % 1009);
  std::vector<double> out(mesh.NodeData().NumNodes() * width);
  const std::span<const int> nodes = mesh.ElementData().GetClass(0).ElementConnectivity().Const();
  SideBySide(
      state, kElements,
      [&] {
        average.Begin(0, static_cast<int>(width));
        for (std::size_t element = 0; element < kElements; element += kAtOnce) {
          std::span<const float> rows =
              std::span(values).subspan(element * numPoints * 6, kAtOnce * numPoints * 6);
          if (from != From::WholeElements) {
            carrier.Apply(0, 6, rows, carried);
            rows = carried;
          }
          if (from == From::PointsByMises) {
            mises.Apply(rows, reduced);
            rows = reduced;
          }
          average.Add(0, static_cast<int>(element), rows);
        }
        average.Finish();
        average.Read(0, out);
        return out[12345];
      },
      [&] {
        const auto sum = static_cast<double>(
            Read(values) + Read(std::span(reinterpret_cast<const float*>(nodes.data()), nodes.size())));
        std::ranges::fill(out, sum);
        return out[12345];
      });
  state.counters["of_traffic"] = 1 / state.counters["ratio"];
}
} // namespace

BENCHMARK(Mises)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(7);
BENCHMARK(Tresca)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(RotationByMatrix)->DenseRange(0, 1)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(7);
BENCHMARK(RotationIntoCylinder)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_CAPTURE(Means, OfWholeElements, From::WholeElements)
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(7);
BENCHMARK_CAPTURE(Means, OfPoints, From::Points)
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK_CAPTURE(Means, OfPointsByMises, From::PointsByMises)
    ->DenseRange(0, 1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
