#include "ExodusWriter.h"
#include "ThrownBy.h"
#include "ToolRun.h"
#include "reliability/FaultyDisk.h"

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_Dump.h>
#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/odiC_Run.h>
#include <exodusII.h>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <numeric>
#include <sstream>
#include <sys/wait.h>

#ifdef __has_feature // of clang
#if __has_feature(address_sanitizer)
#define HAS_OTHER_HEAP // of which mallinfo2 knows nothing
#endif
#endif

namespace {
/// The number of a scalar at an entity in a frame; different everywhere.
double At(int kind, int scalar, int entity, int frame) {
  return 1000 * frame + 100 * kind + 10 * scalar + entity + 0.5;
}

struct Kind {
  ex_entity_type type;
  std::vector<std::string> names;
  std::vector<int> table;                            ///< by object, then by name
  std::vector<std::pair<std::int64_t, int>> objects; ///< identifier and number of entities
};

/// Two classes of hexahedra, C3D8 and C3D8 again, of two and one elements, with sets.
ExodusMesh Blocks() {
  ExodusMesh mesh = OneHex();
  const auto hex = mesh.blocks[0].nodes;
  mesh.blocks[0].nodes.insert(mesh.blocks[0].nodes.end(), hex.begin(), hex.end());
  mesh.blocks.push_back({8, "HEX8", 8, hex, "second"});
  mesh.sets = {{EX_NODE_SET, 3, "held", {7, 2, 5}},
               {EX_SIDE_SET, 4, "wet", {3, 1, 2}, {6, 5, 1}},
               {EX_ELEM_SET, 5, "some", {3, 1}}};
  return mesh;
}

/// The kinds of variables that the mesh can have, present by a pattern of bits.
std::vector<Kind> Kinds(unsigned pattern) {
  std::vector<std::string> elements = {"p", "s_xx", "s_yy", "s_zz", "s_xy", "s_yz", "s_zx"};
  for (int i = 1; i <= 8; ++i) elements.push_back("e_" + std::to_string(i));
  std::vector<int> table;
  for (const int block : {0, 1})
    for (std::size_t i = 0; i < elements.size(); ++i) // p, s and e in each block, or not
      table.push_back(static_cast<int>(pattern >> (3 * block + (i == 0 ? 0 : i < 7 ? 1 : 2)) & 1U));
  return {{EX_NODAL, {"u_x", "u_y", "u_z", "t"}, {}, {{0, 8}}},
          {EX_ELEM_BLOCK, elements, table, {{7, 2}, {8, 1}}},
          {EX_NODE_SET, {"f"}, {1}, {{3, 3}}},
          {EX_SIDE_SET, {"q"}, {1}, {{4, 3}}},
          {EX_ELEM_SET, {"d"}, {1}, {{5, 2}}}};
}

void WriteResults(int file, const std::vector<Kind>& kinds, const std::vector<double>& times) {
  ex_put_variable_param(file, EX_GLOBAL, 1);
  ex_put_variable_name(file, EX_GLOBAL, 1, "energy");
  for (const Kind& kind : kinds) {
    const int count = static_cast<int>(kind.names.size());
    ex_put_variable_param(file, kind.type, count);
    for (int i = 0; i < count; ++i)
      ex_put_variable_name(file, kind.type, i + 1, kind.names[static_cast<std::size_t>(i)].c_str());
    if (!kind.table.empty())
      ex_put_truth_table(file, kind.type, static_cast<int>(kind.objects.size()), count,
                         const_cast<int*>(kind.table.data()));
  }
  for (int frame = 0; frame < static_cast<int>(times.size()); ++frame) {
    ex_put_time(file, frame + 1, &times[static_cast<std::size_t>(frame)]);
    const double energy = 5 * frame;
    ex_put_var(file, frame + 1, EX_GLOBAL, 1, 1, 1, &energy);
    for (int k = 0; k < static_cast<int>(kinds.size()); ++k) {
      const Kind& kind = kinds[static_cast<std::size_t>(k)];
      int before = 0;
      for (std::size_t b = 0; b < kind.objects.size(); ++b) {
        for (std::size_t i = 0; i < kind.names.size(); ++i) {
          if (!kind.table.empty() && kind.table[b * kind.names.size() + i] == 0) continue;
          std::vector<double> values;
          for (int e = 0; e < kind.objects[b].second; ++e)
            values.push_back(At(k, static_cast<int>(i), before + e, frame));
          ex_put_var(file, frame + 1, kind.type, static_cast<int>(i) + 1, kind.objects[b].first,
                     kind.objects[b].second, values.data());
        }
        before += kind.objects[b].second;
      }
    }
  }
}

class ExodusResults : public testing::Test {
protected:
  void Write(const std::vector<Kind>& kinds, const std::vector<double>& times, ExodusMesh mesh = Blocks()) {
    mesh.more = [&](int file) { WriteResults(file, kinds, times); };
    mesh.Write(file_);
  }
  std::vector<double> Values(const odiC_Run& run, const cow_String& name, int frame, int step = 0) {
    odiC_FieldReader field = run.Field(step, frame, run.VariableIndex(name));
    std::vector<double> values(static_cast<std::size_t>(field.NumRows() * field.NumComponents()));
    field.Read(0, values);
    return values;
  }

  TestFolder folder_;
  std::string file_ = folder_ / "r.exo", model_ = folder_ / "r.cgdb";
  const DDB_CoreGeometry library_;
  static constexpr const char* kRun = "results/r/r";
};

TEST_F(ExodusResults, EveryKindComesInWhole) {
  Write(Kinds(0x3F), {0, 0.5, 2});
  const nlohmann::json facts = ToolFacts({"import", file_});
  EXPECT_EQ(facts["frames"], 3);
  for (const nlohmann::json& lost : facts["notCarried"])
    EXPECT_EQ(lost["what"].get<std::string>().find("variables"), std::string::npos);
  const cls_Database model = cls_Database::Open(model_);
  const odiC_Run run = odiC_Run::Open(model, kRun);
  for (const int frame : {0, 2}) {
    const std::vector<double> u = Values(run, "u", frame), s = Values(run, "s", frame),
                              e = Values(run, "e", frame);
    ASSERT_TRUE(u.size() == 24 && s.size() == 18 && e.size() == 24);
    for (int node = 0; node < 8; ++node)
      for (int k = 0; k < 3; ++k) EXPECT_EQ(u[static_cast<std::size_t>(3 * node + k)], At(0, k, node, frame));
    constexpr int kOrder[] = {1, 2, 3, 4, 6, 5}; // xx yy zz xy xz yz
    for (int element = 0; element < 3; ++element) {
      for (int k = 0; k < 6; ++k)
        EXPECT_EQ(s[static_cast<std::size_t>(6 * element + k)], At(1, kOrder[k], element, frame));
      for (int p = 0; p < 8; ++p)
        EXPECT_EQ(e[static_cast<std::size_t>(8 * element + p)], At(1, 7 + p, element, frame));
    }
    // nodes ascend: the second, the third and the first of the file
    EXPECT_EQ(Values(run, "f", frame),
              (std::vector{At(2, 0, 1, frame), At(2, 0, 2, frame), At(2, 0, 0, frame)}));
    EXPECT_EQ(Values(run, "q", frame),
              (std::vector{At(3, 0, 1, frame), At(3, 0, 2, frame), At(3, 0, 0, frame)}));
    EXPECT_EQ(Values(run, "d", frame), (std::vector{At(4, 0, 1, frame), At(4, 0, 0, frame)}));
  }
  const odiC_FieldReader wet = run.Field(0, 0, run.VariableIndex("q"));
  ASSERT_EQ(wet.Layout().blocks.size(), 2U) << "a block for each class";
  EXPECT_EQ(wet.Layout().blocks[0].region, "wet");
  EXPECT_EQ(wet.Layout().completeness, res_PARTIAL_FIELD);
  EXPECT_EQ(run.Field(0, 0, run.VariableIndex("u")).Layout().completeness, res_FULL_FIELD);
  EXPECT_EQ(run.History(0, 0).values, (std::vector<double>{0, 5, 10}));
  EXPECT_EQ(ToolFacts({"check", model_})["faults"], 0);
}

TEST_F(ExodusResults, TruthTablesOfAllPatterns) {
  Write(Kinds(0), {1});
  const fmt_Import import = fmt_ReadMesh(file_);
  cls_Database model = cls_Database::Create(model_);
  {
    cls_WritePass pass(model);
    pass.Put("meshes/r", *import.mesh);
    pass.Commit();
  }
  for (unsigned pattern = 1; pattern < 64; ++pattern) {
    Write(Kinds(pattern), {1});
    const cow_String root = odiC_Run::RootOf("meshes/r", std::to_string(pattern));
    odiC_RunWriter writer(model, root, *import.mesh);
    fmt_Find("exodus").readResults(file_, import, &writer, {});
    const odiC_Run run = odiC_Run::Open(model, root);
    const char* const names[] = {"p", "s", "e"};
    for (unsigned v = 0; v < 3; ++v) {
      std::vector<int> classes;
      for (const int block : {0, 1})
        if ((pattern >> (3U * static_cast<unsigned>(block) + v) & 1U) != 0) classes.push_back(block);
      const int index = run.Header().FindVariable(names[v]);
      ASSERT_EQ(index >= 0, !classes.empty()) << pattern << names[v];
      if (classes.empty()) continue;
      const odiC_FieldReader field = run.Field(0, 0, index);
      ASSERT_EQ(field.Layout().blocks.size(), classes.size());
      for (std::size_t b = 0; b < classes.size(); ++b)
        EXPECT_EQ(field.Layout().blocks[b].classIndex, classes[b]);
      const int first = classes[0] == 0 ? 0 : 2, scalar = v == 0 ? 0 : v == 1 ? 1 : 7;
      EXPECT_EQ(Values(run, names[v], 0)[0], At(1, scalar, first, 0));
    }
  }
}

TEST_F(ExodusResults, AppendedFramesMakeTheSameRunAndFallingTimesAnotherStep) {
  const std::vector<double> times = {0, 1, 2, 0.5, 0.75};
  Write(Kinds(0x3F), times);
  ToolFacts({"import", file_});
  ToolFacts({"import", file_, "-o", folder_ / "two.cgdb", "--frames", "0:1"});
  ToolFacts({"import", file_, "-o", folder_ / "two.cgdb", "--append"});
  EXPECT_EQ(RunTool({"diff", model_, folder_ / "two.cgdb"}).out, "no differences\n");
  const nlohmann::json fields = ToolFacts({"fields", model_})["runs"][0];
  ASSERT_EQ(fields["steps"].size(), 2U);
  EXPECT_EQ(fields["steps"][1]["values"], (std::vector<double>{0.5, 0.75}));
  const cls_Database model = cls_Database::Open(model_);
  EXPECT_EQ(Values(odiC_Run::Open(model, kRun), "t", 1, 1)[3], At(0, 3, 3, 4));
  const ToolRun other = RunTool({"import", file_, "-o", folder_ / "two.cgdb", "--append", "--frames", "1:2"});
  EXPECT_NE(other.err.find("not the first ones of this file"), std::string::npos) << other.err;
}

/// A hexahedron, a shell and a pyramid. A set has a node twice, another one faces and edges of the shell.
TEST_F(ExodusResults, OddSetsAndPyramidsAreToldApart) {
  ExodusMesh mesh = OneHex();
  mesh.blocks.push_back({8, "SHELL4", 4, {1, 2, 3, 4}});
  mesh.blocks.push_back({9, "PYRAMID", 5, {1, 2, 3, 4, 5}});
  mesh.sets = {{EX_NODE_SET, 3, "held", {7, 2, 7}}, {EX_SIDE_SET, 4, "rim", {2, 2, 2, 1}, {4, 1, 3, 6}}};
  std::vector<std::string> points;
  for (int i = 1; i <= 8; ++i) points.push_back("e_" + std::to_string(i));
  std::vector<int> table(24, 1);
  std::fill_n(table.begin() + 8, 8, 0);
  std::vector<Kind> kinds = {{EX_ELEM_BLOCK, points, table, {{7, 1}, {8, 1}, {9, 1}}},
                             {EX_NODE_SET, {"f"}, {1}, {{3, 3}}},
                             {EX_SIDE_SET, {"q"}, {1}, {{4, 4}}}};
  Write(kinds, {0}, mesh);
  const nlohmann::json facts = ToolFacts({"import", file_});
  const auto isTwice = [](const nlohmann::json& entry) {
    return entry["what"] == "entries that a set has twice" && entry["count"] == 1
           && entry["detail"] == "their first value is kept: held";
  };
  EXPECT_TRUE(std::ranges::any_of(facts["notCarried"], isTwice)) << facts["notCarried"];
  const cls_Database model = cls_Database::Open(model_);
  const odiC_Run run = odiC_Run::Open(model, kRun);
  EXPECT_EQ(Values(run, "f", 0), (std::vector{At(1, 0, 1, 0), At(1, 0, 0, 0)}));
  EXPECT_EQ(Values(run, "q", 0), (std::vector{At(2, 0, 3, 0), At(2, 0, 1, 0)})) << "faces";
  EXPECT_EQ(Values(run, "q (edges)", 0), (std::vector{At(2, 0, 2, 0), At(2, 0, 0, 0)}));
  const odiC_FieldReader rim = run.Field(0, 0, run.VariableIndex("q (edges)"));
  EXPECT_EQ(rim.Layout().blocks[0].faces, cow_ArrayCOW<int>(std::vector{0, 1})) << "facet ids of edges";
  // the pyramid is a collapsed hexahedron here, and its points are not those of one
  const odiC_FieldReader e = run.Field(0, 0, run.VariableIndex("e"));
  ASSERT_EQ(e.Layout().blocks.size(), 2U);
  EXPECT_EQ(e.Layout().blocks[0].pointSet, -1);
  EXPECT_EQ(e.Layout().blocks[1].pointSet, 0);
  EXPECT_TRUE(run.PointSet(0).isoCoordinates.empty() && run.PointSet(0).count == 8);
  std::fill_n(kinds[0].table.begin(), 8, 0); // no block that 8 points fit
  Write(kinds, {0}, mesh);
  EXPECT_EQ(ToolFacts({"import", file_, "--dry-run"})["variables"][0]["variable"], "e_1");
}

TEST_F(ExodusResults, KilledBeforeAnyWriteARunEndsWithAWholeFrameAndIsGoneOnWith) {
  Write(Kinds(0x3F), {0, 1, 0.5});
  const fmt_Import import = fmt_ReadMesh(file_);
  const std::string before = folder_ / "before.cgdb";
  {
    cls_Database model = cls_Database::Create(before, {1024});
    cls_WritePass pass(model);
    pass.Put("meshes/r", *import.mesh);
    pass.Commit();
  }
  const auto restore = [&] {
    for (const char* end : {"", "-journal"}) std::filesystem::remove(model_ + end);
    std::filesystem::copy_file(before, model_);
  };
  const auto carry = [&] {
    cls_Database model = cls_Database::Open(model_, cls_Database::Mode::ReadWrite);
    odiC_RunWriter run(model, kRun, *import.mesh);
    fmt_ResultsOptions options;
    options.passBytes = 1; // a pass for each frame
    fmt_Find("exodus").readResults(file_, import, &run, options);
  };
  const auto content = [&] {
    std::ostringstream text;
    cls_Dump(cls_Database::Open(model_), text);
    return text.str();
  };
  restore();
  carry();
  const std::string whole = content();
  int numKills = 0;
  std::set<int> seen; // frames that were left
  for (int nth = 1, code = 9; code == 9 && !HasFailure(); ++nth) {
    restore();
    const pid_t child = fork();
    if (child == 0) {
      const FaultyDisk disk(FaultyDisk::Fault::Kill, nth);
      carry();
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    code = WEXITSTATUS(status);
    numKills += code == 9;
    {
      const cls_Database model = cls_Database::Open(model_);
      EXPECT_TRUE(cls_Check(model).empty()) << nth;
      int frames = 0;
      if (model.Has(kRun)) {
        const odiC_Run run = odiC_Run::Open(model, kRun);
        for (int step = 0; step < static_cast<int>(run.Header().steps.size()); ++step)
          for (int at = 0; at < run.Header().steps[static_cast<std::size_t>(step)].NumFrames();
               ++at, ++frames)
            for (const odiC_Variable& variable : run.Header().variables)
              EXPECT_FALSE(Values(run, variable.name, at, step).empty()) << nth << variable.name;
      }
      seen.insert(frames);
    }
    carry();
    EXPECT_EQ(content() == whole, true) << "gone on with after a kill before change " << nth;
  }
  std::cout << "  " << numKills << " kills\n";
  EXPECT_EQ(seen, (std::set<int>{0, 1, 2, 3}));
}

/// The most memory of the C library's heap that was in use when the work looked for a wish to stop.
struct MemoryWatch : wip_WIPBase {
  static std::size_t InUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  }
  bool IsCancelled() override {
    most = std::max(most, InUse());
    return false;
  }
  std::size_t most = 0;
};

TEST_F(ExodusResults, MemoryIsThatOfOnePassWhateverTheSizeOfTheFile) {
  for (const int numElements : {40000, 160000}) { // 19 and 77 MB of results
    ExodusMesh mesh = OneHex();
    const std::vector<std::int64_t> hex = mesh.blocks[0].nodes;
    for (int i = 1; i < numElements; ++i)
      mesh.blocks[0].nodes.insert(mesh.blocks[0].nodes.end(), hex.begin(), hex.end());
    mesh.singlePrecision = true;
    Kind kind{EX_ELEM_BLOCK, {}, std::vector<int>(10, 1), {{7, numElements}}};
    for (char c = 'a'; c < 'k'; ++c) kind.names.push_back({c});
    std::vector<double> times(12);
    std::iota(times.begin(), times.end(), 0);
    Write({kind}, times, mesh);
    const fmt_Import import = fmt_ReadMesh(file_);
    std::filesystem::remove(model_);
    cls_Database model = cls_Database::Create(model_);
    odiC_RunWriter run(model, kRun, *import.mesh);
    MemoryWatch watch;
    const std::size_t before = MemoryWatch::InUse();
    thr_ThreadSingleton<wip_WIP>::Instance().SetSink(&watch);
    const fmt_ResultsSummary done = fmt_Find("exodus").readResults(file_, import, &run, {});
    thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr);
    EXPECT_EQ(done.numNewFrames, 12);
    EXPECT_LE(watch.most - std::min(before, watch.most), std::size_t{64} << 20U) << numElements;
#ifndef HAS_OTHER_HEAP
    EXPECT_GE(watch.most - before, std::size_t{16} << 20U) << "the watch sees what waits for a pass";
#endif
  }
}

TEST_F(ExodusResults, RunsGoWithTheirMesh) {
  Write(Kinds(0x3F), {0, 1});
  ToolFacts({"import", file_});
  ToolFacts({"import", file_, "--force", "--no-results"}); // the same sizes: the run stays
  EXPECT_EQ(ToolFacts({"fields", model_})["runs"].size(), 1U);
  const std::string lone = folder_ / "lone.cgdb";
  std::filesystem::copy_file(model_, lone);
  {
    cls_Database model = cls_Database::Open(lone, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(model);
    pass.Remove("meshes/r");
    pass.Commit();
  }
  const ToolRun check = RunTool({"check", lone});
  EXPECT_EQ(check.exitCode, 1);
  EXPECT_NE(check.out.find("results/r/r: its mesh meshes/r is not in the model"), std::string::npos)
      << check.out;
  OneHex().Write(folder_ / "other.exo");
  const ToolRun other = RunTool({"import", folder_ / "other.exo", "-o", model_, "--name", "r", "--force"});
  EXPECT_NE(other.err.find("results/r/r is removed: it is of a mesh of other sizes or types"),
            std::string::npos);
  EXPECT_TRUE(ToolFacts({"fields", model_})["runs"].empty());
  EXPECT_EQ(ToolFacts({"check", model_})["faults"], 0);
}

TEST_F(ExodusResults, ArgumentsChooseAndDryRunsStoreNothing) {
  Write(Kinds(0x3F), {0, 1});
  const nlohmann::json planned =
      ToolFacts({"import", file_, "--dry-run", "--no-group", "u", "--group", "G=t,u_x,u_y"});
  std::vector<std::string> names;
  for (const nlohmann::json& variable : planned["variables"]) names.push_back(variable["variable"]);
  EXPECT_EQ(names, (std::vector<std::string>{"G", "u_z", "p", "s", "e", "f", "q", "d"}));
  EXPECT_FALSE(std::filesystem::exists(model_));
  ToolFacts({"import", file_, "--variables", "t,s", "--storage", "double", "--run", "short", "--step-kind",
             "static", "--frames", "-1", "--point-order", "2,1,3,4,5,6,7,8"});
  const nlohmann::json fields = ToolFacts({"fields", model_})["runs"][0];
  EXPECT_EQ(fields["run"], "results/r/short");
  EXPECT_EQ(fields["steps"][0]["kind"], "STATIC");
  EXPECT_EQ(fields["variables"].size(), 2U);
  EXPECT_EQ(fields["variables"][0]["storage"], std::vector<std::string>{"DOUBLE"});
  // what is wrong is told before anything is stored
  const std::tuple<const char*, const char*, int, const char*> refused[] = {
      {"--frames", "a", 2, "FIRST:LAST"},
      {"--point-order", "1,1", 2, "each point from 1 once"},
      {"--group", "N", 2, "NAME=a,b,c"},
      {"--step-kind", "wild", 2, "no kind of step"},
      {"--run", "a/b", 2, "has no /"},
      {"--frames", "0:9", 1, "it has 0 to 1"},
      {"--variables", "t,u_w", 1, "no variable \"u_w\"; did you mean u_x"},
      {"--no-group", "stres", 1, "no variable \"stres\""},
      {"--group", "G=t,u_w,u_y", 1, "no variable \"u_w\""},
      {"--point-order", "2,1,3", 1, "the order of 3 points"}};
  for (const auto& [option, word, exitCode, text] : refused) {
    const ToolRun run = RunTool({"import", file_, "-o", folder_ / "no.cgdb", option, word});
    EXPECT_EQ(run.exitCode, exitCode) << word;
    EXPECT_NE(run.err.find(text), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "no.cgdb")) << word;
  }
}
} // namespace
