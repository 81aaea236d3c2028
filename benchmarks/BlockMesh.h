// BlockMesh.h: blocks of elements for benchmarks, and a plain read of a mesh as a yardstick
#pragma once

#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <random>

inline double Between(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution(low, high)(random);
}

/// Where x comes to lie, from 0 to n, when edges of length 1 grow in equal ratios from 1 to `graded`.
inline double GradedPlace(double x, int n, double graded) {
  if (graded == 1) return x;
  const double ratio = std::pow(graded, 1.0 / (n - 1));
  return (std::pow(ratio, x) - 1) / (ratio - 1);
}

/// n x n x n cubes of one type with shared nodes, each moved a little. The last edge along each axis is `graded`
/// times as long as the first one, which has the length 1.
inline bme_Mesh Block(const shp_Shape& shape, int n, double graded = 1) {
  const bool isTetrahedron = shape.Options().Family() == shp_Family::Tetrahedron;
  const int perCube = shape.NumBaseNodes() == shape.NumCorners() ? 1 : 2, width = n * perCube + 1;
  std::mt19937 random(2);
  cow_ArrayCOW<float> xyz;
  xyz.ResizeUninitialised(3 * static_cast<std::size_t>(width) * width * width);
  auto* at = xyz.Modify().data();
  for (int k = 0; k < width * width * width; ++k)
    for (const int step : {k % width, k / width % width, k / width / width})
      *at++ = static_cast<float>((step + Between(random, -0.12, 0.12)) / perCube);
  for (float& x : xyz.Modify()) x = static_cast<float>(GradedPlace(static_cast<double>(x), n, graded));
  std::vector<std::vector<int>> cells = {{0, 1, 3, 2, 4, 5, 7, 6}}; // corners by bits: x 1, y 2, z 4
  if (isTetrahedron)
    cells = {{0, 1, 3, 7}, {0, 3, 2, 7}, {0, 2, 6, 7}, {0, 6, 4, 7}, {0, 4, 5, 7}, {0, 5, 1, 7}};
  const shp_ShapeDictionary dictionary;
  const shp_Shape& corners = *dictionary.GetShape(isTetrahedron ? "C3D4" : "C3D8");
  std::vector<int> pattern; // lattice offsets of the nodes of a cube's elements
  for (const auto& cell : cells)
    for (const shp_IsoPoint& iso : shape.NodeCoordinates()) {
      std::vector<double> weights(cell.size());
      corners.ShapeFunctions(iso, weights);
      std::array<double, 3> p{};
      for (std::size_t k = 0; k < cell.size(); ++k)
        for (std::size_t axis = 0; axis < 3; ++axis) p[axis] += weights[k] * (cell[k] >> axis & 1) * perCube;
      pattern.push_back(
          static_cast<int>(std::lround(p[0]) + width * (std::lround(p[1]) + width * std::lround(p[2]))));
    }
  cow_ArrayCOW<int> nodes;
  nodes.ResizeUninitialised(static_cast<std::size_t>(n) * n * n * pattern.size());
  int* node = nodes.Modify().data();
  for (int k = 0; k < n * n * n; ++k)
    for (const int offset : pattern)
      *node++ = offset + perCube * (k % n + width * (k / n % n + width * (k / n / n)));
  return bme_MeshBuilder(std::move(xyz))
      .Add({.type = shape.Label(), .connectivity = std::move(nodes)})
      .Build(1);
}

/// Every node of every element, and its coordinates.
inline double PlainRead(const bme_Mesh& mesh) {
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  double sum = 0;
  for (const int node : mesh.ElementData().GetClass(0).ElementConnectivity().Const()) {
    const float* p = &xyz[3 * static_cast<std::size_t>(node)];
    sum += static_cast<double>(p[0] + p[1] + p[2]);
  }
  return sum;
}
