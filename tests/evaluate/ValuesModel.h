// ValuesModel.h: a small body with a run of results, for tests of what is read and computed
#pragma once

#include "ThrownBy.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/odiC_Values.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <unistd.h>

namespace fs = std::filesystem;
inline constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
inline constexpr int kCubes = 6, kShells = 3;

/// Six cubes in a row (C3D8), and three shells on top of the first ones (S4, category "skin").
inline bme_Mesh Body() {
  std::vector<float> xyz;
  for (int i = 0; i <= kCubes; ++i)
    for (const auto& [y, z] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}})
      xyz.insert(xyz.end(), {static_cast<float>(i), y, z});
  bme_MeshBuilder builder(xyz);
  std::vector<int> cubes, shells;
  for (int i = 0; i < kCubes; ++i)
    for (const int k : {0, 4, 5, 1, 3, 7, 6, 2}) cubes.push_back(4 * i + k);
  for (int i = 0; i < kShells; ++i)
    for (const int k : {3, 7, 6, 2}) shells.push_back(4 * i + k);
  builder.Add({"C3D8", cubes});
  builder.Add({.type = "S4", .connectivity = shells, .category = "skin"});
  return builder.Build();
}

template<class T> cow_ArrayCOW<T> Array(const std::vector<T>& values) {
  cow_ArrayCOW<T> array;
  array.Append(std::span<const T>(values));
  return array;
}

/// The quaternion of an element's axes in a frame; that of frame 1 has the other sign, which means the same turn.
inline std::array<double, 4> Turn(int frame, int element) {
  const double half = 0.1 * element + 0.02 * frame, sign = frame == 1 ? -1 : 1;
  return {sign * std::sin(half), 0, 0, sign * std::cos(half)};
}

/// A number for each row, frame and component, the same whenever it is asked for.
inline double Number(int frame, int row, int component) {
  return std::sin(12.9898 * row + 78.233 * component + 3.7 * frame) * 10;
}

/// A run with fields of all kinds on the body, in a file of its own for each test.
class Values : public testing::Test {
protected:
  Values() : mesh_(Body()) {
    file_ = fs::temp_directory_path() / ("values" + std::to_string(::getpid()) + ".cgdb");
    fs::remove(file_);
    cls_Database model = cls_Database::Create(file_.string());
    cls_WritePass pass(model);
    pass.Put("meshes/Body", mesh_);
    bme_PutSet(pass, "Body", "ends", bme_FEMNodeList(mesh_, {0, 1, 2, 3, 4, 5, 6, 7, 27}).ToSet());
    bme_PutSet(pass, "Body", "middle", bme_FEMElemList(mesh_, {2, 3, 7}).ToSet());
    bme_PutSet(pass, "Body", "left",
               bme_FEMFaceList(mesh_, {bme_FaceWord(0, 2, false), bme_FaceWord(1, 0, false)}).ToSet());
    for (const bool isBack : {false, true})
      bme_PutSet(pass, "Body", isBack ? "below" : "above",
                 bme_FEMFaceList(mesh_, {bme_FaceWord(kCubes, 0, isBack)}).ToSet());
    const dtu_DatumCsys axis(0, 0, gsl_Point(0, 0.5, -1), gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0),
                             gsl_Vector(0, 0, 1), dtu_CYLINDRICAL);
    pass.Put("datums/axis", axis);
    pass.Commit();
    WriteRun(model);
  }
  ~Values() override { fs::remove(file_); }

  void WriteRun(cls_Database& model) {
    odiC_RunWriter run(model, "results/Body/a", mesh_);
    odiC_Category skin;
    skin.name = "skin";
    skin.elementCategories = {"skin"};
    skin.sectionPoints = {"top", "bottom"};
    skin.offsets = {1, -1};
    run.AddCategory(skin);
    odiC_Layout points = odiC_FullLayout(mesh_, res_INTEGRATION_POINT);
    odiC_LayoutBlock shells = points.blocks[1];
    points = {};
    points.Add(odiC_FullLayout(mesh_, res_INTEGRATION_POINT).blocks[0]);
    for (const int point : {0, 1}) {
      shells.category = 0;
      shells.sectionPoint = point;
      points.Add(shells);
    }
    points.completeness = res_FULL_FIELD;
    odiC_PointSet set;
    set.name = "two";
    set.elemTypeLabel = "C3D8";
    set.count = 2;
    set.isoCoordinates = {0, 0, 0, 0.5, -0.5, 0.25};
    odiC_LayoutBlock two = odiC_FullLayout(mesh_, res_INTEGRATION_POINT).blocks[0];
    two.pointSet = run.AddPointSet(set);
    two.valuesPerEntity = set.count;
    odiC_Layout ofSet;
    ofSet.Add(two);
    const int atPointSet = run.AddLayout(ofSet);
    const int atPoints = run.AddLayout(points), atNodes = run.AddLayout(odiC_FullLayout(mesh_, res_NODAL)),
              atElements = run.AddLayout(odiC_FullLayout(mesh_, res_WHOLE_ELEMENT));
    const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL, "MPa")),
              u = run.AddVariable(odiC_Variable("U", res_VECTOR, "mm")),
              q = run.AddVariable(odiC_Variable("axes", res_QUATERNION_3D)),
              ofTwo = run.AddVariable(odiC_Variable("two", res_SCALAR)),
              count = run.AddVariable(odiC_Variable("N", res_INTEGER));
    odiC_Variable local("L", res_TENSOR_3D_FULL), wave("P", res_SCALAR);
    local.coordSystem = res_LOCAL;
    local.axes = "axes";
    wave.pair = res_MAGNITUDE_AND_PHASE;
    const int l = run.AddVariable(local), p = run.AddVariable(wave);
    const auto numbers = [](int frame, int rows, int width) {
      std::vector<double> all;
      for (int row = 0; row < rows; ++row)
        for (int k = 0; k < width; ++k) all.push_back(Number(frame, row, k));
      return all;
    };
    run.BeginStep("Pull", odiC_STATIC);
    for (int frame = 0; frame < 4; ++frame) {
      run.BeginFrame({.value = 0.1 * frame});
      std::vector<double> stress = numbers(frame, points.numRows, 6);
      if (frame == 2) stress[6 * 5] = kNone;
      run.PutField(s, atPoints, Array(stress));
      if (frame != 1) run.PutField(u, atNodes, Array(numbers(frame, 28, 3)));
      if (frame != 2) {
        std::vector<double> turns;
        for (int row = 0; row < kCubes + kShells; ++row)
          for (const double one : Turn(frame, row)) turns.push_back(one);
        run.PutField(q, atElements, Array(turns));
      }
      if (frame == 0) run.PutField(ofTwo, atPointSet, Array(numbers(0, ofSet.numRows, 1)));
      run.PutField(count, atElements, Array(std::vector<int>(kCubes + kShells, 10 * frame)));
      if (frame >= 2) run.PutField(l, atPoints, Array(numbers(9, points.numRows, 6)));
      std::vector<double> waves = numbers(frame, 28, 1);
      for (int row = 0; row < 28; ++row) waves.push_back(90 * frame); // degrees
      run.PutField(p, atNodes, Array(waves));
    }
    run.BeginStep("Modes", odiC_FREQUENCY, odiC_FREQUENCY_DOMAIN);
    for (int mode = 1; mode <= 2; ++mode) {
      run.BeginFrame({.value = 10.0 * mode, .mode = mode});
      run.PutField(u, atNodes, Array(numbers(mode + 10, 28, 3)));
    }
    run.Commit();
  }
  odiC_Run Open() {
    model_.emplace(cls_Database::Open(file_.string()));
    return odiC_Run::Open(*model_, "results/Body/a");
  }

  const DDB_CoreGeometry library_;
  bme_Mesh mesh_;
  fs::path file_;
  std::optional<cls_Database> model_;
};

inline std::vector<double> All(const odiC_Values& values, const odiC_When& when,
                               std::vector<int>* rows = nullptr) {
  const odiC_SourcePointer source = values.Open(when);
  std::vector<double> all;
  odiC_ForEachRange(*source, [&](const odiC_Range& range) {
    const auto width = static_cast<std::size_t>(source->NumComponents());
    for (const odiC_RowRun& run : range.rows)
      for (int row = run.first; row < run.End(); ++row) {
        const auto first = range.values.begin() + (row - range.firstRow) * static_cast<std::ptrdiff_t>(width);
        all.insert(all.end(), first, first + static_cast<std::ptrdiff_t>(width));
        if (rows) rows->push_back(row);
      }
  });
  return all;
}
inline std::vector<int> RowsOf(const odiC_Values& values) {
  std::vector<int> rows;
  All(values, values.Frames().front(), &rows);
  return rows;
}
