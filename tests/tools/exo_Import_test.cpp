// What an Exodus II file becomes, and what is refused.
#include "ExodusWriter.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreUtils/omi_Duplicates.h>
#include <ThrownBy.h>
#include <exodusII.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <netcdf.h>
#include <random>
#include <unistd.h>

namespace {
class ExodusImport : public testing::Test {
protected:
  fmt_Import Import(const ExodusMesh& mesh) {
    mesh.Write(file_);
    return exo_ReadMesh(file_, {.types = types_});
  }
  std::string Failure(const ExodusMesh& mesh) {
    mesh.Write(file_);
    return FailureOfFile();
  }
  std::string FailureOfFile() {
    const std::string text = ThrownBy([&] { exo_ReadMesh(file_, {.types = types_}); }), start = file_ + ": ";
    EXPECT_TRUE(text.starts_with(start)) << text;
    return text.substr(std::min(text.size(), start.size()));
  }
  static long long Count(const fmt_Import& import, const std::string& what) {
    for (const fmt_LedgerEntry& entry : import.ledger)
      if (entry.what == what) return entry.count;
    return 0;
  }

  const DDB_CoreGeometry library_;
  const TestFolder folder_;
  const std::string file_ = folder_ / "mesh.exo";
  exo_TypeMap types_;
};

/// A HEX8 block on the cube and a block of two TRUSS2 on its edges.
ExodusMesh HexAndTrusses() {
  ExodusMesh mesh = OneHex();
  mesh.blocks.push_back({9, "TRUSS", 2, {1, 2, 2, 3}});
  return mesh;
}

TEST_F(ExodusImport, ReadsTheSameMeshFromEveryVariantOfTheFormat) {
  for (const int mode : {0, EX_LARGE_MODEL, EX_NETCDF4, EX_NETCDF4 | EX_NOCLASSIC | EX_ALL_INT64_DB}) {
    for (const bool single : {false, true}) {
      SCOPED_TRACE(std::to_string(mode) + (single ? " single" : " double"));
      ExodusMesh mesh = HexAndTrusses();
      mesh.mode = mode;
      mesh.singlePrecision = single;
      mesh.nodeLabels = {80, 70, 60, 50, 40, 30, 20, 10};
      mesh.elementLabels = {300, 100, 200};
      const fmt_Import import = Import(mesh);
      const bme_NodeData& nodes = import.mesh->NodeData();
      const bme_ElementData& elements = import.mesh->ElementData();
      ASSERT_EQ(nodes.NumNodes(), 8U);
      EXPECT_TRUE(std::ranges::equal(nodes.Coordinates().Const(), mesh.xyz));
      EXPECT_EQ(nodes.GetMeshNodeIndex(60), 2U);
      ASSERT_EQ(elements.NumClasses(), 2U);
      EXPECT_EQ(elements.GetClass(0).ElemTypeLabel(), "C3D8");
      EXPECT_EQ(elements.GetClass(1).ElemTypeLabel(), "T3D2");
      EXPECT_TRUE(std::ranges::equal(elements.GetClass(1).Connectivity(1), std::vector{1, 2}));
      EXPECT_EQ(elements.GetMeshElemIndexFromLabel(200), 2U);
    }
  }
}

TEST_F(ExodusImport, StoresNodeLabelsAlwaysAndElementLabelsOnlyWhenTheyTellSomething) {
  fmt_Import import = Import(HexAndTrusses());
  EXPECT_EQ(import.mesh->NodeData().GetMeshNodeIndex(8), 7U);
  EXPECT_FALSE(import.mesh->ElementData().HasUserElementLabels());
  EXPECT_FALSE(import.mesh->ElementData().GetClass(0).HasUserElementLabels());

  ExodusMesh mesh = HexAndTrusses();
  mesh.elementLabels = {1, 3, 2};
  import = Import(mesh);
  EXPECT_TRUE(import.mesh->ElementData().HasUserElementLabels());
  EXPECT_EQ(import.mesh->ElementData().GetMeshElemIndexFromLabel(3), 1U);
}

TEST_F(ExodusImport, TakesLabelsOfTheSmallestAndLargestInt) {
  ExodusMesh mesh = HexAndTrusses();
  constexpr int kLow = std::numeric_limits<int>::min(), kHigh = std::numeric_limits<int>::max();
  mesh.nodeLabels = {kLow, kHigh, 0, -1, 4, 5, 6, 7};
  mesh.elementLabels = {kHigh, kLow, 0};
  const fmt_Import import = Import(mesh);
  EXPECT_EQ(import.mesh->NodeData().GetMeshNodeIndex(kLow), 0U);
  EXPECT_EQ(import.mesh->NodeData().GetMeshNodeIndex(kHigh), 1U);
  EXPECT_EQ(import.mesh->GetMeshElemIndexFromLabel(kHigh), 0U);
  EXPECT_EQ(import.mesh->GetMeshElemIndexFromLabel(kLow), 1U);
}

TEST_F(ExodusImport, PutsTitleAndBlockNameIntoTheCategoryLabel) {
  ExodusMesh mesh = HexAndTrusses();
  mesh.blocks[0].name = "cube";
  fmt_Import import = Import(mesh);
  EXPECT_EQ(import.mesh->ElementData().GetClass(0).CategoryLabel(), "cube");
  EXPECT_EQ(import.mesh->ElementData().GetClass(1).CategoryLabel(), "block 9");
  mesh.title = "Trial";
  import = Import(mesh);
  EXPECT_EQ(import.mesh->ElementData().GetClass(0).CategoryLabel(), "Trial/cube");
}

TEST_F(ExodusImport, KeepsTypesWithoutALabelAndBlocksWithoutElements) {
  ExodusMesh mesh = OneHex();
  mesh.blocks = {{1, "ROOF5", 5, {1, 2, 3, 4, 5}},
                 {2, "HEX8", 8, {}},
                 {3, "hex16", 8, {1, 2, 3, 4, 5, 6, 7, 8}}, // the count decides, not the name
                 {4, "S4", 3, {1, 2, 3}},                   // means four nodes here
                 {5, "C3D8R", 8, {1, 2, 3, 4, 5, 6, 7, 8}}};
  const fmt_Import import = Import(mesh);
  const bme_ElementData& elements = import.mesh->ElementData();
  ASSERT_EQ(elements.NumClasses(), 5U);
  EXPECT_EQ(elements.GetClass(0).ElemTypeLabel(), "ROOF5");
  EXPECT_FALSE(elements.GetClass(0).IsSupported());
  EXPECT_TRUE(std::ranges::equal(elements.GetClass(0).Connectivity(0), std::vector{0, 1, 2, 3, 4}));
  EXPECT_EQ(elements.GetClass(1).NumElements(), 0);
  EXPECT_EQ(elements.GetClass(2).ElemTypeLabel(), "C3D8");
  EXPECT_EQ(elements.GetClass(3).ElemTypeLabel(), "S4 (3 nodes)");
  EXPECT_FALSE(elements.GetClass(3).IsSupported());
  EXPECT_EQ(elements.GetClass(3).NumNodesPerElem(), 3);
  EXPECT_EQ(elements.GetClass(4).ElemTypeLabel(), "C3D8R");

  ExodusMesh plane;
  plane.dims = 2;
  plane.xyz = {0, 0, 2, 0, 2, 2, 0, 2, 1, 0, 2, 1, 1, 2, 0, 1, 1, 1};
  plane.blocks = {{1, "QUAD9", 9, {1, 2, 3, 4, 5, 6, 7, 8, 9}}};
  const fmt_Import inPlane = Import(plane);
  EXPECT_EQ(inPlane.mesh->NodeData().Dimension(), 2U);
  EXPECT_EQ(inPlane.mesh->ElementData().GetClass(0).ElemTypeLabel(), "QUAD9");
  EXPECT_FALSE(inPlane.mesh->ElementData().GetClass(0).IsSupported());
}

TEST_F(ExodusImport, ReadsAFileWithoutNodesOrElements) {
  const fmt_Import import = Import(ExodusMesh{});
  EXPECT_EQ(import.mesh->NodeData().NumNodes(), 0U);
  EXPECT_EQ(import.mesh->ElementData().NumElements(), 0U);
}

TEST_F(ExodusImport, GivesOtherLabelsOnRequest) {
  types_.Override("hex8=c3d8r");
  types_.Override("TETRA4=DC3D4");
  types_.Override("VOXEL8=C3D8I");
  ExodusMesh mesh = OneHex();
  mesh.blocks.push_back({2, "voxel", 8, mesh.blocks[0].nodes});
  const fmt_Import import = Import(mesh);
  EXPECT_EQ(import.mesh->ElementData().GetClass(0).ElemTypeLabel(), "C3D8R");
  EXPECT_EQ(import.mesh->ElementData().GetClass(1).ElemTypeLabel(), "C3D8I");

  const auto Refusal = [this](const char* words) { return ThrownBy([&] { types_.Override(words); }); };
  EXPECT_EQ(Refusal("HEX8=NOSUCH"), "\"HEX8=NOSUCH\": no element label NOSUCH");
  EXPECT_EQ(Refusal("HEX8=C3D20"), "\"HEX8=C3D20\": label C3D20 has 20 nodes, type HEX8 has 8");
  EXPECT_EQ(Refusal("HEX8=CPS8"),
            "\"HEX8=CPS8\": the nodes of HEX8 do not stand where label CPS8 has its nodes");
  EXPECT_EQ(Refusal("HEX=C3D8"), "\"HEX=C3D8\": the type must end with its number of nodes, like HEX8");
  EXPECT_EQ(Refusal("HEX8"), "\"HEX8\": not of the form TYPE=LABEL, like HEX8=C3D8R");
}

TEST_F(ExodusImport, TellsTheLargestChangeByRounding) {
  ExodusMesh mesh = OneHex();
  mesh.nodeLabels = {11, 12, 13, 14, 15, 16, 17, 18};
  EXPECT_EQ(Import(mesh).rounding.change, 0);
  mesh.xyz[3 * 4 + 1] = 1000.1; // y of node 15
  mesh.xyz[3 * 6 + 2] = 0.1;
  const fmt_Import import = Import(mesh);
  EXPECT_EQ(import.rounding.change, 1000.1 - static_cast<double>(1000.1F));
  EXPECT_EQ(import.rounding.nodeLabel, 15);
  EXPECT_EQ(import.rounding.axis, 'y');
}

TEST_F(ExodusImport, ListsWhatAModelHasNoPlaceFor) {
  ExodusMesh mesh = OneHex();
  mesh.blocks[0].name = "cube";
  mesh.sets = {{EX_NODE_SET, 1, "n", {1, 2, 3}}, {EX_SIDE_SET, 2, "s", {1}, {1}, {1, 2, 3}}};
  mesh.more = [](int file) {
    const double step = 0.5;
    ex_put_time(file, 1, &step);
    int number = 1;
    for (const ex_entity_type of : {EX_GLOBAL, EX_NODAL, EX_ELEM_BLOCK, EX_NODE_SET, EX_SIDE_SET})
      ex_put_variable_param(file, of, ++number);
    ex_put_attr_param(file, EX_NODAL, 0, 2);
    nc_redef(file);
    int dim = 0, variable = 0;
    nc_def_dim(file, "num_assembly", 2, &dim);
    nc_def_var(file, "assembly_entity1", NC_INT, 1, &dim, &variable);
    nc_def_var(file, "assembly_entity2", NC_INT, 1, &dim, &variable);
    nc_def_var(file, "weather", NC_INT, 1, &dim, &variable);
    nc_enddef(file);
  };
  const fmt_Import import = Import(mesh);
  for (const auto& [what, count] : {std::pair{"time steps", 1},
                                    {"assemblies", 2},
                                    {"global variables", 2},
                                    {"nodal variables", 3},
                                    {"element variables", 4},
                                    {"node set variables", 5},
                                    {"side set variables", 6},
                                    {"attributes of nodes", 1},
                                    {"other variables of the file", 1}})
    EXPECT_EQ(Count(import, what), count) << what;
  EXPECT_EQ(import.ledger.back().detail, "weather");
  EXPECT_EQ(import.ledger.size(), 9U);
  EXPECT_TRUE(Import(OneHex()).ledger.empty());
}

TEST_F(ExodusImport, RefusesNodeNumbersOutsideTheMesh) {
  ExodusMesh mesh = HexAndTrusses();
  mesh.blocks[1].nodes = {1, 2, 9, 3};
  EXPECT_EQ(Failure(mesh), "block 9 (TRUSS), element 2: node 9 is outside 1..8");
  mesh.blocks[1].nodes = {0, 2, 2, 3};
  EXPECT_EQ(Failure(mesh), "block 9 (TRUSS), element 1: node 0 is outside 1..8");
  mesh.mode = EX_NETCDF4 | EX_NOCLASSIC | EX_ALL_INT64_DB;
  mesh.blocks[1].nodes = {1, 2, (1LL << 32) + 2, 3}; // would be inside when cut to 32 bits
  EXPECT_EQ(Failure(mesh), "block 9 (TRUSS), element 2: node 4294967298 is outside 1..8");
}

TEST_F(ExodusImport, RefusesLabelsThatRepeatOrDoNotFit) {
  ExodusMesh mesh = HexAndTrusses();
  mesh.nodeLabels = {1, 2, 3, 4, 5, 6, 3, 8};
  EXPECT_EQ(Failure(mesh), "node label 3 is given twice, to nodes 3 and 7");
  mesh.nodeLabels.clear();
  mesh.elementLabels = {17, 5, 17};
  EXPECT_EQ(Failure(mesh),
            "element label 17 is given twice, to block 7 (HEX8), element 1 and to block 9 (TRUSS), "
            "element 2");
  mesh.mode = EX_NETCDF4 | EX_NOCLASSIC | EX_ALL_INT64_DB;
  mesh.elementLabels = {1, 2, 1LL << 31};
  EXPECT_EQ(Failure(mesh), "block 9 (TRUSS), element 2: label 2147483648 does not fit 32 bits");
  mesh.elementLabels.clear();
  mesh.nodeLabels = {1, 2, 3, -(1LL << 40), 1LL << 50, 6, 7, 8};
  EXPECT_EQ(Failure(mesh), "node 4: label -1099511627776 does not fit 32 bits");
}

TEST_F(ExodusImport, RefusesCoordinatesThatAreNoSinglePrecisionNumbers) {
  ExodusMesh mesh = OneHex();
  mesh.xyz[3 * 5 + 2] = 1e300;
  EXPECT_EQ(Failure(mesh), "node 6: z = 1.0000000000000001e+300 does not fit single precision");
  mesh.xyz[3 * 5 + 2] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Failure(mesh), "node 6: z = nan is not a number");
}

TEST_F(ExodusImport, RefusesFilesThatAreNoneOrDamaged) {
  EXPECT_EQ(FailureOfFile(), "no such file");
  std::filesystem::create_directory(file_);
  EXPECT_EQ(FailureOfFile(), "is a folder");
  std::filesystem::remove(file_);
  std::ofstream(file_).flush();
  EXPECT_EQ(FailureOfFile(), "is empty");
  std::ofstream(file_) << "solid cube\n";
  EXPECT_TRUE(FailureOfFile().starts_with("not an Exodus II file"));

  for (const int mode : {0, EX_NETCDF4}) {
    ExodusMesh mesh = OneHex();
    mesh.mode = mode;
    mesh.Write(file_);
    std::filesystem::resize_file(file_, std::filesystem::file_size(file_) - 40);
    const std::string failure = FailureOfFile();
    EXPECT_TRUE(failure.starts_with(mode == 0 ? "is cut short: " : "not an Exodus II file")) << failure;
  }

  ExodusMesh longTitle = OneHex();
  longTitle.more = [](int file) {
    const std::string title(300, 't');
    nc_redef(file);
    nc_put_att_text(file, NC_GLOBAL, "title", title.size(), title.c_str());
    nc_enddef(file);
  };
  EXPECT_EQ(Failure(longTitle), "a title of 300 characters, more than 80");
}

struct Dimension {
  const char* name;
  std::size_t length;
};

/// A file of nothing but its marks and counts.
void WriteCounts(const std::string& name, std::initializer_list<Dimension> dims, float version = 5,
                 std::vector<int> wordSizes = {8}) {
  int file = 0, number = 0;
  ASSERT_EQ(nc_create(name.c_str(), NC_CLOBBER, &file), NC_NOERR);
  if (version > 0) nc_put_att_float(file, NC_GLOBAL, "version", NC_FLOAT, 1, &version);
  nc_put_att_int(file, NC_GLOBAL, "floating_point_word_size", NC_INT, wordSizes.size(), wordSizes.data());
  for (const Dimension& dim : dims) ASSERT_EQ(nc_def_dim(file, dim.name, dim.length, &number), NC_NOERR);
  ASSERT_EQ(nc_close(file), NC_NOERR);
}

/// The Exodus II library takes the number 0 of a variable for one that is not there.
TEST_F(ExodusImport, ReadsCoordinatesThatAreTheFirstVariablesOfTheFile) {
  for (const int mode : {NC_64BIT_OFFSET, NC_NETCDF4})
    for (int first = 0; first < 3; ++first) {
      const std::string file = folder_ / "first.exo";
      int id = 0, nodes = 0, made = 0;
      ASSERT_EQ(nc_create(file.c_str(), NC_CLOBBER | mode, &id), NC_NOERR);
      nc_def_dim(id, "num_nodes", 2, &nodes);
      nc_def_dim(id, "num_dim", 3, &made);
      nc_def_dim(id, "time_step", NC_UNLIMITED, &made);
      std::array<int, 3> axes{};
      for (int k = 0; k < 3; ++k) {
        const int axis = (first + k) % 3;
        const std::string name = std::string("coord") + "xyz"[axis];
        nc_def_var(id, name.c_str(), NC_DOUBLE, 1, &nodes, &axes[static_cast<std::size_t>(axis)]);
      }
      const float version = 5.0F;
      const int size = 8;
      nc_put_att_float(id, NC_GLOBAL, "version", NC_FLOAT, 1, &version);
      nc_put_att_float(id, NC_GLOBAL, "api_version", NC_FLOAT, 1, &version);
      nc_put_att_int(id, NC_GLOBAL, "floating_point_word_size", NC_INT, 1, &size);
      nc_put_att_text(id, NC_GLOBAL, "title", 1, "t");
      nc_enddef(id);
      for (int axis = 0; axis < 3; ++axis) {
        const double values[] = {axis + 1.0, axis + 10.0};
        nc_put_var_double(id, axes[static_cast<std::size_t>(axis)], values);
      }
      nc_close(id);
      const fmt_Import read = exo_ReadMesh(file, {});
      const auto xyz = read.mesh->NodeData().Coordinates().Const();
      EXPECT_EQ(std::vector<float>(xyz.begin(), xyz.end()), (std::vector<float>{1, 2, 3, 10, 11, 12}))
          << first;
    }
}

TEST_F(ExodusImport, RefusesIdsThatRepeatAndAddresses) {
  ExodusMesh mesh = OneHex();
  mesh.more = [](int file) {
    int ids = 0;
    const int both[] = {7, 7};
    nc_inq_varid(file, "eb_prop1", &ids);
    nc_put_var_int(file, ids, both);
  };
  mesh.blocks.push_back({8, "HEX8", 8, {1, 2, 3, 4, 5, 6, 7, 8}});
  EXPECT_EQ(Failure(mesh), "two of its element blocks have the id 7");
  for (const char* address : {"http://127.0.0.1:9/a.exo", "s3://a/b.exo", "file://a.exo#mode=zarr"})
    EXPECT_THROW(exo_ReadMesh(address, {}), nex_TextException) << address;
}

TEST_F(ExodusImport, RefusesCountsThatNothingStandsBehind) {
  WriteCounts(file_, {{"num_dim", 3}, {"num_nodes", 2000000000}, {"num_elem", 1}});
  EXPECT_EQ(FailureOfFile(), "variable coordx has 0 values, fewer than the 2000000000 that the counts of the "
                             "file tell");
  WriteCounts(file_, {{"num_dim", 3}, {"num_el_blk", 2105540608}});
  EXPECT_TRUE(FailureOfFile().starts_with("num_el_blk = 2105540608, more than fit its ")) << FailureOfFile();
  const std::string bad = TEST_FILES "/bad_exodus/names_without_end.exo";
  std::filesystem::copy_file(bad, file_, std::filesystem::copy_options::overwrite_existing);
  EXPECT_TRUE(FailureOfFile().starts_with("reading element set ids: ")) << FailureOfFile();
}

TEST_F(ExodusImport, LeavesNoFileOpenThatItRefuses) {
  const auto LowestFreeDescriptor = [] {
    const int descriptor = open("/dev/null", O_RDONLY);
    close(descriptor);
    return descriptor;
  };
  const int before = LowestFreeDescriptor();
  WriteCounts(file_, {{"num_dim", 3}}, 0);
  EXPECT_EQ(FailureOfFile(), "not an Exodus II file (without a version)");
  WriteCounts(file_, {{"num_dim", 3}}, 1);
  EXPECT_EQ(FailureOfFile(), "an Exodus file older than version 2");
  WriteCounts(file_, {{"num_dim", 3}}, 5, {5});
  EXPECT_EQ(FailureOfFile(), "numbers of 5 bytes, not 4 or 8");
  WriteCounts(file_, {{"num_dim", 3}}, 5, {8, 8});
  EXPECT_EQ(FailureOfFile(), "its mark \"floating_point_word_size\" has 2 values, not one");
  EXPECT_EQ(LowestFreeDescriptor(), before);
}

TEST_F(ExodusImport, NeverCrashesOnFilesWithFlippedBytes) {
  ExodusMesh mesh = HexAndTrusses();
  mesh.sets = {{EX_NODE_SET, 1, "n", {1, 2, 3}}, {EX_SIDE_SET, 2, "s", {1, 2, 1}, {1, 1, 6}}};
  mesh.Write(file_);
  std::ifstream in(file_, std::ios::binary);
  const std::string good((std::istreambuf_iterator<char>(in)), {});
  std::mt19937 random(7);
  int refused = 0, read = 0;
  for (int trial = 0; trial < 400; ++trial) {
    std::string bad = good;
    bad[8 + random() % (bad.size() - 8)] = static_cast<char>(random());
    std::ofstream(file_, std::ios::binary) << bad;
    try {
      exo_ReadMesh(file_, {.types = types_});
      ++read;
    } catch (const nex_TextException&) {
      ++refused;
    }
  }
  EXPECT_GT(refused, 0);
  EXPECT_GT(read, 0);
}

TEST_F(ExodusImport, StopsWhenTheHostAsks) {
  HexAndTrusses().Write(file_);
  struct : wip_WIPBase {
    bool IsCancelled() override { return true; }
  } sink;
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  channel.SetSink(&sink);
  EXPECT_THROW(exo_ReadMesh(file_, {.types = types_}), wip_Cancelled);
  channel.SetSink(nullptr);
}

TEST(DuplicateLabels, AreFoundInDenseAndSparseListsOverSeveralParts) {
  const auto Find = [](std::vector<int> a, std::vector<int> b) {
    const std::span<const int> parts[] = {a, b};
    const auto found = omi_FindDuplicate(parts);
    return found ? std::tuple(found->label, found->first, found->second)
                 : std::tuple(0, std::size_t{0}, std::size_t{0});
  };
  using Found = std::tuple<int, std::size_t, std::size_t>;
  EXPECT_EQ(Find({1, 2, 3}, {7, 9}), Found());
  EXPECT_EQ(Find({3, 1}, {2, 1, 3}), Found(1, 1, 3));
  EXPECT_EQ(Find({-2147483647 - 1, 2147483647}, {5, -3}), Found());
  EXPECT_EQ(Find({2147483647, -2147483647 - 1}, {-5, 2147483647, -5}), Found(2147483647, 0, 3));
  EXPECT_EQ(Find({}, {}), Found());
}
} // namespace
