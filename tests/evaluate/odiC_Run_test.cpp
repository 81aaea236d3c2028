#include "ThrownBy.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// `count` cubes in a row, of two types: the last one is another class.
bme_Mesh Row(int count) {
  std::vector<float> xyz;
  for (int i = 0; i <= count; ++i)
    for (const auto& [y, z] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}})
      xyz.insert(xyz.end(), {static_cast<float>(i), y, z});
  bme_MeshBuilder builder(xyz);
  const auto add = [&](const char* type, int first, int end) {
    std::vector<int> rows;
    for (int i = 4 * first; i < 4 * end; i += 4)
      for (const int k : {0, 4, 5, 1, 3, 7, 6, 2}) rows.push_back(i + k);
    builder.Add({type, rows});
  };
  add("C3D8", 0, count - 1);
  add("C3D8R", count - 1, count);
  return builder.Build();
}

class Runs : public testing::Test {
protected:
  explicit Runs(int numCubes = 4) : mesh_(Row(numCubes)) {
    file_ = fs::temp_directory_path() / ("runs" + std::to_string(::getpid()) + ".cgdb");
    fs::remove(file_);
    cls_Database model = cls_Database::Create(file_.string());
    cls_WritePass pass(model);
    pass.Put("meshes/Row", mesh_);
    pass.Commit();
  }
  ~Runs() override { fs::remove(file_); }
  cls_Database Open(cls_Database::Mode mode = cls_Database::Mode::ReadOnly) const {
    return cls_Database::Open(file_.string(), mode);
  }
  static constexpr const char* kRun = "results/Row/a";

  const DDB_CoreGeometry library_;
  bme_Mesh mesh_;
  fs::path file_;
};

template<class T> cow_ArrayCOW<T> Numbers(std::size_t count, double factor) {
  cow_ArrayCOW<T> values;
  for (std::size_t i = 0; i < count; ++i) {
    const T value = static_cast<T>(factor * (static_cast<double>(i % 1000) - 300));
    values.Append(std::span(&value, 1));
  }
  return values;
}

TEST_F(Runs, EveryTypePositionStorageAndPairReadsBackByAnyRange) {
  struct Case {
    res_DataTypeEnm type;
    res_OutputPositionEnm position;
    res_StorageTypeEnm storage;
    res_PairEnm pair;
  };
  std::vector<Case> cases;
  for (const omu_EnumEntry& type : omu_EnumTable<res_DataTypeEnm>::entries)
    for (const res_OutputPositionEnm position :
         {res_NODAL, res_ELEMENT_NODAL, res_INTEGRATION_POINT, res_WHOLE_ELEMENT})
      for (const res_StorageTypeEnm storage : {res_STORAGE_FLOAT, res_STORAGE_DOUBLE, res_STORAGE_INTEGER})
        for (const res_PairEnm pair : {res_NO_PAIR, res_REAL_AND_IMAGINARY})
          if ((type.value <= res_INTEGER) == (storage == res_STORAGE_INTEGER))
            cases.push_back({static_cast<res_DataTypeEnm>(type.value), position, storage, pair});
  cls_Database model = Open(cls_Database::Mode::ReadWrite);
  std::vector<std::vector<double>> wanted;
  {
    odiC_RunWriter run(model, kRun, mesh_);
    run.BeginStep("Pull", odiC_STATIC);
    run.BeginFrame({.value = 0.5});
    for (const Case& one : cases) {
      odiC_Variable variable("v" + std::to_string(wanted.size()), one.type, "MPa");
      variable.pair = one.pair;
      const int index = run.AddVariable(variable);
      const odiC_Layout layout = odiC_FullLayout(mesh_, one.position);
      const std::size_t count = static_cast<std::size_t>(layout.numRows) * variable.components.size()
                                * (variable.IsComplex() ? 2 : 1);
      const int places = run.AddLayout(layout);
      const auto put = [&](auto values) {
        wanted.emplace_back(values.Const().begin(), values.Const().end());
        run.PutField(index, places, values);
      };
      if (one.storage == res_STORAGE_FLOAT) put(Numbers<float>(count, 0.1));
      if (one.storage == res_STORAGE_DOUBLE) put(Numbers<double>(count, 0.1));
      if (one.storage == res_STORAGE_INTEGER) put(Numbers<int>(count, 1));
    }
    run.Commit();
  }
  const odiC_Run run = odiC_Run::Open(model, kRun);
  ASSERT_EQ(run.Header().variables.size(), cases.size());
  for (int i = 0; i < static_cast<int>(cases.size()); ++i) {
    odiC_FieldReader field = run.Field(0, 0, i);
    const std::vector<double>& all = wanted[static_cast<std::size_t>(i)];
    const auto width = static_cast<std::size_t>(field.NumComponents());
    ASSERT_EQ(static_cast<std::size_t>(field.NumRows()) * width, all.size());
    EXPECT_EQ(field.Low()[0], [&] {
      double low = all[0];
      for (std::size_t k = 0; k < all.size(); k += width) low = std::min(low, all[k]);
      return low;
    }());
    for (const long long first : {0LL, 1LL, field.NumRows() - 1}) {
      std::vector<double> values(static_cast<std::size_t>(field.NumRows() - first) * width);
      field.Read(first, values);
      EXPECT_TRUE(std::ranges::equal(values, std::span(all).subspan(static_cast<std::size_t>(first) * width)))
          << i << " from " << first;
    }
    std::vector<double> beyond(width);
    EXPECT_THROW(field.Read(field.NumRows(), beyond), odiC_Exception);
  }
}

class ManyCubes : public Runs {
protected:
  ManyCubes() : Runs(30000) {}
};

TEST_F(ManyCubes, RangesAcrossChunksAreThoseOfTheWholeArrayAndEqualArraysAreStoredOnce) {
  cls_Database model = Open(cls_Database::Mode::ReadWrite);
  const odiC_Layout layout = odiC_FullLayout(mesh_, res_INTEGRATION_POINT); // 8 points, and 1 of C3D8R
  const auto values = Numbers<float>(static_cast<std::size_t>(layout.numRows) * 6, 0.25);
  std::uintmax_t sizes[4];
  {
    odiC_RunWriter run(model, kRun, mesh_);
    const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL));
    const int places = run.AddLayout(layout);
    run.BeginStep("Pull");
    for (int frame = 0; frame < 4; ++frame) {
      run.BeginFrame({.value = 1.0 * frame});
      run.PutField(s, places, cow_ArrayCOW<float>(values.Const())); // another array with the same numbers
      run.Commit();
      sizes[frame] = fs::file_size(file_);
    }
  }
  EXPECT_LT(sizes[3] - sizes[0], values.Const().size_bytes() / 10) << "one array for four frames";
  odiC_RunWriter again(model, kRun, mesh_); // goes on with the run
  again.BeginFrame({.value = 5});
  again.PutField(0, 0, Numbers<float>(values.Size(), 0.5));
  again.Commit();
  const odiC_Run run = odiC_Run::Open(model, kRun);
  EXPECT_EQ(run.Header().steps[0].NumFrames(), 5);
  odiC_FieldReader field = run.Field(0, 3, 0);
  rc::check("any range", [&] {
    const long long first = *rc::gen::inRange(0LL, field.NumRows());
    const long long rows = *rc::gen::inRange(0LL, std::min(field.NumRows() - first, 30000LL) + 1);
    std::vector<float> part(static_cast<std::size_t>(rows) * 6);
    field.Read(first, part);
    RC_ASSERT(
        std::ranges::equal(part, values.Const().subspan(static_cast<std::size_t>(first) * 6, part.size())));
  });
}

TEST_F(Runs, MissingAndInfiniteNumbersAreCounted) {
  cls_Database model = Open(cls_Database::Mode::ReadWrite);
  const double infinity = std::numeric_limits<double>::infinity();
  odiC_RunWriter run(model, kRun, mesh_);
  run.BeginStep("s");
  run.BeginFrame({});
  const int places = run.AddLayout(odiC_FullLayout(mesh_, res_WHOLE_ELEMENT)); // 4 elements
  const std::vector<std::vector<double>> cases = {{kNone, 2, -1, kNone},
                                                  {kNone, kNone, kNone, kNone},
                                                  {infinity, infinity, infinity, infinity},
                                                  {-infinity, 0, 1, 2}};
  for (const std::vector<double>& values : cases)
    run.PutField(
        run.AddVariable(odiC_Variable(std::string(run.Header().variables.size() + 1, 'd'), res_SCALAR)),
        places, cow_ArrayCOW<double>(values));
  const std::vector<int> whole = {odiC_kMissingInteger, 7, 7, 7};
  run.PutField(run.AddVariable(odiC_Variable("i", res_INTEGER)), places, cow_ArrayCOW<int>(whole));
  run.Commit();
  const odiC_Run read = odiC_Run::Open(model, kRun);
  const std::tuple<double, double, int> ranges[] = {
      {-1, 2, 2}, {kNone, kNone, 4}, {infinity, infinity, 0}, {-infinity, 2, 0}, {7, 7, 1}};
  for (int i = 0; i < 5; ++i) {
    odiC_FieldReader field = read.Field(0, 0, i);
    const auto& [low, high, count] = ranges[i];
    EXPECT_TRUE(field.Low()[0] == low || (std::isnan(low) && std::isnan(field.Low()[0]))) << i;
    EXPECT_TRUE(field.High()[0] == high || (std::isnan(high) && std::isnan(field.High()[0]))) << i;
    EXPECT_EQ(field.NumNotNumbers(), count) << i;
  }
  odiC_FieldReader field = read.Field(0, 0, 4);
  std::vector<double> first(1);
  field.Read(0, first);
  EXPECT_TRUE(std::isnan(first[0]));
}

TEST_F(Runs, WhatIsRefusedNamesThePlaceAndChangesNothing) {
  cls_Database model = Open(cls_Database::Mode::ReadWrite);
  odiC_RunWriter run(model, kRun, mesh_);
  const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL)),
            u = run.AddVariable(odiC_Variable("U", res_VECTOR)),
            status = run.AddVariable(odiC_Variable("STATUS", res_BOOLEAN));
  const int nodes = run.AddLayout(odiC_FullLayout(mesh_, res_NODAL));
  run.BeginStep("Pull");
  const auto zeros = [](std::size_t count) { return Numbers<float>(count, 0); };
  EXPECT_NE(ThrownBy([&] { run.PutField(s, nodes, zeros(120)); }), kNothingThrown) << "no frame yet";
  run.BeginFrame({.value = 2});
  run.PutField(u, nodes, zeros(60));
  odiC_Layout beyond = odiC_FullLayout(mesh_, res_NODAL);
  beyond.blocks[0].numEntities = beyond.numRows = 21;
  odiC_LayoutBlock falling;
  falling.position = res_WHOLE_ELEMENT;
  falling.classIndex = 0;
  falling.numEntities = 2;
  falling.entities = cow_ArrayCOW<int>(std::vector{1, 0});
  const cow_String place = file_.string() + ", results/Row/a, step \"Pull\", frame 0: ";
  const std::tuple<std::function<void()>, const char*> cases[] = {
      {[&] { run.PutField(s, nodes, zeros(119)); }, "S: 119 numbers for a layout of 120"},
      {[&] { run.PutField(u, nodes, zeros(60)); }, "U is in this frame already"},
      {[&] { run.PutField(s, 7, zeros(120)); }, "S: no layout 7"},
      {[&] { run.PutField(9, nodes, zeros(60)); }, "no variable 9"},
      {[&] { run.PutField(s, nodes, Numbers<int>(120, 1)); }, "S takes reals"},
      {[&] { run.PutField(status, nodes, zeros(20)); }, "STATUS takes whole numbers"},
      {[&] { run.BeginFrame({.value = 1}); }, "below"},
      {[&] { run.BeginStep("Pull"); }, "step \"Pull\" exists already"},
      {[&] { run.AddVariable(odiC_Variable("S", res_VECTOR)); }, "variable \"S\" exists with another type"},
      {[&] { run.AddLayout(beyond); }, "layout block 0 (NODAL): all of 21, and the mesh has 20"},
  };
  for (const auto& [call, told] : cases) {
    const cow_String message = ThrownBy<odiC_Exception>(call);
    EXPECT_TRUE(message.starts_with(place) && message.find(told) != cow_String::npos) << message;
  }
  odiC_Layout layout;
  EXPECT_EQ(ThrownBy([&] { layout.Add(falling); }),
            "layout block 0: entity 0 at position 1 does not follow the one before");
  run.Commit();
  const odiC_Run read = odiC_Run::Open(model, kRun);
  EXPECT_EQ(read.Header().steps[0].NumFrames(), 1);
  EXPECT_FALSE(read.HasField(0, 0, s));
  EXPECT_NE(ThrownBy<odiC_Exception>([&] { read.VariableIndex("s"); }).find("did you mean S"),
            cow_String::npos);
  EXPECT_NE(ThrownBy<odiC_Exception>([&] { read.FrameIndex(0, 1); }).find("0 to 0 exist"), cow_String::npos);
  EXPECT_NE(ThrownBy<odiC_Exception>([&] { read.Field(0, 0, s); }).find("has no S, nor has another one"),
            cow_String::npos);
  const bme_Mesh other = Row(5);
  EXPECT_NE(ThrownBy<odiC_Exception>([&] { odiC_RunWriter(model, kRun, other); }), kNothingThrown);
  cls_WritePass pass(model);
  pass.Put("meshes/Row", other);
  pass.Commit();
  EXPECT_NE(
      ThrownBy<odiC_Exception>([&] { odiC_Run::Open(model, kRun).Mesh(); }).find("meshes/Row has 24 nodes"),
      cow_String::npos);
}

TEST_F(Runs, PresentBitsSurviveVariablesThatComeLater) {
  odiC_Step step;
  step.name = "s";
  std::vector<std::vector<bool>> wanted;
  for (int frame = 0; frame < 40; ++frame) {
    const int numVariables = 1 + 3 * frame;
    step.Add({.value = 1.0 * frame}, numVariables);
    wanted.emplace_back(200);
    for (int v = frame % 3; v < numVariables; v += 5) {
      step.SetPresent(frame, v, numVariables);
      wanted.back()[static_cast<std::size_t>(v)] = true;
    }
  }
  for (int frame = 0; frame < 40; ++frame)
    for (int v = 0; v < 200; ++v)
      EXPECT_EQ(step.Has(frame, v), wanted[static_cast<std::size_t>(frame)][static_cast<std::size_t>(v)]);
}
} // namespace
