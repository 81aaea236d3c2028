// A split model is the mesh that it was made from, whatever element went to which part.
#include "MixedMesh.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_Diff.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <filesystem>
#include <set>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
class Split : public testing::Test {
protected:
  Split() { fs::create_directories(folder_); }
  ~Split() override { fs::remove_all(folder_); }
  cow_String In(const char* name) const { return (folder_ / name).string(); }
  cow_String Store(const bme_Mesh& mesh, const std::vector<bme_NamedSet>& sets) const {
    fs::remove(In("whole.cgdb"));
    cls_CreateModel(In("whole.cgdb"), {}, [&](const cls_Database&, cls_WritePass& pass) {
      pass.Put("meshes/Wing", mesh);
      for (const bme_NamedSet& set : sets) bme_PutSet(pass, "Wing", set);
    });
    return In("whole.cgdb");
  }

  const DDB_CoreGeometry library_;
  const dst_Library distributed_;
  fs::path folder_ = fs::temp_directory_path() / ("split_" + std::to_string(getpid()));
};

/// What differs, as text.
cow_String Differences(const cow_String& a, const cow_String& b) {
  cow_String text;
  for (const cls_Difference& one : cls_Diff(cls_Database::Open(a), cls_Database::Open(b)))
    text += one.place + ": " + one.first + " | " + one.second + "\n";
  return text;
}

/// The parts that hold each node, as the assignment says.
std::vector<std::set<unsigned>> HoldersOf(const bme_Mesh& mesh, std::span<const unsigned> parts, unsigned numParts) {
  std::vector<std::set<unsigned>> holders(mesh.NodeData().NumNodes());
  unsigned element = 0;
  for (const auto& [index, elements] : mesh.ElementData().ElementClasses())
    for (int i = 0; i < elements->NumElements(); ++i, ++element)
      for (const int node : elements->Connectivity(i))
        if (node >= 0) holders[static_cast<std::size_t>(node)].insert(parts[element]);
  for (std::size_t i = 0; i < holders.size(); ++i)
    if (holders[i].empty()) holders[i].insert(static_cast<unsigned>(i * numParts / holders.size()));
  return holders;
}

void ExpectHolders(const dst_SplitFolder& split, const std::vector<std::set<unsigned>>& holders) {
  std::uint64_t numOwned = 0;
  for (unsigned p = 0; p < split.NumParts(); ++p) {
    const dst_OpenPart open = split.OpenPart(p);
    const dst_Part& part = *open.part;
    std::vector<unsigned> expected;
    for (unsigned node = 0; node < holders.size(); ++node)
      if (holders[node].contains(p)) expected.push_back(node);
    EXPECT_TRUE(std::ranges::equal(part.NodeNumbers(), expected));
    for (unsigned i = 0; i < part.NumNodes(); ++i) {
      std::set<unsigned> found{p};
      if (const unsigned shared = part.FindShared(i); shared != bme_kNotFound)
        for (const unsigned other : part.OtherHolders(shared)) found.insert(other);
      EXPECT_EQ(found, holders[part.NodeNumbers()[i]]);
      EXPECT_TRUE(found.contains(part.OwnerOfNode(i)));
    }
    numOwned += split.Index().Part(p).numOwned;
    EXPECT_EQ(part.Neighbours(), split.Index().Part(p).neighbours);
  }
  EXPECT_EQ(numOwned, holders.size());
}
} // namespace

TEST_F(Split, JoinsToTheSameModelForAnyAssignment) {
  unsigned seed = 0;
  for (const Labelled labelled : {Labelled::Neither, Labelled::Nodes, Labelled::Both}) {
    const bme_Mesh mesh = MixedMesh(labelled);
    const unsigned numElements = mesh.ElementData().NumElements();
    const auto source = dst_MeshSource("Wing", mesh, MixedSets());
    const cow_String whole = Store(mesh, MixedSets());
    for (const unsigned numParts : {1U, 2U, 3U, 4U, 7U, 8U, 27U, numElements}) {
      const std::vector<unsigned> parts = RandomParts(numElements, numParts, ++seed);
      fs::remove_all(In("wing.split"));
      // all in memory, and everything through files
      dst_WriteSplit(*source, parts, numParts, In("wing.split"),
                     {.memory = seed % 2 == 0 ? std::size_t{1} << 20 : 1});
      const dst_SplitFolder split(In("wing.split"));
      EXPECT_EQ(split.NumParts(), numParts);
      EXPECT_EQ(split.Index().HasElementLabels(), labelled == Labelled::Both);
      EXPECT_TRUE(split.Index().Box() == mesh.GetBBox());
      ExpectHolders(split, HoldersOf(mesh, parts, numParts));
      fs::remove(In("joined.cgdb"));
      dst_Join(split, In("joined.cgdb"));
      EXPECT_EQ(Differences(whole, In("joined.cgdb")), "") << numParts << " parts";
    }
  }
}
