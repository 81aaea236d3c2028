// The split of a mesh file is that of the model that an import makes of it.
#include "SplitTest.h"

#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_FileSource.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <exodusII.h>
#include <tools/ExodusWriter.h>

namespace {
constexpr unsigned kParts = 3;

void PutSideVariable(int file) {
  ASSERT_EQ(ex_put_variable_param(file, EX_SIDE_SET, 1), 0);
  ASSERT_EQ(ex_put_variable_name(file, EX_SIDE_SET, 1, "pressure"), 0);
  ASSERT_EQ(ex_put_variable_param(file, EX_NODAL, 3), 0);
  for (int i = 0; i < 3; ++i) {
    const std::string name = std::string("disp_") + "xyz"[i];
    ASSERT_EQ(ex_put_variable_name(file, EX_NODAL, i + 1, name.c_str()), 0);
  }
  for (int step = 1; step <= 2; ++step) {
    const double time = 0.5 * step;
    ASSERT_EQ(ex_put_time(file, step, &time), 0);
    const std::vector<double> onSides{1.5, -2.25, 3, 4.125 * step, 5};
    ASSERT_EQ(ex_put_var(file, step, EX_SIDE_SET, 1, 20, 5, onSides.data()), 0);
    for (int i = 1; i <= 3; ++i) {
      std::vector<double> values(26);
      for (std::size_t n = 0; n < values.size(); ++n) values[n] = static_cast<double>(n) / i + step;
      ASSERT_EQ(ex_put_var(file, step, EX_NODAL, i, 1, 26, values.data()), 0);
    }
  }
}

/// Solids, shells and lines, an empty block, a type without a shape, labels in any order, all kinds of sets, notes and
/// results.
ExodusMesh MixedFile() {
  ExodusMesh mesh;
  for (int i = 0; i < 12; ++i)
    for (const double x : {i / 4 + 0.1, (i % 4 == 1 || i % 4 == 2) + 0.1, (i % 4 > 1) + 0.1})
      mesh.xyz.push_back(x);
  for (int i = 12; i < 26; ++i)
    for (const double x : {0.3 * i, std::sin(1.7 * i), 5 + 0.01 * i * i}) mesh.xyz.push_back(x);
  mesh.blocks = {
      {7, "HEX8", 8, {1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8, 9, 10, 11, 12}, "solid", {1.5, 2.5}, {"weight"}},
      {3, "TETRA4", 4, {}},
      {9, "SHELL4", 4, {1, 2, 3, 4, 9, 10, 11, 12}, "", {0.1, 0.2}},
      {11, "PYRAMID13", 13, {13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25}},
      {12, "TRUSS", 2, {1, 26, 26, 13}},
      {13, "WHATEVER", 3, {1, 2, 3}}};
  for (int i = 0; i < 26; ++i) mesh.nodeLabels.push_back(i % 2 == 0 ? 2000000000 - i : 5 * i - 60);
  mesh.elementLabels = {40, 2, 1999999999, 100000000, 17, 5, 6, 7};
  mesh.sets = {{EX_NODE_SET, 4, "held", {9, 1, 1, 26}, {}, {0.5, 1, 2, 3}},
               {EX_NODE_SET, 5, "none", {}},
               {EX_SIDE_SET, 20, "pressed", {4, 1, 3, 3, 2}, {1, 6, 2, 4, 1}, {}},
               {EX_ELEM_SET, 30, "some", {8, 1, 5}, {}, {}}};
  mesh.title = "Mixed";
  mesh.more = PutSideVariable;
  return mesh;
}

class FileSource : public Split {
protected:
  static dst_SplitOptions Options() { return {.parts = kParts, .method = dst_Method::Curve}; }

  /// Imports a file into a model and splits that. Answers the failure.
  cow_String SplitImport(const cow_String& file, const fmt_ReadOptions& options = {}) const {
    try {
      const fmt_Format& format = fmt_Recognise(file);
      const fmt_Import import = fmt_ReadMesh(file, format, options);
      fs::remove(In("model.cgdb"));
      cls_Database model = cls_Database::Create(In("model.cgdb"));
      cls_WritePass pass(model);
      pass.Put("meshes/Wing", *import.mesh);
      for (const bme_NamedSet& set : import.sets) bme_PutSet(pass, "Wing", set);
      if (!import.notes.IsEmpty()) pass.Put(bme_kNotesFolder + cow_String("Wing"), import.notes);
      pass.Commit();
      if (format.readResults(file, import, nullptr, {}).numFrames > 0) {
        odiC_RunWriter run(model, "results/Wing/Wing", *import.mesh);
        run.HeaderToDescribe().description = import.title;
        format.readResults(file, import, &run, {});
      }
      dst_Split(*dst_ModelSource(model, "meshes/Wing"), In("model.split"), Options());
    } catch (const nex_TextException& failure) {
      return failure.Message();
    }
    return {};
  }

  cow_String SplitFile(const cow_String& file, const dst_FileOptions& options = {.mesh = "Wing"}) const {
    try {
      dst_Split(*dst_FileSource(file, options), In("file.split"), Options());
    } catch (const nex_TextException& failure) {
      return failure.Message();
    }
    return {};
  }

  void ExpectSameSplits() const {
    const dst_SplitFolder a(In("model.split")), b(In("file.split"));
    ASSERT_EQ(b.NumParts(), kParts);
    EXPECT_EQ(b.Index().Identity(), a.Index().Identity());
    EXPECT_EQ(b.Index().Origin().fingerprint, a.Index().Origin().fingerprint);
    for (unsigned p = 0; p < kParts; ++p)
      EXPECT_EQ(Differences(a.PartFile(p), b.PartFile(p)), "") << "part " << p;
    // the name of the source alone differs
    const auto besides = [](const cow_String& text) {
      return text.find("source") == cow_String::npos || std::ranges::count(text, '\n') > 1 ? text
                                                                                           : cow_String();
    };
    EXPECT_EQ(besides(Differences(a.IndexFile(), b.IndexFile())), "");
    for (const dst_Finding& finding :
         dst_Check(In("file.split"))) // some elements of the mesh are badly formed
      EXPECT_TRUE(finding.weight != cls_Finding::Weight::Fault || finding.className == "bme_ElementClass")
          << finding.what;
  }
};
} // namespace

TEST_F(FileSource, IsThatOfItsImport) {
  MixedFile().Write(In("mixed.exo"));
  ExodusMesh wide = MixedFile();
  wide.mode = EX_NETCDF4 | EX_ALL_INT64_DB;
  wide.elementLabels = {};
  wide.Write(In("wide.exo"));
  for (const cow_String& file : {cow_String(SAMPLE), In("mixed.exo"), In("wide.exo")}) {
    fs::remove_all(In("model.split"));
    fs::remove_all(In("file.split"));
    ASSERT_EQ(SplitImport(file), "") << file;
    ASSERT_EQ(SplitFile(file), "") << file;
    ExpectSameSplits();
  }
}

TEST_F(FileSource, RefusesWhatItsImportRefuses) {
  const std::pair<const char*, std::function<void(ExodusMesh&)>> faults[] = {
      {"node label 2000000000 is given twice, to nodes 1 and 9",
       [](ExodusMesh& m) { m.nodeLabels[8] = 2000000000; }},
      {"to block 7 (HEX8), element 2 and to block 13 (WHATEVER)",
       [](ExodusMesh& m) { m.elementLabels[7] = 2; }},
      {"label 3000000000 does not fit",
       [](ExodusMesh& m) {
         m.mode = EX_NETCDF4 | EX_ALL_INT64_DB;
         m.elementLabels[2] = 3000000000;
       }},
      {"element 2: node 99 is outside", [](ExodusMesh& m) { m.blocks[2].nodes[5] = 99; }},
      {"node set 4, entry 2: node 44", [](ExodusMesh& m) { m.sets[0].entries[1] = 44; }},
      {"does not fit single precision", [](ExodusMesh& m) { m.xyz[7] = 1e300; }},
      {"single precision collapses or turns inside out 4 elements", [](ExodusMesh& m) {
         for (std::size_t i = 0; i < 36; ++i) m.xyz[i] += 1e9;
       }}};
  for (const auto& [text, make] : faults) {
    ExodusMesh mesh = MixedFile();
    make(mesh);
    mesh.Write(In("bad.exo"));
    const cow_String wanted = SplitImport(In("bad.exo"));
    EXPECT_NE(wanted.find(text), cow_String::npos) << wanted;
    EXPECT_EQ(SplitFile(In("bad.exo")), wanted);
  }
}

TEST_F(FileSource, KeepsCoordinatesFromAnOffsetAndTellsWhatRoundingDoes) {
  ExodusMesh mesh = MixedFile();
  mesh.blocks.resize(1);
  mesh.xyz.resize(36);
  mesh.nodeLabels = mesh.elementLabels = {};
  mesh.sets = {};
  mesh.more = nullptr;
  mesh.blocks[0].nodes.insert(mesh.blocks[0].nodes.end(), mesh.blocks[0].nodes.begin(),
                              mesh.blocks[0].nodes.begin() + 8);
  mesh.blocks[0].attributes.push_back(1);
  for (double& x : mesh.xyz) x += 1e9;
  mesh.Write(In("far.exo"));
  fmt_ReadOptions reading;
  reading.chooseOffset = true;
  ASSERT_EQ(SplitImport(In("far.exo"), reading), "");
  ASSERT_EQ(SplitFile(In("far.exo"), {.mesh = "Wing", .chooseOffset = true}), "");
  ExpectSameSplits();
  const auto accepted = dst_FileSource(In("far.exo"), {.acceptDamage = true});
  ASSERT_EQ(accepted->Facts().warnings.size(), 2U);
  EXPECT_NE(accepted->Facts().warnings[0].find("12 nodes moved"), cow_String::npos)
      << accepted->Facts().warnings[0];
  EXPECT_NE(accepted->Facts().warnings[1].find("3 elements collapsed"), cow_String::npos);
}
