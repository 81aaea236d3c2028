#include "cli_ShapeSheet.h"

#include <CoreGeometry/exo_NodeOrder.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace {
struct Form {
  shp_Family family;
  const char* name;
  const char* drawing;
};
// clang-format off
constexpr Form kForms[] = {
    {shp_Family::Point, "point", ""},
    {shp_Family::Line, "line",
     "  0-----------1    --> xi\n"},
    {shp_Family::Triangle, "triangle",
     "  2\n"
     "  | \\\n"
     "  |   \\            eta\n"
     "  |     \\          |\n"
     "  0-------1        o-- xi\n"},
    {shp_Family::Quadrilateral, "quadrilateral",
     "  3---------2\n"
     "  |         |      eta\n"
     "  |         |      |\n"
     "  0---------1      o-- xi\n"},
    {shp_Family::Tetrahedron, "tetrahedron",
     "         3\n"
     "       /.|\\\n"
     "      / . | \\       zeta\n"
     "     /  2  |  \\     |  eta\n"
     "    / .    . | \\    | /\n"
     "   0-----------1    o-- xi\n"},
    {shp_Family::Hexahedron, "hexahedron",
     "      7---------6\n"
     "     /|        /|\n"
     "    4---------5 |    zeta\n"
     "    | |       | |    |  eta\n"
     "    | 3-------|-2    | /\n"
     "    |/        |/     |/\n"
     "    0---------1      o-- xi\n"},
    {shp_Family::Wedge, "wedge",
     "       5\n"
     "     /   \\\n"
     "    3-------4        zeta\n"
     "    |  .    |        |  eta\n"
     "    |  2    |        | /\n"
     "    |.   .  |        |/\n"
     "    0-------1        o-- xi\n"},
    {shp_Family::RigidSurface, "analytic rigid surface", ""},
};
// clang-format on

const Form& FormOf(shp_Family family) { return *std::ranges::find(kForms, family, &Form::family); }

cli_Json Edges(const shp_Shape& shape) {
  cli_Json edges = cli_Json::array();
  for (int face = 0; face < shape.NumFaces(); ++face)
    for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
      const auto nodes = shape.EdgeNodes(face, edge);
      if (nodes.empty()) continue;
      const auto isSame = [&](const cli_Json& other) {
        return other["nodes"].size() == nodes.size() && other["nodes"].back() == nodes.front()
               && other["nodes"].front() == nodes.back();
      };
      if (const auto known = std::ranges::find_if(edges, isSame); known != edges.end())
        (*known)["addresses"].push_back({face, edge});
      else
        edges.push_back({{"addresses", {{face, edge}}}, {"nodes", nodes}});
    }
  return edges;
}

std::string List(const cli_Json& values, std::size_t first, std::size_t last) {
  std::string text;
  for (std::size_t k = first; k < last; ++k) text += " " + values[k].dump();
  return text;
}

/// Coordinates in columns.
std::string Columns(const cli_Json& point) {
  std::ostringstream text;
  for (const cli_Json& value : point) text << std::setw(11) << std::setprecision(6) << value.get<double>();
  return text.str();
}

std::string Place(const cli_Json& position) { return position.is_null() ? "-" : position.dump(); }
} // namespace

cli_Json cli_ShapeSheet(const shp_Shape& shape) {
  const auto places = shape.NodeCoordinates();
  const exo_Cell cell = exo_FindCell(places);
  const auto exodus = cell == exo_Cell::None ? std::nullopt : exo_FindNodeOrder(cell, places);
  const auto vtk = exo_FindVtkCell(places);
  cli_Json sheet = {{"type", shape.Label()},
                    {"family", FormOf(shape.Options().Family()).name},
                    {"nodes", shape.NumNodes()},
                    {"integrationPoints", shape.NumIntPts()},
                    {"dimensions", shape.NumGeomDims()},
                    {"spaceDimensions", shape.NumSpatialDims()},
                    {"order", shape.InterpOrder()},
                    {"rings", shape.NumRings()},
                    {"exodus", nullptr},
                    {"vtk", nullptr}};
  if (exodus) sheet["exodus"] = std::string(exo_CellName(cell)) + std::to_string(places.size());
  if (vtk) sheet["vtk"] = {{"name", vtk->name}, {"number", vtk->type}};
  sheet["nodeTable"] = cli_Json::array();
  for (std::size_t node = 0; node < places.size(); ++node) {
    cli_Json row = {{"node", node}, {"iso", places[node]}, {"exodus", nullptr}, {"vtk", nullptr}};
    if (exodus) row["exodus"] = (*exodus)[node];
    if (vtk) row["vtk"] = vtk->order[node];
    sheet["nodeTable"].push_back(row);
  }
  sheet["faceTable"] = cli_Json::array();
  for (int face = 0; face < shape.NumFaces(); ++face) {
    if (shape.FaceNodes(face).empty()) continue;
    cli_Json row = {{"face", face},
                    {"corners", shape.CornersPerFace()[static_cast<std::size_t>(face)]},
                    {"nodes", shape.FaceNodes(face)}};
    if (!places.empty()) row["centre"] = shape.FaceCentreCoordinates()[static_cast<std::size_t>(face)];
    sheet["faceTable"].push_back(row);
  }
  sheet["edgeTable"] = Edges(shape);
  sheet["integrationPointTable"] = shape.IntPtCoordinates();
  return sheet;
}

void cli_PrintShapeSheet(std::ostream& out, const cli_Json& sheet) {
  const auto form =
      std::ranges::find_if(kForms, [&](const Form& each) { return sheet["family"] == each.name; });
  const auto counted = [&](const char* key, const char* what) {
    const int count = sheet[key];
    return std::to_string(count) + what + (count == 1 ? "" : "s");
  };
  out << sheet["type"].get<std::string>() << ": " << form->name << ", " << counted("nodes", " node") << ", "
      << counted("integrationPoints", " integration point") << ", order " << sheet["order"] << ", in "
      << sheet["spaceDimensions"] << "-D space\n";
  if (sheet["rings"] != 1) out << "The tables are those of the first of " << sheet["rings"] << " planes.\n";
  if (*form->drawing) out << '\n' << form->drawing;

  if (!sheet["nodeTable"].empty()) {
    out << "\nNodes         xi        eta       zeta  Exodus  VTK\n";
    for (const cli_Json& row : sheet["nodeTable"])
      out << std::setw(4) << row["node"].dump() << Columns(row["iso"]) << std::setw(8) << Place(row["exodus"])
          << std::setw(5) << Place(row["vtk"]) << '\n';
    const cli_Json &exodus = sheet["exodus"], &vtk = sheet["vtk"];
    out << "Exodus II: " << (exodus.is_null() ? "none" : exodus.get<std::string>()) << "; VTK: ";
    if (vtk.is_null())
      out << "none\n";
    else
      out << vtk["name"].get<std::string>() << " (" << vtk["number"] << ")\n";
  }
  out << "\nFaces: corners | other nodes\n";
  for (const cli_Json& row : sheet["faceTable"]) {
    const auto corners = row["corners"].get<std::size_t>();
    out << std::setw(4) << row["face"].dump() << ' ' << List(row["nodes"], 0, corners);
    if (corners < row["nodes"].size()) out << " |" << List(row["nodes"], corners, row["nodes"].size());
    out << '\n';
  }
  if (!sheet["edgeTable"].empty()) out << "\nEdges: face.edge addresses, nodes\n";
  for (const cli_Json& row : sheet["edgeTable"]) {
    std::string addresses;
    for (const cli_Json& address : row["addresses"])
      addresses += " " + address[0].dump() + "." + address[1].dump();
    out << "    " << std::left << std::setw(9) << addresses.substr(1) << std::right
        << List(row["nodes"], 0, row["nodes"].size()) << '\n';
  }
  if (!sheet["integrationPointTable"].empty()) out << "\nIntegration points\n";
  int point = 0;
  for (const cli_Json& row : sheet["integrationPointTable"])
    out << std::setw(4) << point++ << Columns(row) << '\n';
}
