// What is wrong with a split model is found, in the same words and order, whoever looks at the parts.
#include "ExchangeUnderTest.h"
#include "PartArrays.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <functional>
#include <gtest/gtest.h>
#include <split/MixedMesh.h>

namespace {
namespace fs = std::filesystem;

class dst_CheckOfParts : public testing::Test {
protected:
  /// Faults of all ranks together, which one process finds alone, too.
  cow_String Faults() {
    const auto textOf = [](const std::vector<dst_Finding>& findings) {
      cow_String text;
      for (const dst_Finding& finding : findings)
        if (finding.weight == cls_Finding::Weight::Fault && finding.className != "bme_ElementClass")
          text += finding.file + ", " + finding.root + ": " + finding.what + "\n";
      return text;
    };
    cow_String text = textOf(dst_Check(folder_, *exchange_));
    EXPECT_EQ(text, textOf(dst_Check(folder_)));
    exchange_->Agree(); // nobody reads any more
    return text;
  }
  /// Splits the mesh anew, and changes it.
  void Write(const std::function<void(const dst_SplitFolder&)>& change) {
    exchange_->OnFirstRank([&] {
      fs::remove_all(folder_);
      const bme_Mesh mesh = MixedMesh(Labelled::Both);
      dst_WriteSplit(*dst_MeshSource("Wing", mesh, MixedSets()),
                     RandomParts(mesh.ElementData().NumElements(), 4, 5), 4, folder_);
      change(dst_SplitFolder(folder_));
    });
    exchange_->Agree();
  }

  const DDB_CoreGeometry library_;
  const dst_Library distributed_;
  const std::unique_ptr<dst_Exchange> exchange_ = MakeExchange();
  const cow_String folder_ = (TestFolder() / "check.split").string();
};
} // namespace

TEST_F(dst_CheckOfParts, NamesEveryFaultOfAPart) {
  Write([](const dst_SplitFolder&) {});
  const cow_String sound = Faults(); // of the mesh, which is meant to be awkward
  using Edit = std::function<void(bme_Mesh&, dst_Part&, rgnC_SetData&)>;
  const std::vector<std::pair<Edit, const char*>> cases = {
      {[](bme_Mesh& m, dst_Part& p, rgnC_SetData&) {
         m.NodeDataToModify().CoordinatesToModify()[std::size_t{3} * p.SharedNodes()[1]] += 1e-5F;
       },
       "has other coordinates in part"},
      {[](bme_Mesh& m, dst_Part& p, rgnC_SetData&) {
         std::vector<int> labels(m.NodeData().UserNodeLabels().Const().begin(),
                                 m.NodeData().UserNodeLabels().Const().end());
         labels[p.SharedNodes()[0]] = 123456;
         m.NodeDataToModify().SetUserNodeLabels(labels.data());
       },
       "has another label in part"},
      {[](bme_Mesh&, dst_Part& p, rgnC_SetData&) { p = EditedPart(p, WithoutFirstShared); }, "names others"},
      {[](bme_Mesh&, dst_Part& p, rgnC_SetData&) {
         p = EditedPart(p, [](dst_Part::Arrays& a) { a.nodeNumbers.Modify().back() = 100000; });
       },
       "is beyond"},
      {[](bme_Mesh&, dst_Part& p, rgnC_SetData&) {
         p = EditedPart(p, [](dst_Part::Arrays& a) { a.elementNumbers.Modify().back() = 100000; });
       },
       "is in no part"},
      {[](bme_Mesh&, dst_Part& p, rgnC_SetData&) {
         p = EditedPart(p, [](dst_Part::Arrays& a) { // the number of an element that another part has
           const std::span<unsigned> numbers = a.elementNumbers.Modify();
           std::size_t i = 0;
           while (numbers[i] + 1 == numbers[i + 1]) ++i;
           ++numbers[i];
         });
       },
       "and in one before it"},
      {[](bme_Mesh& m, dst_Part&, rgnC_SetData&) {
         for (float& x : m.NodeDataToModify().CoordinatesToModify()) x += 1;
       },
       "more faults of this kind: coordinates"},
      {[](bme_Mesh&, dst_Part&, rgnC_SetData& set) {
         rgnC_SetData changed = set.WithoutSubsets();
         changed.AppendSubset(set.SubSet(0).WithItems({}, {}));
         set = changed;
       },
       "times in the set \"sets/Wing/ascending\""},
      {[](bme_Mesh&, dst_Part& p, rgnC_SetData&) { p = dst_Part("other", p.Number(), 4, {}); },
       "of another split"},
      {[](bme_Mesh& m, dst_Part&, rgnC_SetData&) { m.NodeDataToModify().AppendNode(0, 0, 0, 999); },
       "was changed"}};
  for (const auto& [edit, wanted] : cases) {
    Write([&, &change = edit](const dst_SplitFolder& split) {
      dst_OpenPart open = split.OpenPart(2, cls_Database::Mode::ReadWrite);
      bme_Mesh changed = *open.mesh;
      rgnC_SetData set = *open.model.Get<rgnC_SetData>("sets/Wing/ascending");
      dst_Part facts = *open.part;
      change(changed, facts, set);
      cls_WritePass pass(open.model);
      pass.Put("meshes/Wing", changed);
      pass.Put("split/part", facts);
      pass.Put("sets/Wing/ascending", set);
      pass.Commit();
    });
    const cow_String found = Faults();
    EXPECT_NE(found.find(wanted), cow_String::npos) << wanted << "\n" << found;
    EXPECT_EQ(sound.find(wanted), cow_String::npos) << wanted;
  }
}

TEST_F(dst_CheckOfParts, NamesEveryFaultOfFiles) {
  using Edit = std::function<void(const dst_SplitFolder&)>;
  const std::vector<std::pair<Edit, const char*>> cases = {
      {[](const dst_SplitFolder& split) { fs::remove(split.PartFile(1)); }, "is missing; split again"},
      {[](const dst_SplitFolder& split) { fs::resize_file(split.PartFile(3), 20000); }, "00003.cgdb: "},
      {[](const dst_SplitFolder& split) {
         fs::copy_file(split.PartFile(2), split.PartFile(1), fs::copy_options::overwrite_existing);
       },
       "part 2"},
      {[](const dst_SplitFolder& split) { fs::remove(split.IndexFile()); }, "not finished"}};
  for (const auto& [edit, wanted] : cases) {
    Write(edit);
    const cow_String found = Faults();
    EXPECT_NE(found.find(wanted), cow_String::npos) << wanted << "\n" << found;
  }
}
