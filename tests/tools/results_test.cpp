// Results of the sample, whose stresses are known (200 MPa at the top edge), and exports of every kind of variable.
#include "ExodusWriter.h"
#include "ToolRun.h"
#include "VtuReader.h"

#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/exo_Results.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/odiC_Values.h>
#include <CoreGeometry/vtu_Write.h>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

namespace {
using nlohmann::json;

class SampleResults : public testing::Test {
protected:
  SampleResults() { EXPECT_EQ(RunTool({"import", SAMPLE, "-o", model_}).exitCode, 0); }
  const TestFolder folder_;
  const std::string model_ = folder_ / "m.cgdb";
};

TEST_F(SampleResults, KnownStressesAreFoundEverywhere) {
  const json worst = ToolFacts({"fields", model_, "stress", "--invariant", "mises", "--at-nodes", "--max"});
  EXPECT_NEAR(worst["max"]["value"].get<double>(), 200e6, 20);
  EXPECT_EQ(worst["max"]["frame"], 2);
  EXPECT_EQ(worst["choices"]["borders"], "category");
  // a node that is asked for has the mean of all elements around it
  const json all = ToolFacts({"fields", model_, "stress", "--component", "xx", "--at-nodes", "--limit", "0"});
  const json one =
      ToolFacts({"fields", model_, "stress", "--component", "xx", "--at-nodes", "--node", "1100"});
  for (const json& row : all["rows"]) {
    if (row["label"] != 1100) continue;
    EXPECT_EQ(row["values"], one["rows"][0]["values"]);
  }
  // linear in the height, exact along any line through the plate
  const json line = ToolFacts({"probe", model_, "stress", "--component", "xx", "--line",
                               "0.0012,0.011,0.0003:0.0047,0.017,0.0347:9", "--frame", "all"});
  EXPECT_EQ(line["rows"].size(), 27U);
  for (const json& row : line["rows"])
    EXPECT_NEAR(row["values"][0].get<double>(),
                row["frameValue"].get<double>() * (row["z"].get<double>() - 0.015) * 1e10, 200);
  // the mean of a linear field is its value at the centre of the volume
  const json measured = ToolFacts({"measure", model_, "--by", "class"});
  const json integral = ToolFacts(
      {"fields", model_, "stress", "--component", "xx", "--integral", "--class", "0", "--frame", "2"});
  const json& plate = integral["integral"][0];
  double volume = 0, height = 0;
  for (const json& part : measured["groups"])
    if (part["name"].get<std::string>().starts_with("class 0,")) {
      volume = part["volume"]["total"];
      height = part["volume"]["centre"][2];
    }
  EXPECT_NEAR(plate["measure"].get<double>(), volume, 1e-9 * volume);
  EXPECT_NEAR(plate["integrals"][0].get<double>() / volume, (height - 0.015) * 1e10, 100);
  const json flux = ToolFacts({"fields", model_, "disp", "--flux", "--set", "seat", "--frame", "2"});
  EXPECT_NEAR(flux["flux"][0]["area"].get<double>(), 0.04 * 0.03, 1e-9);
  const double k = 200e6 / (210e9 * 0.02),
               h = -0.015; // minus u_z, integrated over 0 to 0.04 and -0.015 to 0.015
  const double exact =
      -k / 2
      * (0.3 * (0.04 * 2 * std::pow(0.015, 3) / 3 - 0.04 * 0.03 * h * h) - 0.03 * std::pow(0.04, 3) / 3);
  EXPECT_NEAR(flux["flux"][0]["flux"].get<double>(), exact, 0.01 * std::abs(exact)); // linear between nodes
  const json history = ToolFacts({"history", model_, "disp", "--node", "1000,9438", "--component", "z"});
  EXPECT_EQ(history["columns"], json::parse(R"(["node 1000 z", "node 9438 z"])"));
  EXPECT_EQ(history["rows"].size(), 3U);
}

TEST_F(SampleResults, DerivedVariablesAndEnvelopesAreStored) {
  EXPECT_EQ(RunTool({"derive", model_, "utilisation", "stress.mises / 235e6", "--at-nodes"}).exitCode, 0);
  EXPECT_NEAR(ToolFacts({"fields", model_, "utilisation", "--max"})["max"]["value"].get<double>(),
              200.0 / 235, 1e-6);
  const ToolRun again = RunTool({"derive", model_, "utilisation", "T"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_EQ(RunTool({"envelope", model_, "stress", "--component", "xx", "--kind", "max", "--store", "worst"})
                .exitCode,
            0);
  // a step of its own does not hide the others, and frames and places of a formula need not be those of one variable
  EXPECT_EQ(ToolFacts({"fields", model_, "stress", "--limit", "1"})["rows"][0]["frame"], 2);
  EXPECT_EQ(ToolFacts({"derive", model_, "both", "stress.xx + 0 * disp.x", "--at-nodes"})["values"],
            3 * 1544);
  EXPECT_EQ(RunTool({"derive", model_, "large", "stress.xx * 1e40"}).exitCode, 0);
  EXPECT_NEAR(ToolFacts({"fields", model_, "large", "--max"})["max"]["value"].get<double>(), 1.947e48, 1e45);
  const json range =
      ToolFacts({"envelope", model_, "disp", "--component", "z", "--kind", "range", "--store", "way"});
  EXPECT_EQ(range["step"], "range of way");
  const std::pair<std::vector<std::string>, const char*> refused[] = {
      {{"derive", model_, "new", "stress.xx + worst"}, "no frame and place has values of all"},
      {{"derive", model_, "new", "disp.x", "--step", "1", "--value", "0.3,interpolated"},
       "between two frames"},
      {{"derive", model_, "new", "disp.x", "--component", "y"}, "--component"},
      {{"derive", model_, "new", "foo(disp.x)"}, "\n  foo(disp.x)\n  ^"},
      {{"fields", model_, "disp", "--component", "x", "--max", "-o", folder_ / "max.csv"}, "not extremes"},
      {{"fields", model_, "disp", "--component", "w"}, "frame 2, disp: disp has no component"},
      {{"fields", model_, "disp", "--invariant", "mises"}, "results/bracket/bracket: disp has no invariant"},
      {{"fields", model_, "disp", "--node", "5"},
       "results/bracket/bracket, step \"Step-1\", frame 2, disp: "}};
  for (const auto& [words, text] : refused) {
    const ToolRun run = RunTool(words);
    EXPECT_NE(run.exitCode, 0) << text;
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
  }
  const json stored = ToolFacts({"fields", model_, "worst", "--max"});
  EXPECT_NEAR(stored["max"]["value"].get<double>(), 194716880, 1);
  EXPECT_EQ(ToolFacts({"fields", model_, "worst frame", "--max"})["max"]["value"], 2);
  EXPECT_EQ(RunTool({"check", model_}).exitCode, 0);
}

TEST_F(SampleResults, FilesForOtherProgramsHaveThem) {
  EXPECT_EQ(RunTool({"export", model_, "-o", folder_ / "all.pvd"}).exitCode, 0);
  const Vtu last(folder_ / "all_0002.vtu");
  const std::vector<float> stress = last.Values<float>("stress"), points = last.Values<float>("Points");
  ASSERT_EQ(stress.size(), 6 * 1441U);
  EXPECT_NEAR(stress[0], (points[2] - 0.015) * 1e10, 20);
  EXPECT_EQ(RunTool({"export", model_, "-o", folder_ / "all.pvd"}).exitCode, 1); // there is one
  EXPECT_EQ(RunTool({"export", model_, "-o", folder_ / "own.vtu", "--separate"}).exitCode, 0);
  const Vtu own(folder_ / "own.vtu");
  EXPECT_EQ(own.Values<float>("stress").size(), 6 * own.NumPoints());
  EXPECT_EQ(own.Values<float>("disp").size(), 3 * own.NumPoints());
  EXPECT_EQ(RunTool({"export", model_, "-o", folder_ / "cells.vtu", "--as-cells"}).exitCode, 0);
  EXPECT_EQ(RunTool({"export", model_, "-o", folder_ / "nodes.exo", "--at-nodes"}).exitCode, 0);
  EXPECT_EQ(Vtu(folder_ / "cells.vtu").Values<float>("stress").size(), 6 * 945U);
  EXPECT_EQ(RunTool({"fields", model_, "stress", "-o", folder_ / "s.csv"}).exitCode, 0);
  std::ifstream csv(folder_ / "s.csv");
  std::string head;
  std::getline(csv, head);
  EXPECT_EQ(head, "step,frame,frameValue,position,label,point,sectionPoint,set,xx,yy,zz,xy,xz,yz\r");
}

/// Two cubes of two classes, with each kind of values that a file can hold.
class Cubes : public testing::Test {
protected:
  Cubes() {
    std::vector<float> xyz;
    for (int i = 0; i < 12; ++i)
      xyz.insert(xyz.end(), {static_cast<float>(i / 4), static_cast<float>((i + 1) / 2 % 2),
                             static_cast<float>(i / 2 % 2)});
    mesh_ = bme_MeshBuilder(xyz)
                .Add({"C3D8", {0, 4, 5, 1, 3, 7, 6, 2}})
                .Add({"C3D8R", {4, 8, 9, 5, 7, 11, 10, 6}})
                .Build();
    cls_CreateModel((folder_ / "m.cgdb"), {},
                    [&](const cls_Database&, cls_WritePass& pass) { pass.Put("meshes/m", mesh_); });
    model_.emplace(cls_Database::Open(folder_ / "m.cgdb", cls_Database::Mode::ReadWrite));
  }
  int Add(odiC_RunWriter& run, odiC_Variable variable, const odiC_Layout& layout, double first) {
    const int index = run.AddVariable(variable);
    std::vector<float> values;
    const std::size_t count = static_cast<std::size_t>(layout.numRows) * variable.components.size()
                              * (variable.IsComplex() ? 2 : 1);
    for (std::size_t i = 0; i < count; ++i)
      values.push_back(static_cast<float>(first + static_cast<double>(i)));
    run.PutField(index, run.AddLayout(layout), cow_ArrayCOW<float>(values));
    return index;
  }

  /// Values of the first cube alone.
  odiC_Layout OfFirst() const {
    odiC_Layout layout;
    layout.Add(odiC_FullLayout(mesh_, res_WHOLE_ELEMENT).blocks[0]);
    layout.completeness = res_PARTIAL_FIELD;
    return layout;
  }

  const DDB_CoreGeometry library_;
  const TestFolder folder_;
  bme_Mesh mesh_;
  std::optional<cls_Database> model_;
};

TEST_F(Cubes, EveryKindComesBackFromAnExodusFile) {
  odiC_Variable wave("wave", res_VECTOR);
  wave.pair = res_REAL_AND_IMAGINARY;
  {
    odiC_RunWriter run(*model_, "results/m/a", mesh_);
    run.BeginStep("Step-1");
    for (int frame = 0; frame < 2; ++frame) {
      run.BeginFrame({.value = frame + 1.0});
      Add(run, odiC_Variable("U", res_VECTOR), odiC_FullLayout(mesh_, res_NODAL), frame);
      Add(run, odiC_Variable("Q", res_TENSOR_3D_FULL), odiC_FullLayout(mesh_, res_WHOLE_ELEMENT),
          100 + frame);
      Add(run, odiC_Variable("P", res_TENSOR_3D_PLANAR), OfFirst(), 200 + frame);
      Add(run, wave, odiC_FullLayout(mesh_, res_NODAL), 300 + frame);
      Add(run, odiC_Variable("plain", res_SCALAR), odiC_FullLayout(mesh_, res_NODAL), 400 + frame);
      Add(run, odiC_Variable("corner", res_SCALAR), odiC_FullLayout(mesh_, res_ELEMENT_NODAL), 500 + frame);
    }
    run.Commit();
  }
  const odiC_Run run = odiC_Run::Open(*model_, "results/m/a");
  uti_OutputFile file(folder_ / "out.exo");
  const fmt_Ledger ledger = exo_WriteMesh(file, mesh_, {}, nullptr, &run);
  EXPECT_EQ(ledger.front().what, "values at ELEMENT_NODAL");
  const fmt_Import import = exo_ReadMesh(folder_ / "out.exo");
  odiC_RunWriter writer(*model_, "results/m/b", mesh_);
  exo_ReadResults(folder_ / "out.exo", import, &writer);
  const odiC_Run again = odiC_Run::Open(*model_, "results/m/b");
  ASSERT_EQ(again.Header().variables.size(), run.Header().variables.size() - 1);
  for (const odiC_Variable& variable : run.Header().variables) {
    if (variable.name == "corner") continue;
    const int index = again.VariableIndex(variable.name), before = run.VariableIndex(variable.name);
    EXPECT_TRUE(again.Header().variables[static_cast<std::size_t>(index)].IsLike(variable)) << variable.name;
    for (int frame = 0; frame < 2; ++frame) {
      odiC_FieldReader a = run.Field(0, frame, before), b = again.Field(0, frame, index);
      const auto count = static_cast<std::size_t>(a.NumRows() * a.NumComponents());
      ASSERT_EQ(a.NumRows(), b.NumRows()) << variable.name;
      std::vector<float> left(count), right(count);
      a.Read(0, left);
      b.Read(0, right);
      EXPECT_EQ(left, right) << variable.name << ", frame " << frame;
    }
  }
  uti_OutputFile averaged(folder_ / "averaged.exo");
  exo_WriteMesh(averaged, mesh_, {}, nullptr, &run, true);
  odiC_RunWriter last(*model_, "results/m/c", mesh_);
  exo_ReadResults(folder_ / "averaged.exo", import, &last);
  const odiC_Run third = odiC_Run::Open(*model_, "results/m/c");
  odiC_FieldReader corner = third.Field(0, 0, third.VariableIndex("corner"));
  std::vector<double> at(12);
  corner.Read(0, at);
  EXPECT_EQ(at[0], 500);
  EXPECT_EQ(at[4], 504.5); // 501 of the first cube and 508 of the second one, which are of one category
}

TEST_F(Cubes, TensorsOfVtkHaveYzBeforeXzAndMissingValuesAreNoNumbers) {
  {
    odiC_RunWriter run(*model_, "results/m/a", mesh_);
    run.BeginStep("Step-1");
    run.BeginFrame({});
    Add(run, odiC_Variable("S", res_TENSOR_3D_FULL), OfFirst(), 1);
    Add(run, odiC_Variable("A", res_TENSOR_3D_SURFACE), odiC_FullLayout(mesh_, res_WHOLE_ELEMENT), 1);
    run.Commit();
  }
  const odiC_Run run = odiC_Run::Open(*model_, "results/m/a");
  uti_OutputFile file(folder_ / "out.vtu");
  fmt_WriteOptions options;
  options.run = &run;
  vtu_WriteMesh(file, mesh_, {}, options);
  const Vtu vtu(folder_ / "out.vtu");
  const std::vector<float> s = vtu.Values<float>("S"), a = vtu.Values<float>("A");
  ASSERT_EQ(s.size(), 12U);
  EXPECT_EQ(std::vector<float>(s.begin(), s.begin() + 6), (std::vector<float>{1, 2, 3, 4, 6, 5}));
  for (std::size_t i = 6; i < 12; ++i) EXPECT_TRUE(std::isnan(s[i]));
  EXPECT_EQ(a, (std::vector<float>{1, 2, 0, 3, 0, 0, 4, 5, 0, 6, 0, 0})); // xx yy xy
}

TEST_F(Cubes, AsciiFilesHaveCoordinatesOfPlacedMeshes) {
  gsl_Matrix away;
  away.SetTranslation(gsl_Vector(0.5, 1000, 0));
  const bme_Mesh placed(1, new bme_NodeData(mesh_.NodeData()), new bme_ElementData(mesh_.ElementData()),
                        bme_NATIVE_MESH, &away);
  uti_OutputFile file(folder_ / "out.vtu");
  vtu_WriteMesh(file, placed, {}, exo_VtkWedges::Plain, fmt_Encoding::Ascii);
  const fmt_Import again = fmt_ReadMesh(folder_ / "out.vtu");
  const std::span<const float> before = mesh_.NodeData().Coordinates().Const(),
                               after = again.mesh->NodeData().Coordinates().Const();
  for (std::size_t i = 0; i < before.size(); ++i)
    EXPECT_EQ(after[i], before[i] + (i % 3 == 0 ? 0.5F : i % 3 == 1 ? 1000.F : 0.F));
}
} // namespace
