// Travel of one triangle set until it meets another: two spheres apart, two tori linked as a chain, two combs
// whose teeth stand between each other and are all equally far from their gaps; everything turned, so that
// nothing is parallel to an axis, and the combs once more as they are. Arguments: thousands of triangles in
// each set; shape (0 spheres, 1 tori, 2 combs, 3 combs along the axes).
//
// Yardsticks: Embree where it is installed, with a ray from every vertex of the one set along the direction
// and from every vertex of the other backwards, each bounded by the nearest hit so far (it finds no contact
// of two edges); and all pairs of triangles, each the best of the run. "ratio" = yardstick / work.
#include "gsl_TravelKernel.h"

#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreUtils/omi_timers.h>
#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <numbers>
#ifdef BENCH_HAS_EMBREE
#include <embree3/rtcore.h>
#endif

namespace {
struct Set {
  std::vector<float> xyz;
  std::vector<int> triangles;

  std::size_t NumTriangles() const { return triangles.size() / 3; }
  /// A grid of quadrilaterals, each cut in two; place gives the point of two parameters from 0 to 1.
  template<class Place> void AddGrid(int rows, int columns, Place place) {
    const int first = static_cast<int>(xyz.size() / 3), stride = columns + 1;
    for (int r = 0; r <= rows; ++r)
      for (int c = 0; c <= columns; ++c) {
        const gsl_Point p = place(double(r) / rows, double(c) / columns);
        for (unsigned i = 0; i < 3; ++i) xyz.push_back(static_cast<float>(p[i]));
      }
    for (int r = 0; r < rows; ++r)
      for (int c = 0; c < columns; ++c) {
        const int a = first + r * stride + c, b = a + stride;
        triangles.insert(triangles.end(), {a, a + 1, b, a + 1, b + 1, b});
      }
  }
  /// The six faces of a box, in squares of a size.
  void AddBox(const gsl_Point& low, const gsl_Point& high, double square) {
    for (unsigned axis = 0; axis < 3; ++axis)
      for (const bool upper : {false, true}) {
        const unsigned u = (axis + 1) % 3, v = (axis + 2) % 3;
        const auto count = [&](unsigned i) { return std::max(1, int((high[i] - low[i]) / square)); };
        AddGrid(count(u), count(v), [&](double s, double t) {
          gsl_Point p = low;
          if (upper) p[axis] = high[axis];
          p[u] += s * (high[u] - low[u]);
          p[v] += t * (high[v] - low[v]);
          return p;
        });
      }
  }
  void Move(const gsl_Matrix& matrix) { matrix.Transform(std::span<float>(xyz)); }
};

constexpr double kTurn = 2 * std::numbers::pi;
enum Shape { kSpheres, kTori, kCombs, kStraightCombs };

Set Sphere(std::size_t triangles) {
  Set set;
  const int n = static_cast<int>(std::sqrt(double(triangles) / 4));
  set.AddGrid(n, 2 * n, [](double s, double t) {
    const double r = std::sin(kTurn / 2 * s);
    return gsl_Point(r * std::cos(kTurn * t), r * std::sin(kTurn * t), std::cos(kTurn / 2 * s));
  });
  return set;
}

Set Torus(std::size_t triangles) {
  Set set;
  const int n = static_cast<int>(std::sqrt(double(triangles) / 6));
  set.AddGrid(n, 3 * n, [](double s, double t) {
    const double r = 1 + 0.3 * std::cos(kTurn * s);
    return gsl_Point(r * std::cos(kTurn * t), r * std::sin(kTurn * t), 0.3 * std::sin(kTurn * s));
  });
  return set;
}

/// Ten teeth of 1 x 10 x 8 on a plate; between the teeth is room for those of the other comb.
Set Comb(std::size_t triangles) {
  Set set;
  const double square = std::sqrt(2 * (10 * 376.0 + 900) / double(triangles));
  set.AddBox(gsl_Point(0, 0, -2), gsl_Point(30, 10, 0), square);
  for (int i = 0; i < 10; ++i) set.AddBox(gsl_Point(3 * i, 0, 0), gsl_Point(3 * i + 1, 10, 8), square);
  return set;
}

struct Scene {
  Set fixed, movable;
  gsl_Vector direction;

  explicit Scene(const benchmark::State& state) : direction(0.1, 0.05, -1) {
    const auto triangles = static_cast<std::size_t>(state.range(0)) * 1000;
    gsl_Matrix place;
    switch (state.range(1)) {
    case kSpheres:
      fixed = Sphere(triangles);
      movable = fixed;
      place.SetTranslation(gsl_Vector(-0.3, 0.2, 3));
      break;
    case kTori:
      fixed = Torus(triangles);
      movable = fixed;
      place.AxisRotation(gsl_Point(), gsl_Vector(1, 0, 0), kTurn / 4);
      place.Concatenate([] {
        gsl_Matrix shift;
        shift.SetTranslation(gsl_Vector(1, 0, 0.1));
        return shift;
      }());
      break;
    default:
      fixed = Comb(triangles);
      movable = fixed;
      place.AxisRotation(gsl_Point(15, 5, 0), gsl_Vector(0, 1, 0), kTurn / 2); // teeth down
      place.Concatenate([] {
        gsl_Matrix shift;
        shift.SetTranslation(gsl_Vector(-0.5, 0.05, 11));
        return shift;
      }());
      direction = gsl_Vector(0, 0, -1);
    }
    movable.Move(place);
    if (state.range(1) == kStraightCombs) return;
    gsl_Matrix turn;
    turn.AxisRotation(gsl_Point(), gsl_Vector(3, 2, 1), 0.7);
    fixed.Move(turn);
    movable.Move(turn);
    turn.Transform(direction);
    direction = direction.UnitCopy();
  }
};

/// Runs the yardstick and the work in turn and reports the best of each.
template<class Work, class Yardstick>
void Compare(benchmark::State& state, const char* yardstickName, Work work, Yardstick yardstick) {
  double best = std::numeric_limits<double>::max(), bestYardstick = best;
  for (auto _ : state) {
    const omi_Stopwatch yardstickTime;
    yardstick();
    bestYardstick = std::min(bestYardstick, yardstickTime.Seconds());
    const omi_Stopwatch time;
    work();
    const double seconds = time.Seconds();
    best = std::min(best, seconds);
    state.SetIterationTime(seconds);
  }
  state.counters["us"] = 1e6 * best;
  state.counters[yardstickName] = 1e6 * bestYardstick;
  state.counters["ratio"] = bestYardstick / best;
}

struct Trees {
  gsl_TriangleTree fixed, movable;
  explicit Trees(const Scene& scene)
      : fixed(std::span<const float>(scene.fixed.xyz), scene.fixed.triangles, scene.direction),
        movable(std::span<const float>(scene.movable.xyz), scene.movable.triangles, scene.direction) {}
};

double Find(const Scene& scene, const Trees& trees) {
  gsl_Travel travel;
  const bool met = gsl_FindTravel(trees.fixed, trees.movable, scene.direction, travel);
  return met ? travel.distance : -1;
}

/// Along a direction that the trees do not stand along.
struct AcrossTrees {
  gsl_TriangleTree fixed, movable;
  explicit AcrossTrees(const Scene& scene)
      : fixed(std::span<const float>(scene.fixed.xyz), scene.fixed.triangles),
        movable(std::span<const float>(scene.movable.xyz), scene.movable.triangles) {}
};

double AllPairs(const Scene& scene) {
  const gsl_TravelFrame frame = gsl_FrameAlong(scene.direction);
  const auto inFrame = [&](const Set& set) {
    std::vector<gsl_TravelTriangle> all(set.NumTriangles());
    for (std::size_t i = 0; i < set.triangles.size(); ++i)
      gsl_ToFrame(frame, &set.xyz[3 * static_cast<std::size_t>(set.triangles[i])], all[i / 3].p[i % 3]);
    for (gsl_TravelTriangle& triangle : all) {
      triangle.FindBox();
      triangle.FindPlane();
    }
    return all;
  };
  const std::vector<gsl_TravelTriangle> fixed = inFrame(scene.fixed), movable = inFrame(scene.movable);
  gsl_TravelContact contact;
  for (const gsl_TravelTriangle& f : fixed)
    for (const gsl_TravelTriangle& m : movable) gsl_MeetTriangles(f, m, 1e-11, contact);
  return contact.distance;
}

void QueryAgainstAllPairs(benchmark::State& state) {
  const Scene scene(state);
  const Trees trees(scene);
  double found = 0, expected = 0;
  Compare(
      state, "all_pairs_us", [&] { found = Find(scene, trees); }, [&] { expected = AllPairs(scene); });
  if (std::fabs(found - expected) > 1e-9) state.SkipWithError("the travel is wrong");
}

#ifdef BENCH_HAS_EMBREE
/// A device on one thread that counts its memory, and two scenes.
class Embree {
public:
  Embree() : device_(rtcNewDevice("threads=1")) {
    rtcSetDeviceMemoryMonitorFunction(
        device_,
        [](void* self, ssize_t bytes, bool) {
          static_cast<Embree*>(self)->bytes_ += bytes;
          return true;
        },
        this);
  }
  Embree(const Embree&) = delete;
  Embree& operator=(const Embree&) = delete;
  ~Embree() {
    Release();
    rtcReleaseDevice(device_);
  }
  void Build(const Scene& scene) {
    Release();
    scenes_[0] = Add(scene.fixed);
    scenes_[1] = Add(scene.movable);
  }
  double Bytes() const { return double(bytes_); }
  double Travel(const Scene& scene) const {
    float best = std::numeric_limits<float>::infinity();
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    for (const bool fromFixed : {false, true}) {
      const Set& from = fromFixed ? scene.fixed : scene.movable;
      const float sign = fromFixed ? -1 : 1;
      for (std::size_t i = 0; i < from.xyz.size(); i += 3) {
        RTCRayHit ray{};
        ray.ray.org_x = from.xyz[i];
        ray.ray.org_y = from.xyz[i + 1];
        ray.ray.org_z = from.xyz[i + 2];
        ray.ray.dir_x = sign * float(scene.direction[0]);
        ray.ray.dir_y = sign * float(scene.direction[1]);
        ray.ray.dir_z = sign * float(scene.direction[2]);
        ray.ray.tfar = best;
        ray.ray.mask = ~0U;
        ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scenes_[fromFixed ? 1 : 0], &context, &ray);
        if (ray.hit.geomID != RTC_INVALID_GEOMETRY_ID) best = ray.ray.tfar;
      }
    }
    return best;
  }

private:
  RTCScene Add(const Set& set) {
    RTCGeometry geometry = rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, set.xyz.data(), 0, 12,
                               set.xyz.size() / 3);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, set.triangles.data(), 0,
                               12, set.NumTriangles());
    rtcCommitGeometry(geometry);
    RTCScene scene = rtcNewScene(device_);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene);
    return scene;
  }
  void Release() {
    for (RTCScene& scene : scenes_)
      if (scene) rtcReleaseScene(std::exchange(scene, nullptr));
  }
  RTCDevice device_;
  RTCScene scenes_[2] = {nullptr, nullptr};
  std::ptrdiff_t bytes_ = 0;
};

void BuildAgainstEmbree(benchmark::State& state) {
  const Scene scene(state);
  Embree embree;
  std::size_t bytes = 0;
  Compare(
      state, "embree_us",
      [&] {
        const Trees trees(scene);
        bytes = trees.fixed.Memory() + trees.movable.Memory();
      },
      [&] { embree.Build(scene); });
  state.counters["MB"] = 1e-6 * double(bytes);
  state.counters["embree_MB"] = 1e-6 * embree.Bytes();
}

template<class T> void QueryAgainstEmbree(benchmark::State& state) {
  const Scene scene(state);
  const T trees(scene);
  Embree embree;
  embree.Build(scene);
  double found = 0, rays = 0;
  Compare(
      state, "embree_us",
      [&] {
        gsl_Travel travel;
        found = gsl_FindTravel(trees.fixed, trees.movable, scene.direction, travel) ? travel.distance : -1;
      },
      [&] { rays = embree.Travel(scene); });
  state.counters["distance"] = found;
  state.counters["embree_distance"] = rays;
}
#endif

void Sizes(benchmark::internal::Benchmark* benchmark, std::int64_t largest) {
  for (const int shape : {kSpheres, kTori, kCombs, kStraightCombs})
    for (std::int64_t thousands = 1; thousands <= largest; thousands *= 10)
      benchmark->Args({thousands, shape});
  benchmark->UseManualTime()->Iterations(5)->Unit(benchmark::kMicrosecond);
}
} // namespace

BENCHMARK(QueryAgainstAllPairs)->Apply([](auto* b) { Sizes(b, 10); });
#ifdef BENCH_HAS_EMBREE
BENCHMARK(BuildAgainstEmbree)->Apply([](auto* b) { Sizes(b, 1000); });
BENCHMARK(QueryAgainstEmbree<Trees>)->Apply([](auto* b) { Sizes(b, 1000); });
BENCHMARK(QueryAgainstEmbree<AcrossTrees>)->Apply([](auto* b) { Sizes(b, 1000); });
#endif
