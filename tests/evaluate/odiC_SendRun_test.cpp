// Runs that follow their mesh: values that are places are those of the new mesh.
#include "ThrownBy.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_OrientMesh.h>
#include <CoreGeometry/bme_RenumberMesh.h>
#include <CoreGeometry/bme_SectionMesh.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Point.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/odiC_SendRun.h>
#include <CoreGeometry/odiC_Values.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreGeometry/shp_Weights.h>
#include <cmath>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

/// Two sheared elements of every shape that has a map, with labels that fall.
bme_MeshAndSets EveryShape() {
  const shp_ShapeDictionary dictionary;
  std::vector<float> xyz;
  std::vector<bme_Block> blocks;
  std::set<std::vector<double>> seen; // nodes and integration points
  int label = 900;
  for (const auto& [name, key] : dictionary.LabelTable()) {
    const shp_Shape* shape = dictionary.GetShape(name);
    const std::span<const shp_IsoPoint> places = shape->NodeCoordinates();
    if (places.empty() || shape->NumRings() > 1 || shape->NumSpatialDims() != 3 || shape->NumFaces() > 8)
      continue;
    std::vector<double> own{static_cast<double>(shape->NumGeomDims())};
    for (const auto& points : {places, shape->IntPtCoordinates()})
      for (const shp_IsoPoint& p : points) own.insert(own.end(), p.begin(), p.end());
    if (!seen.insert(own).second) continue;
    std::vector<int> rows, labels;
    for (int e = 0; e < 2; ++e) {
      labels.push_back(--label);
      for (const shp_IsoPoint& p : places) {
        rows.push_back(static_cast<int>(xyz.size() / 3));
        const double x = p[0] + 0.2 * p[1] + 3 * e, y = p[1] + 3.0 * static_cast<double>(seen.size());
        for (const double value : {x, y, p[2] + 0.25 * p[0]}) xyz.push_back(static_cast<float>(value));
      }
    }
    blocks.push_back({name, cow_ArrayCOW<int>(rows), cow_ArrayCOW<int>(labels)});
  }
  std::vector<int> labels(xyz.size() / 3);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = 9000 - static_cast<int>(i);
  bme_MeshBuilder builder(xyz, labels);
  for (const bme_Block& block : blocks) builder.Add(block);
  EXPECT_GT(seen.size(), 15U);
  return {builder.Build(1)};
}

/// All elements at a position: of faces every face, of nodes six of seven.
odiC_Layout LayoutAt(const bme_Mesh& mesh, res_OutputPositionEnm position) {
  if (position != res_ELEMENT_FACE && position != res_NODAL) return odiC_FullLayout(mesh, position);
  odiC_Layout layout;
  layout.completeness = res_PARTIAL_FIELD;
  odiC_LayoutBlock block;
  block.position = position;
  const auto add = [&](const std::vector<int>& entities, const std::vector<int>& faces) {
    block.numEntities = static_cast<int>(entities.size());
    block.entities = cow_ArrayCOW<int>(std::span<const int>(entities));
    block.faces = cow_ArrayCOW<int>(std::span<const int>(faces));
    if (!entities.empty()) layout.Add(block);
  };
  std::vector<int> entities, faces;
  for (int i = 0; i < static_cast<int>(mesh.NodeData().NumNodes()); ++i)
    if (i % 7 != 3) entities.push_back(i);
  if (position == res_NODAL) add(entities, {});
  for (unsigned c = 0; c < mesh.ElementData().NumClasses() && position == res_ELEMENT_FACE; ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    entities.clear();
    faces.clear();
    for (int e = 0; e < type.NumElements() && type.Shape()->NumGeomDims() == 3; ++e)
      for (int face = 0; face < type.Shape()->NumFaces(); ++face) {
        entities.push_back(e);
        faces.push_back(face);
      }
    block.classIndex = static_cast<int>(c);
    add(entities, faces);
  }
  return layout;
}

std::vector<double> PlacesOf(const odiC_Run& run, const odiC_Layout& layout) {
  std::vector<double> places(3 * static_cast<std::size_t>(layout.numRows));
  for (const odiC_LayoutBlock& block : layout.blocks)
    odiC_PointsOf(run, block, block.firstRow,
                  std::span(places).subspan(3 * static_cast<std::size_t>(block.firstRow),
                                            3 * static_cast<std::size_t>(block.NumRows())));
  return places;
}

constexpr res_OutputPositionEnm kPositions[] = {res_NODAL, res_ELEMENT_NODAL, res_INTEGRATION_POINT,
                                                res_WHOLE_ELEMENT, res_ELEMENT_FACE};
constexpr std::size_t kCount = std::size(kPositions);
const std::vector<double> kAxes{0.5, 0.1, -0.7, 0.5};

std::vector<double> Products(std::span<const double> p) {
  return {p[0] * p[0], p[1] * p[1], p[2] * p[2], p[0] * p[1], p[0] * p[2], p[1] * p[2]};
}

class odiC_SendRunTest : public testing::Test {
protected:
  odiC_SendRunTest() : before_(EveryShape()) {
    file_ = fs::temp_directory_path() / ("send" + std::to_string(::getpid()) + ".cgdb");
    fs::remove(file_);
    cls_Database model = cls_Database::Create(file_.string());
    {
      cls_WritePass pass(model);
      pass.Put("meshes/old", before_.mesh);
      pass.Commit();
    }
    { // places are computed by an empty run
      odiC_RunWriter(model, "results/old/empty", before_.mesh).Commit();
    }
    const odiC_Run empty = odiC_Run::Open(model, "results/old/empty");
    odiC_RunWriter run(model, "results/old/a", before_.mesh);
    run.BeginStep("s");
    run.HeaderToDescribe().steps.back().description = "pull";
    run.BeginFrame({.value = 1});
    for (std::size_t i = 0; i < kCount; ++i) {
      const odiC_Layout layout = LayoutAt(before_.mesh, kPositions[i]);
      const std::vector<double> places = PlacesOf(empty, layout);
      std::vector<double> products, axes, local(places.size());
      for (std::size_t k = 0; k < places.size(); k += 3) {
        const std::vector<double> some = Products(std::span(places).subspan(k, 3));
        products.insert(products.end(), some.begin(), some.end());
        for (const double part : kAxes) axes.push_back(k % 2 == 0 ? part : -part); // one rotation
      }
      const int at = run.AddLayout(layout);
      const auto put = [&](const char* name, res_DataTypeEnm type, const std::vector<double>& values,
                           res_CoordSystemEnm system = res_GLOBAL) {
        odiC_Variable variable(name + std::to_string(i), type);
        variable.coordSystem = system;
        if (system == res_LOCAL) variable.axes = "axes" + std::to_string(i);
        run.PutField(run.AddVariable(variable), at, cow_ArrayCOW<double>(values));
      };
      put("place", res_VECTOR, places);
      put("products", res_TENSOR_3D_FULL, products);
      put("axes", res_QUATERNION_3D, axes);
      const odiC_Variable vector("v", res_VECTOR);
      odiC_Rotation(vector).IntoLocal(axes, std::span<const double>(places), std::span<double>(local));
      put("local", res_VECTOR, local, res_LOCAL);
    }
    odiC_History history;
    history.position = res_NODAL;
    history.label = 9000 - 4;
    run.AddHistory(history);
    run.Commit();
  }
  ~odiC_SendRunTest() override { fs::remove(file_); }

  /// Rows of the new run that have their own places as values; the test fails for others.
  long long CountPlaces(const cls_Database& model, const cow_String& root,
                        std::size_t positions = kCount) const {
    const odiC_Run run = odiC_Run::Open(model, root);
    long long count = 0;
    for (std::size_t i = 0; i < positions; ++i) {
      const auto read = [&](const char* name) {
        odiC_FieldReader reader = run.Field(0, 0, run.VariableIndex(name + std::to_string(i)));
        std::vector<double> values(static_cast<std::size_t>(reader.NumRows() * reader.NumComponents()));
        reader.Read(0, values);
        return values;
      };
      const auto layout = run.Field(0, 0, run.VariableIndex("place" + std::to_string(i))).SharedLayout();
      const std::vector<double> places = PlacesOf(run, *layout), axes = read("axes");
      std::vector<double> products, local = read("local"), turned(local.size());
      for (std::size_t k = 0; k < places.size(); k += 3) {
        const std::vector<double> some = Products(std::span(places).subspan(k, 3));
        products.insert(products.end(), some.begin(), some.end());
      }
      odiC_Rotation(odiC_Variable("v", res_VECTOR)).FromLocal(axes, std::span<const double>(local), turned);
      const auto expectNear = [&](const std::vector<double>& a, const std::vector<double>& b, double within) {
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t k = 0; k < a.size(); ++k)
          ASSERT_NEAR(a[k], b[k], within)
              << omu_PrimEnum<res_OutputPositionEnm>(kPositions[i]).Text() << ' ' << k;
      };
      expectNear(read("place"), places, 1e-4);
      expectNear(turned, places, 1e-4);
      if (positions == kCount) expectNear(read("products"), products, 1e-2);
      count += layout->numRows;
    }
    return count;
  }

  const DDB_CoreGeometry library_;
  bme_MeshAndSets before_;
  fs::path file_;
};

/// Whether the places of nodes are found again from those of integration points.
bool TellsSlopes(const shp_Shape& shape) {
  const shp_Weights weights = shp_WeightsOfIntPts(shape, shp_Target::Nodes);
  for (std::size_t node = 0; node < weights.numRows; ++node)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double place = 0;
      for (std::size_t k = 0; k < weights.numColumns; ++k)
        place += weights.values[node * weights.numColumns + k] * shape.IntPtCoordinates()[k][axis];
      if (std::abs(place - shape.NodeCoordinates()[node][axis]) > 1e-5) return false;
    }
  return true;
}

gsl_Matrix Diagonal(double x, double y, double z) {
  const double elements[4][4] = {{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}};
  return gsl_Matrix(elements);
}
std::array<double, 9> TurnOf(const gsl_Matrix& m) {
  std::array<double, 9> turn{};
  for (unsigned i = 0; i < 9; ++i) turn[i] = m.Element(i / 3, i % 3);
  return turn;
}

/// Two types have integration points that their reversal does not exchange.
constexpr long long kNotReversed = 16;
bool IsMeant(const cow_String& remark) {
  for (const char* part : {"arrows", "MCL9 at INTEGRATION_POINT", "GK3D4L at INTEGRATION_POINT"})
    if (remark.find(part) != cow_String::npos) return true;
  return false;
}

TEST_F(odiC_SendRunTest, ValuesAtEveryPositionStayWithTheirPlaces) {
  gsl_Matrix turn, mirror = Diagonal(-1, 1, 1);
  turn.AxisRotation(gsl_Point(0, 0, 0), gsl_Vector(1, 2, -1), 0.7);
  mirror.Concatenate(turn);
  std::vector<unsigned> some;
  for (unsigned e = 0; e < before_.mesh.ElementData().NumElements(); e += 2) some.push_back(e);
  using Edit = std::function<bme_Edited(const bme_MeshAndSets&)>;
  const auto move = [](const gsl_Matrix& matrix) -> Edit {
    return [matrix](const bme_MeshAndSets& all) { return bme_TransformMesh(all, matrix); };
  };
  struct Case {
    const char* name;
    Edit edit;
    double share; ///< of the rows that are left
    gsl_Matrix move{};
  };
  const Case cases[] = {
      {"nothing", [](const auto& all) { return bme_RemoveEntities(all, {}, {}); }, 1},
      {"extract", [&](const auto& all) { return bme_ExtractElements(all, some); }, 0.5},
      {"curve", [](const auto& all) { return bme_ReorderMesh(all, bme_NodeOrder::Curve); }, 1},
      {"labels", [](const auto& all) { return bme_ReorderMesh(all, bme_NodeOrder::Label); }, 1},
      {"merge", [](const auto& all) { return bme_Edited(bme_MergeNodes(all, {.tolerance = 1e-6})); }, 1},
      {"turn", move(turn), 1, turn},
      {"mirror x", move(Diagonal(-1, 1, 1)), 1, Diagonal(-1, 1, 1)},
      {"mirror z", move(Diagonal(1, 1, -1)), 1, Diagonal(1, 1, -1)},
      {"half turn", move(Diagonal(-1, -1, 1)), 1, Diagonal(-1, -1, 1)},
      {"mirror and turn", move(mirror), 1, mirror},
  };
  cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
  const odiC_Run run = odiC_Run::Open(model, "results/old/a");
  const long long all = CountPlaces(model, "results/old/a");
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    const bme_Edited edited = one.edit(before_);
    const odiC_Image image{&edited.renumbering, TurnOf(one.move)};
    {
      cls_WritePass pass(model);
      pass.Put("meshes/new", edited.result.mesh);
      const std::vector<cow_String> remarks = odiC_SendRun(run, std::span(&image, 1), before_.mesh,
                                                           edited.result.mesh, model, pass, "results/new/a");
      for (const cow_String& remark : remarks) EXPECT_TRUE(IsMeant(remark)) << remark;
      pass.Commit();
    }
    const double share = static_cast<double>(CountPlaces(model, "results/new/a")) / static_cast<double>(all);
    EXPECT_NEAR(share, one.share, 0.02);
    const odiC_Run sent = odiC_Run::Open(model, "results/new/a");
    EXPECT_EQ(sent.Header().steps[0].description, "pull");
    EXPECT_EQ(sent.History(0, 0).label, 8996);
    std::vector<chk_Finding> findings;
    odiC_CheckRuns(model, findings);
    EXPECT_TRUE(findings.empty());
  }
}

TEST_F(odiC_SendRunTest, NewNodesHaveTheValuesBetweenTheOldOnes) {
  cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
  const odiC_Run run = odiC_Run::Open(model, "results/old/a");
  const long long before = CountPlaces(model, "results/old/a", 1);
  for (const bme_Edited& edited :
       {bme_ChangeOrder(before_, true), bme_SplitElements(before_), bme_RefineMesh(before_)}) {
    const odiC_Image image{&edited.renumbering};
    cls_WritePass pass(model);
    pass.Put("meshes/new", edited.result.mesh);
    EXPECT_FALSE(odiC_SendRun(run, std::span(&image, 1), before_.mesh, edited.result.mesh, model, pass,
                              "results/new/a")
                     .empty()); // integration points
    pass.Commit();
    EXPECT_GT(CountPlaces(model, "results/new/a", 1), before);
    // faces have the values of those that they lie on: here the places of these, so means over their parts
    const odiC_Run sent = odiC_Run::Open(model, "results/new/a");
    odiC_FieldReader reader = sent.Field(0, 0, sent.VariableIndex("place4"));
    std::vector<double> values(static_cast<std::size_t>(3 * reader.NumRows()));
    reader.Read(0, values);
    const std::vector<double> places = PlacesOf(sent, *reader.SharedLayout());
    std::map<std::vector<double>, std::array<double, 4>> parts;
    for (std::size_t k = 0; k < values.size(); k += 3) {
      std::array<double, 4>& sum = parts[{values[k], values[k + 1], values[k + 2]}];
      for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += places[k + axis];
      ++sum[3];
    }
    EXPECT_EQ(static_cast<int>(parts.size()), run.Field(0, 0, run.VariableIndex("place4")).NumRows());
    for (const auto& [value, sum] : parts)
      for (std::size_t axis = 0; axis < 3; ++axis) ASSERT_NEAR(sum[axis] / sum[3], value[axis], 1e-4);
    std::vector<chk_Finding> findings;
    odiC_CheckRuns(model, findings);
    EXPECT_TRUE(findings.empty());
  }
}

/// On a section, values of element nodes and integration points are those at the places of its nodes, wherever the points
/// of an element tell the slope of a field.
TEST_F(odiC_SendRunTest, SectionsHaveTheValuesOfTheirNodes) {
  cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
  const odiC_Run run = odiC_Run::Open(model, "results/old/a");
  const bme_Section section = bme_CutMesh(before_, {{0.1, 0, 0}, {1, 0.02, 0.3}});
  const odiC_Image image{&section.renumbering};
  cls_WritePass pass(model);
  pass.Put("meshes/new", section.result.mesh);
  odiC_SendRun(run, std::span(&image, 1), before_.mesh, section.result.mesh, model, pass, "results/new/a");
  pass.Commit();
  const odiC_Run sent = odiC_Run::Open(model, "results/new/a");
  for (const std::size_t i : {1, 2}) {
    odiC_FieldReader reader = sent.Field(0, 0, sent.VariableIndex("place" + std::to_string(i)));
    std::vector<double> values(static_cast<std::size_t>(3 * reader.NumRows()));
    reader.Read(0, values);
    const std::vector<double> places = PlacesOf(sent, *reader.SharedLayout());
    int numCompared = 0;
    for (const odiC_LayoutBlock& block : reader.SharedLayout()->blocks) {
      EXPECT_EQ(block.position, res_ELEMENT_NODAL);
      const bme_ElementClass& type =
          section.result.mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
      for (int row = 0; row < block.NumRows(); ++row) {
        const int element = type.FirstElementIndex() + block.Entity(row / block.valuesPerEntity);
        const auto old = section.renumbering.elements.from[static_cast<std::size_t>(element)];
        const shp_Shape& shape = *before_.mesh.ElementData().GetElemClass(static_cast<unsigned>(old)).Shape();
        if (i == 2 && !TellsSlopes(shape)) continue;
        ++numCompared;
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const std::size_t at = 3 * static_cast<std::size_t>(block.firstRow + row) + axis;
          ASSERT_NEAR(values[at], places[at], 1e-4) << block.classIndex;
        }
      }
    }
    EXPECT_GT(numCompared, 20) << i;
  }
}

TEST_F(odiC_SendRunTest, CopiesHaveTheirOwnValuesAndTheRunIsReplacedInOnePass) {
  gsl_Matrix half = Diagonal(-1, -1, 1), mirror = Diagonal(1, 1, -1);
  const std::vector<gsl_Matrix> moves{gsl_Matrix(), half, mirror};
  const bme_Combined made = bme_CopyMesh(before_, std::span(moves).subspan(1));
  std::vector<bme_Renumbering> renumberings;
  for (std::size_t i = 0; i < 3; ++i) renumberings.push_back(made.RenumberingOf(i));
  std::vector<odiC_Image> images;
  for (std::size_t i = 0; i < 3; ++i) images.push_back({&renumberings[i], TurnOf(moves[i])});
  cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
  const long long before = CountPlaces(model, "results/old/a");
  const auto send = [&](const bme_Mesh& from, const bme_Mesh& to, std::span<const odiC_Image> of) {
    const odiC_Run run = odiC_Run::Open(model, "results/old/a");
    cls_WritePass pass(model);
    pass.Put("meshes/old", to);
    pass.Remove("results/old/empty");
    odiC_SendRun(run, of, from, to, model, pass, "results/old/a");
    return pass.Commit();
  };
  send(before_.mesh, made.result.mesh, images);
  EXPECT_EQ(CountPlaces(model, "results/old/a"), 3 * before - kNotReversed);
  const odiC_Run copied = odiC_Run::Open(model, "results/old/a");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(copied.History(0, i).label, 8996 + 9000 * i);
  // what is given is checked
  const odiC_Run run = odiC_Run::Open(model, "results/old/a");
  cls_WritePass pass(model);
  odiC_Image wrong = images[0];
  wrong.turn[0] = 2;
  const std::pair<std::span<const odiC_Image>, const char*> cases[] = {
      {{}, "a run is sent to no image of its mesh"},
      {std::span(&wrong, 1), "the turn of an image is no rotation or mirror"},
      {std::span(images.data(), 1), "is of a mesh of other sizes or types"}};
  for (const auto& [some, message] : cases) {
    const auto of = some;
    EXPECT_NE(ThrownBy([&] {
                odiC_SendRun(run, of, before_.mesh, made.result.mesh, model, pass, "results/old/b");
              }).find(message),
              cow_String::npos);
  }
}
/// Of a shell that is turned, the values at the bottom are not those of its new bottom; those in the middle stay.
TEST_F(odiC_SendRunTest, SectionPointsOfTurnedShellsAreLeftOut) {
  const std::vector<float> xyz{0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 1, 0, 1, 1, 0, 2, 1, 0};
  const bme_MeshAndSets shells{
      bme_MeshBuilder(xyz).Add({.type = "S4", .connectivity = {0, 1, 4, 3, 1, 2, 5, 4}}).Build(1)};
  cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
  {
    cls_WritePass pass(model);
    pass.Put("meshes/shells", shells.mesh);
    pass.Commit();
  }
  odiC_RunWriter writer(model, "results/shells/a", shells.mesh);
  odiC_Category category;
  category.name = "section";
  category.sectionPoints = {"bottom", "middle", "top"};
  category.offsets = {-1, 0, 1};
  writer.AddCategory(category);
  odiC_Layout layout;
  layout.completeness = res_FULL_FIELD;
  for (int point = 0; point < 3; ++point) {
    odiC_LayoutBlock block;
    block.position = res_WHOLE_ELEMENT;
    block.classIndex = block.category = 0;
    block.sectionPoint = point;
    block.numEntities = 2;
    layout.Add(block);
  }
  writer.BeginStep("s");
  writer.BeginFrame({.value = 1});
  const std::vector<double> values{1, 2, 3, 4, 5, 6};
  writer.PutField(writer.AddVariable(odiC_Variable("S", res_SCALAR)), writer.AddLayout(layout),
                  cow_ArrayCOW<double>(values));
  writer.Commit();
  const std::vector<unsigned> first{0};
  const bme_Edited turned = bme_ReverseElements(shells, first);
  const odiC_Image image{&turned.renumbering};
  const odiC_Run run = odiC_Run::Open(model, "results/shells/a");
  cls_WritePass pass(model);
  pass.Put("meshes/turned", turned.result.mesh);
  const auto remarks = odiC_SendRun(run, std::span(&image, 1), shells.mesh, turned.result.mesh, model, pass,
                                    "results/turned/a");
  pass.Commit();
  EXPECT_EQ(remarks.size(), 2U);
  odiC_FieldReader reader = odiC_Run::Open(model, "results/turned/a").Field(0, 0, 0);
  std::vector<double> sent(static_cast<std::size_t>(reader.NumRows()));
  reader.Read(0, sent);
  EXPECT_EQ(sent, (std::vector<double>{2, 3, 4, 6}));
}
} // namespace
