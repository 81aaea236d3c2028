// Results go with their mesh into the parts, and come back.
#include "RunOfMixedMesh.h"
#include "SplitTest.h"

#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <fstream>
#include <set>

namespace {
class SplitRuns : public Split {
protected:
  cow_String StoreWithRun(const bme_Mesh& mesh) const {
    const cow_String file = Store(mesh, MixedSets());
    cls_Database model = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
    PutRunOfMixedMesh(model, mesh);
    return file;
  }
  cow_String Faults(const cow_String& folder) const {
    cow_String text;
    for (const dst_Finding& finding : dst_Check(folder))
      if (finding.weight == cls_Finding::Weight::Fault && finding.className != "bme_ElementClass")
        text += finding.what + "\n";
    return text;
  }
};
} // namespace

TEST_F(SplitRuns, JoinToTheSameModelForAnyAssignment) {
  unsigned seed = 100;
  for (const Labelled labelled : {Labelled::Neither, Labelled::Both}) {
    const bme_Mesh mesh = MixedMesh(labelled);
    const unsigned numElements = mesh.ElementData().NumElements();
    const cow_String whole = StoreWithRun(mesh);
    const cls_Database model = cls_Database::Open(whole);
    const auto source = dst_ModelSource(model, "meshes/Wing");
    EXPECT_EQ(source->Facts().leftOut, std::vector<cow_String>{});
    for (const unsigned numParts : {1U, 3U, 8U, numElements}) {
      fs::remove_all(In("wing.split"));
      fs::remove(In("joined.cgdb"));
      dst_WriteSplit(*source, RandomParts(numElements, numParts, ++seed), numParts, In("wing.split"));
      dst_Join(dst_SplitFolder(In("wing.split")), In("joined.cgdb"));
      EXPECT_EQ(Differences(whole, In("joined.cgdb")), "") << numParts << " parts";
      fs::remove_all(In("again.split"));
      fs::remove(In("joined.cgdb"));
      const fs::path other = In("unpacked/notes.txt"); // a file of somebody else stays
      const bool hasOther = numParts == 3;
      fs::create_directories(other.parent_path());
      if (hasOther) std::ofstream(other) << "mine";
      dst_WriteSplit(*dst_SplitSource(dst_SplitFolder(In("wing.split")), In("unpacked")),
                     RandomParts(numElements, 5, seed), 5, In("again.split"));
      EXPECT_EQ(fs::exists(other), hasOther);
      fs::remove(other);
      EXPECT_EQ(fs::remove(other.parent_path()), hasOther); // nothing else was left in it
      dst_Join(dst_SplitFolder(In("again.split")), In("joined.cgdb"));
      EXPECT_EQ(Differences(whole, In("joined.cgdb")), "") << "split again from " << numParts << " parts";
    }
  }
}

TEST_F(SplitRuns, CheckComparesTheValuesOfAllHolders) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  const cls_Database whole = cls_Database::Open(StoreWithRun(mesh));
  const auto source = dst_ModelSource(whole, "meshes/Wing");
  const cow_String folder = In("wing.split");
  dst_WriteSplit(*source, RandomParts(mesh.ElementData().NumElements(), 4, 5), 4, folder);
  const dst_SplitFolder split(folder);
  EXPECT_EQ(Faults(folder).find("values of"), cow_String::npos) << Faults(folder);
  const auto change = [&](int variable, auto edit) {
    dst_OpenPart open = split.OpenPart(2, cls_Database::Mode::ReadWrite);
    const cow_String root = odiC_FieldRoot("results/Wing/a", 1, 2, variable);
    odiC_Field field = *open.model.Get<odiC_Field>(root);
    edit(field, *open.part);
    cls_WritePass pass(open.model);
    pass.Put(root, field);
    pass.Commit();
  };
  change(0, [](odiC_Field& field, const dst_Part& part) {
    std::vector<float> values(field.floats.Const().begin(), field.floats.Const().end());
    values[std::size_t{3} * part.SharedNodes()[3]] += 1;
    field.floats = odiC_Rows<float>(cow_ArrayCOW<float>(std::span<const float>(values)), 3);
  });
  EXPECT_NE(Faults(folder).find("has other values of U of results/Wing/a in part"), cow_String::npos)
      << Faults(folder);
  cls_Database model = cls_Database::Open(split.PartFile(1), cls_Database::Mode::ReadWrite);
  cls_WritePass pass(model);
  odiC_RemoveRun(model, pass, "results/Wing/a");
  pass.Commit();
  EXPECT_NE(Faults(folder).find("no run results/Wing/a"), cow_String::npos) << Faults(folder);
}

TEST_F(SplitRuns, OtherValuesAreAnotherSource) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  const cow_String file = StoreWithRun(mesh);
  const dst_SplitOptions options{.parts = 5, .memory = std::size_t{1} << 28};
  const auto split = [&] {
    const cls_Database model = cls_Database::Open(file);
    return dst_Split(*dst_ModelSource(model, "meshes/Wing"), In("wing.split"), options);
  };
  split();
  EXPECT_EQ(split().numKept, 5U);
  {
    cls_Database model = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
    odiC_RunWriter writer(model, "results/Wing/a", mesh);
    writer.BeginFrame({.value = 2});
    writer.PutField(1, 1, NumbersOf<double>(9, 7));
    writer.Commit();
  }
  EXPECT_NE(ThrownBy(split).find("source changed"), cow_String::npos);
}

TEST_F(SplitRuns, JoinOnlyWhatASetNeeds) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  const auto source = dst_MeshSource("Wing", mesh, MixedSets());
  const std::vector<unsigned> parts = RandomParts(mesh.ElementData().NumElements(), 5, 3);
  dst_WriteSplit(*source, parts, 5, In("wing.split"));
  const dst_SplitFolder split(In("wing.split"));
  for (const bme_NamedSet& set : MixedSets()) {
    fs::remove(In("set.cgdb"));
    const bme_Mesh joined = dst_JoinSet(split, dst_FindSet(split, set.name), In("set.cgdb"));
    const cls_Database model = cls_Database::Open(In("set.cgdb"));
    // by labels: each element has the nodes that it has in the whole, and the set has the same entries
    std::set<unsigned> elements, nodes;
    for (int i = 0; i < set.data.NumSubset(); ++i)
      for (const int id : set.data.SubSet(i).IdArray())
        (dst_SetFacts::IsOfNodes(set.data.SubSet(i)) ? nodes : elements).insert(static_cast<unsigned>(id));
    EXPECT_EQ(joined.ElementData().NumElements(), elements.size()) << set.name;
    unsigned at = 0;
    for (const unsigned element : elements) {
      const bme_ElementClass &type = mesh.ElementData().GetElemClass(element),
                             &own = joined.ElementData().GetElemClass(at);
      const int local = static_cast<int>(element) - type.FirstElementIndex(),
                ownLocal = static_cast<int>(at++) - own.FirstElementIndex();
      EXPECT_EQ(own.UserElementLabels()[static_cast<std::size_t>(ownLocal)],
                type.UserElementLabels()[static_cast<std::size_t>(local)]);
      const std::span<const int> row = type.Connectivity(local), ownRow = own.Connectivity(ownLocal);
      ASSERT_EQ(row.size(), ownRow.size());
      for (std::size_t k = 0; k < row.size(); ++k) {
        const auto node = static_cast<std::size_t>(row[k]), ownNode = static_cast<std::size_t>(ownRow[k]);
        EXPECT_EQ(joined.NodeData().UserNodeLabels().Const()[ownNode],
                  mesh.NodeData().UserNodeLabels().Const()[node]);
        EXPECT_EQ(joined.NodeData().Coordinates().Const()[3 * ownNode],
                  mesh.NodeData().Coordinates().Const()[3 * node]);
        nodes.insert(static_cast<unsigned>(node));
      }
    }
    EXPECT_EQ(joined.NodeData().NumNodes(), nodes.size()) << set.name;
    const auto stored = model.Get<rgnC_SetData>(dst_FindSet(split, set.name));
    for (int i = 0; i < set.data.NumSubset(); ++i) {
      EXPECT_EQ(stored->SubSet(i).NumItems(), set.data.SubSet(i).NumItems()) << set.name;
      EXPECT_TRUE(std::ranges::equal(stored->SubSet(i).FacetIdArray(), set.data.SubSet(i).FacetIdArray()));
    }
  }
  EXPECT_NE(ThrownBy([&] { dst_FindSet(split, "skim"); }).find("\"skim\""), cow_String::npos);
}
