// The printout of iso locations and weights.
#include "shp_Print.h"
#include "shp_WeightTables.h"

#include <CoreGeometry/shp_Topology.h>
#include <cstdio>
#include <string>

namespace {
void WriteRow(aio_ostream& stream, const auto& row) {
  std::string line;
  for (const double value : row) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", value);
    line.append(line.empty() ? "" : " ").append(text);
  }
  shp_WriteLine(stream, line);
}

void WriteMatrix(aio_ostream& stream, const shp_WeightTables::Matrix& matrix) {
  for (std::size_t row = 0; row * matrix.numColumns < matrix.values.size(); ++row)
    WriteRow(stream, matrix.Row(row));
}
} // namespace

void shp_Topology::PrintWeightsInTable(aio_ostream& stream) const {
  shp_WriteLine(stream, "  Centroid, Node and Int. Point Isoparametric Locations");
  for (const auto points : {FaceCentreCoordinates(), NodeCoordinates(), IntPtCoordinates()})
    for (const shp_IsoPoint& point : points) WriteRow(stream, point);
  if (HasIntPtTables()) {
    shp_WriteLine(stream, "   Integration Point Weights");
    WriteMatrix(stream, weights_->intPtsToNodes);
  } else {
    shp_WriteLine(stream, " No Integration Point Weights");
  }
  if (weights_) {
    shp_WriteLine(stream, "   Node Weights");
    WriteMatrix(stream, weights_->nodesToFaces);
  } else {
    shp_WriteLine(stream, "  No Weights Available");
  }
  shp_WriteLine(stream, "   Face Weights");
  if (HasIntPtTables()) WriteMatrix(stream, weights_->intPtsToFaces);
}
