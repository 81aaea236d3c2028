#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_Probe.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

double Field(const double* x) { return 300 + 20 * x[0] - 10 * x[1] + 5 * x[2]; }

/// One sheared element of every shape of the dictionary, in a mesh of its own, with a linear field at its nodes and at
/// its integration points.
TEST(odiC_Patch, LinearFieldsAreExactInEveryShape) {
  const DDB_CoreGeometry library;
  const shp_ShapeDictionary dictionary;
  const fs::path file = fs::temp_directory_path() / ("patch" + std::to_string(::getpid()) + ".cgdb");
  fs::remove(file);
  cls_Database model = cls_Database::Create(file.string());
  std::set<std::vector<double>> seen; // nodes and integration points
  int numIntegrated = 0, numAtPoints = 0, numProbed = 0, numFluxes = 0;
  for (const auto& [label, key] : dictionary.LabelTable()) {
    const shp_Shape* shape = dictionary.GetShape(label);
    if (!shape || shape->NumNodes() == 0 || shape->NumGeomDims() == 0) continue;
    const std::span<const shp_IsoPoint> places = shape->NodeCoordinates();
    if (places.size() != static_cast<std::size_t>(shape->NumNodes())) continue;
    std::vector<double> own{static_cast<double>(shape->NumGeomDims())};
    for (const auto& points : {places, shape->IntPtCoordinates()})
      for (const shp_IsoPoint& p : points) own.insert(own.end(), p.begin(), p.end());
    if (!seen.insert(own).second) continue;
    std::vector<float> xyz;
    std::vector<int> nodes;
    for (const shp_IsoPoint& p : places) {
      nodes.push_back(static_cast<int>(nodes.size()));
      const bool isSolid = shape->NumGeomDims() == 3;
      xyz.insert(xyz.end(), {static_cast<float>(3 + p[0] + 0.25 * p[1] + 0.5 * p[2]),
                             static_cast<float>(p[1] - 0.25 * p[2]), static_cast<float>(isSolid ? p[2] : 0)});
    }
    const bme_Mesh mesh = bme_MeshBuilder(xyz).Add({label, nodes}).Build();
    const bme_Measures measures = bme_CalculateMeasures(mesh);
    const int dims = shape->NumGeomDims();
    const auto& moments = dims == 3 ? measures.volume : dims == 2 ? measures.area : measures.length;
    gsl_Point centre;
    ASSERT_TRUE(moments.GetCentre(centre)) << label;
    cls_WritePass pass(model);
    pass.Put("meshes/" + label, mesh);
    std::vector<unsigned> faces;
    for (int face = 0; dims == 3 && face < shape->NumFaces(); ++face)
      faces.push_back(bme_FaceWord(0, static_cast<unsigned>(face), false));
    if (!faces.empty()) {
      bme_PutSet(pass, label, "all faces", bme_FEMFaceList(mesh, faces).ToSet());
      bme_PutSet(pass, label, "last face", bme_FEMFaceList(mesh, {faces.back()}).ToSet());
    }
    pass.Commit();
    odiC_RunWriter writer(model, "results/" + label + "/a", mesh);
    const int atNodes = writer.AddVariable(odiC_Variable("N", res_SCALAR)),
              atPoints = writer.AddVariable(odiC_Variable("P", res_SCALAR)),
              along = writer.AddVariable(odiC_Variable("F", res_VECTOR));
    const odiC_Layout all = odiC_FullLayout(mesh, res_NODAL),
                      points = odiC_FullLayout(mesh, res_INTEGRATION_POINT);
    writer.BeginStep("Pull");
    writer.BeginFrame({});
    std::vector<double> values, linear;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
      const double x[] = {xyz[3 * k], xyz[3 * k + 1], xyz[3 * k + 2]};
      values.push_back(Field(x));
      linear.insert(linear.end(), 3, x[0] + 2 * x[1]);
    }
    writer.PutField(along, writer.AddLayout(all), cow_ArrayCOW<double>(linear));
    writer.PutField(atNodes, writer.AddLayout(all), cow_ArrayCOW<double>(values));
    std::vector<float> where(3 * static_cast<std::size_t>(shape->NumIntPts()));
    int count = 0;
    if (points.numRows > 0) shape->IntPtCoord(xyz, nodes, where, count);
    if (count > 0 && count == points.numRows) {
      values.clear();
      for (int k = 0; k < count; ++k) {
        const double x[] = {where[3 * static_cast<std::size_t>(k)],
                            where[3 * static_cast<std::size_t>(k) + 1],
                            where[3 * static_cast<std::size_t>(k) + 2]};
        values.push_back(Field(x));
      }
      writer.PutField(atPoints, writer.AddLayout(points), cow_ArrayCOW<double>(values));
    }
    writer.Commit();
    const odiC_Run run = odiC_Run::Open(model, "results/" + label + "/a");
    if (!faces.empty()) { // the divergence of x + 2 y in each direction is 3
      const odiC_Values linear(run, "F");
      EXPECT_NEAR(odiC_IntegrateFaces(linear, "all faces", true)[0].integrals[0], 3 * moments.Total(),
                  1e-5 * moments.Total())
          << label;
      // a flat face has one normal n: the flux is n times the integral
      const std::span<const int> corners = shape->FaceNodes(shape->NumFaces() - 1);
      const auto corner = [&](std::size_t k) {
        const float* c = &xyz[3 * static_cast<std::size_t>(corners[k])];
        return gsl_Point(c[0], c[1], c[2]);
      };
      const gsl_Vector normal(corner(0), corner(1), corner(2));
      const odiC_FaceIntegralOf whole = odiC_IntegrateFaces(linear, "last face")[0];
      EXPECT_NEAR(whole.integrals[0] * (normal[0] + normal[1] + normal[2]),
                  odiC_IntegrateFaces(linear, "last face", true)[0].integrals[0], 1e-5)
          << label;
      ++numFluxes;
    }
    const double x[] = {centre[0], centre[1], centre[2]}, wanted = Field(x);
    for (const char* name : {"N", "P"}) {
      const int index = run.VariableIndex(name);
      if (!run.HasField(0, 0, index)) continue;
      const odiC_Values of(run, name);
      // one point carries a constant, fewer than the corners not every linear function: at the centre all of them do
      const std::vector<odiC_IntegralOf> integrals = odiC_Integrate(of);
      ASSERT_EQ(integrals.size(), 1U) << label;
      EXPECT_NEAR(integrals[0].Mean(0), wanted, 1e-3) << label << " " << name << ", of " << moments.Total();
      EXPECT_NEAR(integrals[0].measure, moments.Total(), 1e-5 * moments.Total()) << label;
      ++(name[0] == 'N' ? numIntegrated : numAtPoints);
      for (const odiC_Values& kind : {of, of.AtNodes()}) {
        const odiC_Probe probe(kind, x, dims < 3);
        if (probe.Places()[0].element == bme_kNotFound) continue; // counted below
        EXPECT_NEAR(probe.Read({0, 0})[0], wanted, 1e-3) << label << " " << name;
        ++numProbed;
      }
    }
  }
  fs::remove(file);
  EXPECT_EQ(numIntegrated, static_cast<int>(seen.size()));
  EXPECT_EQ(numAtPoints, numIntegrated);
  EXPECT_EQ(numProbed, 4 * numIntegrated);
  EXPECT_GT(numFluxes, 20);
  EXPECT_GT(numIntegrated, 40);
}
} // namespace
