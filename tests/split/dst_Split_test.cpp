// A split model is the mesh that it was made from, whatever element went to which part.
#include "SplitTest.h"

#include <BasicUtils/cls_Dump.h>
#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <csignal>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <sys/wait.h>

namespace {
/// The parts that hold each node, as the assignment says.
std::vector<std::set<unsigned>> HoldersOf(const bme_Mesh& mesh, std::span<const unsigned> parts,
                                          unsigned numParts) {
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
    const auto inMemory = dst_MeshSource("Wing", mesh, MixedSets());
    const cow_String whole = Store(mesh, MixedSets());
    const cls_Database model = cls_Database::Open(whole);
    for (const unsigned numParts : {1U, 2U, 3U, 4U, 7U, 8U, 27U, numElements}) {
      const std::vector<unsigned> parts = RandomParts(numElements, numParts, ++seed);
      const auto stored = dst_ModelSource(model, "meshes/Wing");
      const dst_Source& source = seed % 3 == 0 ? *stored : *inMemory;
      EXPECT_EQ(stored->Facts().leftOut, std::vector<cow_String>{});
      fs::remove_all(In("wing.split"));
      // all in memory, and everything through files
      dst_WriteSplit(source, parts, numParts, In("wing.split"),
                     {.memory = seed % 2 == 0 ? std::size_t{1} << 20 : 1});
      const dst_SplitFolder split(In("wing.split"));
      EXPECT_EQ(split.NumParts(), numParts);
      EXPECT_EQ(split.Index().HasElementLabels(), labelled == Labelled::Both);
      EXPECT_TRUE(split.Index().Box() == mesh.GetBBox());
      ExpectHolders(split, HoldersOf(mesh, parts, numParts));
      fs::remove(In("joined.cgdb"));
      if (seed % 4 == 1) { // split once more
        fs::remove_all(In("again.split"));
        dst_WriteSplit(*dst_SplitSource(split), RandomParts(numElements, 5, seed), 5, In("again.split"));
        dst_Join(dst_SplitFolder(In("again.split")), In("joined.cgdb"));
      } else {
        dst_Join(split, In("joined.cgdb"));
      }
      EXPECT_EQ(Differences(whole, In("joined.cgdb")), "") << numParts << " parts";
    }
  }
}

TEST_F(Split, EveryMethodGivesBalancedPartsAndTheSameSplitAgain) {
  const bme_Mesh block = *MeshMaker().Box(24, 20, 16).Make(7);
  const cow_String whole = Store(block, {});
  const auto source = dst_MeshSource("Wing", block);
  for (const dst_Method method : {dst_Method::Auto, dst_Method::Metis, dst_Method::Curve}) {
    cow_String identity;
    for (const std::size_t memory : {std::size_t{64} << 20, std::size_t{1} << 30}) {
      fs::remove_all(In("wing.split"));
      const dst_SplitReport report = dst_Split(
          *source, In("wing.split"), {.parts = 30, .method = method, .chunks = 3, .memory = memory});
      EXPECT_LE(report.balance, 1.05);
      EXPECT_LE(report.copies, 0.5); // cubes of 256 elements have 0.36
      EXPECT_EQ(report.numChunks, method == dst_Method::Auto ? 3U : method == dst_Method::Metis ? 1U : 0U);
      EXPECT_FALSE(fs::exists(fs::path(In("wing.split")) / ".work"));
      cow_String hashes;
      for (unsigned part = 0; part < 30; ++part) hashes += report.index.Part(part).hash;
      if (identity.empty()) identity = hashes;
      EXPECT_EQ(hashes, identity) << "of other memory";
    }
    fs::remove(In("joined.cgdb"));
    dst_Join(dst_SplitFolder(In("wing.split")), In("joined.cgdb"));
    EXPECT_EQ(Differences(whole, In("joined.cgdb")), "");
  }
}

TEST_F(Split, AnyNumberOfPartsOfAMixedMesh) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  const auto source = dst_MeshSource("Wing", mesh, MixedSets());
  const unsigned numElements = mesh.ElementData().NumElements();
  for (const dst_Method method : {dst_Method::Auto, dst_Method::Metis, dst_Method::Curve})
    for (const unsigned numParts : {1U, 2U, 5U, 27U, numElements}) {
      fs::remove_all(In("wing.split"));
      const dst_SplitOptions options{
          .parts = numParts, .method = method, .weightNodes = numParts == 5, .memory = std::size_t{1} << 28};
      const dst_SplitReport report = dst_Split(*source, In("wing.split"), options);
      EXPECT_EQ(report.index.NumParts(), numParts);
      for (unsigned part = 0; part < numParts; ++part) EXPECT_GT(report.index.Part(part).numElements, 0U);
    }
  EXPECT_NE(ThrownBy([&] { dst_Split(*source, In("x.split"), {.parts = numElements + 1}); }).find("has only"),
            cow_String::npos);
}

TEST_F(Split, GoesOnWhereItStopped) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  const auto source = dst_MeshSource("Wing", mesh, MixedSets());
  const dst_SplitOptions options{.parts = 5, .memory = std::size_t{1} << 28};
  dst_Split(*source, In("wing.split"), options);
  const dst_SplitFolder split(In("wing.split"));
  const dst_Index index = split.Index();
  fs::remove(split.PartFile(3));
  fs::resize_file(split.PartFile(1), 20000);
  EXPECT_NE(ThrownBy([&] { split.OpenPart(3); }).find("is missing; split again"), cow_String::npos);
  EXPECT_EQ(dst_Split(*source, In("wing.split"), options).numKept, 3U);
  EXPECT_TRUE(dst_SplitFolder(In("wing.split")).Index() == index);
  fs::remove(split.IndexFile());
  EXPECT_NE(ThrownBy([&] { dst_SplitFolder(In("wing.split")); }).find("not finished: run it again"),
            cow_String::npos);
  dst_SplitOptions other = options;
  other.parts = 4;
  EXPECT_EQ(dst_Split(*source, In("wing.split"), options).numKept, 5U);
  EXPECT_NE(ThrownBy([&] { dst_Split(*source, In("wing.split"), other); }).find("other options"),
            cow_String::npos);
  const auto changed = dst_MeshSource("Wing", MixedMesh(Labelled::Nodes), MixedSets());
  EXPECT_NE(ThrownBy([&] { dst_Split(*changed, In("wing.split"), options); }).find("source changed"),
            cow_String::npos);
  other.doForce = true;
  EXPECT_EQ(dst_Split(*source, In("wing.split"), other).index.NumParts(), 4U);
}

TEST_F(Split, StoredClassesAreReadBackUnchanged) {
  const bme_Mesh mesh = MixedMesh(Labelled::Both);
  dst_ClassRange range(mesh.ElementData().GetClass(1));
  range.SetNumbers(0, 300);
  dst_Index index({"identity", "wing.exo", "fingerprint", "Wing", "metis", 7}, 4000000000U, true,
                  {&range, 1});
  dst_PartFacts facts{.numElements = 300, .numNodes = 40, .numOwned = 30, .numShared = 12};
  std::ranges::copy(std::array{1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F}, facts.box);
  facts.nodeLabels[1] = 40;
  facts.elementLabels[0] = -9;
  facts.neighbours = {0};
  facts.hash = "hash";
  index.AddPart(facts);
  index.AddSet("sets/Wing/skin", std::array<std::uint64_t, 2>{5000000000ULL, 0});
  index.SetBox(std::array{0.0F, 0.0F, 0.0F, 1.0F, 1.0F, 1.0F});
  const auto array = [](std::initializer_list<unsigned> values) {
    return cow_ArrayCOW<unsigned>(std::span(values.begin(), values.size()));
  };
  const dst_Part part("identity", 1, 3,
                      {array({4, 7, 4000000000U}), array({0, 2}), array({0, 2}), array({0, 2, 3}),
                       array({0, 2, 2}), array({3}), array({0, 2}), array({1, 0})});
  cls_CreateModel(In("one.cgdb"), {}, [&](const cls_Database&, cls_WritePass& pass) {
    pass.Put("index", index);
    pass.Put("part", part);
    pass.Put("range", range);
  });
  const cls_Database stored = cls_Database::Open(In("one.cgdb"));
  EXPECT_TRUE(*stored.Get<dst_Index>("index") == index);
  EXPECT_TRUE(*stored.Get<dst_Part>("part") == part);
  EXPECT_TRUE(*stored.Get<dst_ClassRange>("range") == range);
  EXPECT_TRUE(index.Part(0) == facts);
  EXPECT_EQ(index.NumEntries(0, 0), 5000000000ULL);
  EXPECT_EQ(part.FindNode(4000000000U), 2U);
  std::ostringstream dump;
  cls_Dump(stored, dump);
  std::ifstream file(cow_String(TEST_FILES) + "/split_classes.txt");
  const cow_String golden((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(dump.str(), golden);
}

TEST_F(Split, AKilledSplitGoesOnToTheSameOne) {
  const bme_Mesh mesh = *MeshMaker().Box(30, 30, 30).Make(7);
  const auto source = dst_MeshSource("Wing", mesh);
  const dst_SplitOptions options{.parts = 12, .chunks = 3, .memory = std::size_t{1} << 26};
  const dst_Index whole = dst_Split(*source, In("whole.split"), options).index;
  int numKilled = 0;
  for (int milliseconds = 5; milliseconds < 20000; milliseconds += milliseconds / 2) {
    const pid_t child = fork();
    if (child == 0) {
      dst_Split(*source, In("wing.split"), options);
      _exit(0);
    }
    usleep(static_cast<useconds_t>(milliseconds) * 1000);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSIGNALED(status)) break;
    ++numKilled;
    const bool isFinished = fs::exists(dst_SplitFolder::IndexFile(In("wing.split")));
    EXPECT_TRUE(!isFinished || dst_SplitFolder(In("wing.split")).Index() == whole); // nothing else is a model
  }
  EXPECT_GT(numKilled, 2);
  EXPECT_EQ(dst_Split(*source, In("wing.split"), options).numKept, 12U);
  EXPECT_TRUE(dst_SplitFolder(In("wing.split")).Index() == whole);
}
