// coregeometry csys: datums of a model, and points into its coordinate systems and back
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_Words.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_RegenerateDatums.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/dtu_DynamicDatumCsys.h>
#include <CoreGeometry/dtu_Mapping.h>

namespace {
struct Arguments {
  std::string file, name, mesh, added, removed, kind = "cartesian";
  std::vector<double> toLocal, toGlobal;
  std::optional<std::array<double, 3>> origin, x, y;
  std::vector<int> nodes;
  bool onCircle = false, radians = false, force = false, json = false;
};

cow_String ListText(const cli_Json& numbers) {
  cow_String text;
  for (const cli_Json& number : numbers) text += (text.empty() ? "(" : ", ") + number.dump();
  return text + ")";
}

/// The mesh whose datums are meant; in a model without meshes whatever part is named.
cow_String MeshRoot(const Arguments& arguments, const cls_Database& model) {
  const bool isNamed = !arguments.mesh.empty() && arguments.nodes.empty();
  return isNamed && cli_MeshRoots(model).empty() ? bme_kMeshFolder + arguments.mesh
                                                 : cli_ChooseMesh(model, arguments.mesh);
}

/// The datums that are asked about: of one mesh when it is named.
std::vector<cli_Datum> Datums(const Arguments& arguments, const cls_Database& model) {
  return cli_Datums(model, arguments.mesh.empty() ? cow_String() : MeshRoot(arguments, model));
}

void List(const Arguments& arguments, const cls_Database& model) {
  std::vector<cli_Datum> datums = Datums(arguments, model);
  if (!arguments.name.empty()) datums = {cli_Datum(cli_ChooseDatum(model, datums, arguments.name, "datum"))};
  cli_Json json = cli_Json::array();
  for (const cli_Datum& one : datums) {
    cli_Json facts = {{"datum", one.Path()}};
    if (one.id != 0) facts["id"] = one.id;
    facts.update(cli_DatumFacts(*one.datum));
    json.push_back(std::move(facts));
  }
  if (arguments.json) return cli_PrintJson({{"file", arguments.file}, {"datums", json}});
  if (json.empty()) cli_Out() << arguments.file << ": no coordinate systems or other datums\n";
  for (const cli_Json& facts : json) {
    cli_Out() << facts["datum"].get<std::string>() << ": " << facts["kind"].get<std::string>();
    for (const auto& [key, value] : facts.items())
      if (value.is_array()) cli_Out() << ", " << key << ' ' << ListText(value);
    cli_Out() << '\n';
  }
}

/// The system that the user calls by name; without a name the only one.
cli_Datum Choose(const Arguments& arguments, const cls_Database& model) {
  std::vector<cli_Datum> systems = Datums(arguments, model);
  std::erase_if(systems,
                [](const cli_Datum& one) { return !dynamic_cast<const dtu_DatumCsys*>(&*one.datum); });
  if (!arguments.name.empty()) return cli_ChooseDatum(model, systems, arguments.name, "coordinate system");
  if (systems.size() == 1) return systems.front();
  cow_String list;
  for (const cli_Datum& one : systems) list += (list.empty() ? "" : ", ") + one.Path();
  throw nex_TextException(
      model.File() + ": holds "
      + (list.empty() ? "no coordinate system" : "several coordinate systems (" + list + "), choose one"));
}

cli_Json Triple(const std::vector<double>& numbers, std::size_t first) {
  return {numbers[first] + 0.0, numbers[first + 1] + 0.0, numbers[first + 2] + 0.0}; // no -0
}

void Map(const Arguments& arguments, const cls_Database& model) {
  const cli_Datum chosen = Choose(arguments, model);
  const auto& csys = dynamic_cast<const dtu_DatumCsys&>(*chosen.datum);
  const cow_String kind = cli_KindText(csys);
  cli_Json points = cli_Json::array();
  const auto map = [&](const std::vector<double>& from, bool intoLocal) {
    std::vector<double> to = from;
    if (intoLocal)
      dtu_MapGlobalIntoLocal(std::span(to), csys, !arguments.radians);
    else
      dtu_MapLocalIntoGlobal(std::span(to), csys);
    for (std::size_t i = 0; i < to.size(); i += 3)
      points.push_back({{intoLocal ? "global" : "local", Triple(from, i)},
                        {intoLocal ? "local" : "global", Triple(to, i)}});
  };
  map(arguments.toLocal, true);
  map(arguments.toGlobal, false);
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.file},
                          {"system", chosen.Path()},
                          {"kind", kind.substr(0, kind.find(' '))},
                          {"degrees", !arguments.radians},
                          {"points", points}});
  for (const cli_Json& point : points) {
    const char* separator = "";
    for (const auto& [key, value] : point.items()) {
      cli_Out() << separator << key << ' ' << ListText(value);
      separator = " is ";
    }
    cli_Out() << '\n';
  }
}

/// Unit axes at right angles: x as given, y on the side that is given.
dtu_DatumCsys FixedSystem(const Arguments& arguments, dtu_DatumCsysType kind) {
  using Triple = std::array<double, 3>;
  const auto vector = [](const std::optional<Triple>& given, const Triple& otherwise) {
    const Triple& v = given ? *given : otherwise;
    return gsl_Vector(v[0], v[1], v[2]);
  };
  const gsl_Vector x = vector(arguments.x, {1, 0, 0}).UnitCopy(),
                   given = vector(arguments.y, {0, 1, 0}).UnitCopy(), z = x.CrossProduct(given).UnitCopy();
  constexpr double kParallel = 1e-6; // sine of the angle between them
  if (!(x.CrossProduct(given).Magnitude() > kParallel))
    throw cli_UsageError("--x and --y must be two directions, not one");
  return {0, 0, gsl_Point(0, 0, 0) + vector(arguments.origin, {0, 0, 0}), x, z.CrossProduct(x), z, kind};
}

std::unique_ptr<dtu_Datum> MakeSystem(const Arguments& arguments) {
  const dtu_DatumCsysType kind = arguments.kind == "cylindrical" ? dtu_CYLINDRICAL
                                 : arguments.kind == "spherical" ? dtu_SPHERICAL
                                                                 : dtu_CARTESIAN;
  if (arguments.nodes.empty()) return std::make_unique<dtu_DatumCsys>(FixedSystem(arguments, kind));
  const std::vector<int>& nodes = arguments.nodes;
  return std::make_unique<dtu_DynamicDatumCsys>(0, 0, 0, 0, 0, nodes[0], nodes[1], nodes[2], kind,
                                                arguments.onCircle);
}

/// The container of that root; an empty one of the mesh when there is none yet.
dtu_DatumContainer ContainerAt(const cls_Database& model, const cow_String& root) {
  dtu_DatumContainer container;
  if (!model.Has(root)) {
    container.SetOwnerNames({root.substr(cow_String(bme_kDatumFolder).size())});
    return container;
  }
  if (model.TypeId(root) != dtu_DatumContainer::TypeId())
    throw nex_TextException(model.File() + ": " + root
                            + " stands in the place of the container of the mesh's datums; remove it first");
  return *model.Get<dtu_DatumContainer>(root);
}

/// Gives the system the frame that the nodes of the mesh have now.
void Follow(dtu_DatumContainer& container, int id, const bme_Mesh& mesh, const cow_String& place) {
  dtu_DatumContainer one;
  one.Add(container.Get(id), container.NameOf(id));
  for (const bme_LostDatum& lost : bme_RegenerateDatums(one, mesh))
    throw nex_TextException(place + ": " + lost.Text());
  container.Replace(id, one.Get(id));
}

/// Datums are stored in the coordinates of their mesh, as its nodes are.
void MoveIntoMesh(dtu_DatumContainer& container, int id, const bme_Placement& placement) {
  if (placement.IsNone()) return;
  dtu_DatumContainer one;
  one.Add(container.Get(id), container.NameOf(id));
  one.TransformData(placement.ToLocal());
  container.Replace(id, one.Get(id));
}

/// Whatever depends on what the model holds is decided here, where nobody else can change it.
void Add(const Arguments& arguments, const dtu_Datum& datum, const cls_Database& model, cls_WritePass& pass) {
  const cow_String mesh = MeshRoot(arguments, model), root = cli_DatumRoot(mesh);
  dtu_DatumContainer container = ContainerAt(model, root);
  int id = 0;
  for (const cli_Datum& one : cli_Datums(model, mesh)) {
    if (one.name != arguments.added) continue;
    if (!arguments.force)
      throw nex_TextException(model.File() + ": already holds " + one.Path() + "; replace it with --force");
    if (one.id == 0) pass.Remove(one.root);
    id = std::max(id, one.id);
  }
  if (id == 0)
    id = container.Add(datum, arguments.added);
  else
    container.Replace(id, datum);
  if (arguments.nodes.empty()) MoveIntoMesh(container, id, cli_PlacementOf(model, mesh));
  if (!arguments.nodes.empty()) {
    const bme_StoredMesh stored(model, mesh); // of the mesh the named nodes are enough
    std::vector<int> nodes;
    for (const unsigned node : stored.FindNodes(arguments.nodes))
      if (node != bme_kNotFound) nodes.push_back(static_cast<int>(node));
    Follow(container, id, stored.NodesAlone(nodes), model.File() + ", " + mesh);
  }
  pass.Put(root, container);
}

void Remove(const Arguments& arguments, const cls_Database& model, cls_WritePass& pass) {
  const std::vector<cli_Datum> datums = Datums(arguments, model);
  const cli_Datum& one = cli_ChooseDatum(model, datums, arguments.removed, "datum");
  if (one.id == 0) return pass.Remove(one.root);
  dtu_DatumContainer container = *model.Get<dtu_DatumContainer>(one.root);
  container.Remove(one.id);
  pass.Put(one.root, container);
}

void Change(const Arguments& arguments) {
  if (arguments.added.empty() && arguments.removed.empty()) return;
  const std::unique_ptr<dtu_Datum> datum = MakeSystem(arguments);
  cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
  cls_WritePass pass(model);
  if (arguments.added.empty())
    Remove(arguments, model, pass);
  else
    Add(arguments, *datum, model, pass);
  pass.Commit();
}

void CheckTriples(const char* option, const std::vector<double>& numbers) {
  if (numbers.size() % 3 != 0)
    throw cli_UsageError(cow_String(option) + " needs three coordinates a point, X,Y,Z");
}

void Run(const Arguments& arguments) {
  CheckTriples("--to-local", arguments.toLocal);
  CheckTriples("--to-global", arguments.toGlobal);
  cli_Console console;
  console.Begin("reading " + arguments.file);
  Change(arguments);
  const cls_Database model = cli_OpenModel(arguments.file);
  console.End();
  if (arguments.toLocal.empty() && arguments.toGlobal.empty())
    List(arguments, model);
  else
    Map(arguments, model);
}
} // namespace

void cli_AddCsys(cli_Command& program) {
  cli_Command command =
      program.AddCommand("csys", "List coordinate systems and other datums, map points, add and remove");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb)").Required();
  command.AddOption("NAME", arguments->name,
                    "Datum to list, or coordinate system to map with; not needed when the model has one");
  const auto addPoints = [&](const char* name, std::vector<double>& points, const char* help) {
    command.AddOption(name, points, help).Delimiter(',').TypeName("X,Y,Z").Repeatable();
  };
  addPoints("--to-local", arguments->toLocal, "Global point to map; can be given again");
  addPoints("--to-global", arguments->toGlobal,
            "Local point to map, with angles in degrees; can be given again");
  command.AddFlag("--radians", arguments->radians, "Print angles in radians instead of degrees");
  command.AddOption("--name", arguments->mesh,
                    "Name of the mesh; needed to add to a model with several meshes");
  cli_Option add = command.AddOption("--add", arguments->added, "Name of a coordinate system to add");
  command.AddOption("--remove", arguments->removed, "Datum to remove").Excludes(add);
  command.AddOption("--kind", arguments->kind, "cartesian, cylindrical or spherical")
      .OneOf({"cartesian", "cylindrical", "spherical"});
  cli_Option nodes = command
                         .AddOption("--from-nodes", arguments->nodes,
                                    "Labels of three nodes that it follows: its origin, a node on x, a "
                                    "node on the side of y")
                         .Delimiter(',')
                         .TypeName("N1 N2 N3")
                         .Words(3, 3)
                         .Needs(add);
  command
      .AddFlag("--on-circle", arguments->onCircle,
               "The nodes lie on a circle: its origin is the centre, x points to the first node")
      .Needs(nodes);
  cli_AddTriple(command, "--origin", arguments->origin, "Its origin, 0,0,0 by default").Excludes(nodes);
  cli_AddTriple(command, "--x", arguments->x, "Its x direction, 1,0,0 by default").Excludes(nodes);
  cli_AddTriple(command, "--y", arguments->y, "A direction on the side of its y, 0,1,0 by default")
      .Excludes(nodes);
  command.AddFlag("--force", arguments->force, "Replace a datum of the same name");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "Local coordinates are x, y, z; or radius, angle, axial; or radius, azimuth, polar angle. "
      "Angles are\n"
      "in degrees; with --radians those of --to-local are printed in radians.\n"
      "\n"
      "Datums stand in the container of their mesh, as datums/MESH/NAME; single ones of earlier models are\n"
      "listed and used like them. A system made with --from-nodes keeps the labels of its nodes.\n"
      "\n"
      "Example: a cylindrical system, and a point in it; a system that follows three nodes\n"
      "  coregeometry csys bracket.cgdb --add hole --kind cylindrical --origin 0.03,0.015,0\n"
      "  coregeometry csys bracket.cgdb hole --to-local 0.03,0.02,0.005\n"
      "  coregeometry csys bracket.cgdb --add corner --from-nodes 1010 1100 1500");
  command.OnRun([arguments] { Run(*arguments); });
}
