// coregeometry csys: datums of a model, and points into its coordinate systems and back
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Regions.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_Mapping.h>

namespace {
struct Arguments {
  std::string file, name, added, kind = "cartesian";
  std::vector<double> toLocal, toGlobal, origin = {0, 0, 0}, x = {1, 0, 0}, y = {0, 1, 0};
  bool radians = false, force = false, json = false;
};

template<class Triple> cli_Json Numbers(const Triple& triple) {
  return {triple[0] + 0.0, triple[1] + 0.0, triple[2] + 0.0}; // no -0
}

cow_String TripleText(const cli_Json& numbers) {
  return "(" + cow_String(numbers[0].dump()) + ", " + numbers[1].dump() + ", " + numbers[2].dump() + ")";
}

const char* KindText(dtu_DatumCsysType kind) {
  switch (kind) {
  case dtu_CARTESIAN: return "cartesian";
  case dtu_CYLINDRICAL: return "cylindrical";
  case dtu_SPHERICAL: return "spherical";
  }
  return "unknown";
}

/// What is printed of a datum: its kind and named triples.
cli_Json Describe(const dtu_Datum& datum) {
  gsl_Point point;
  gsl_Vector direction;
  if (const auto* csys = dynamic_cast<const dtu_DatumCsys*>(&datum))
    return {{"kind", KindText(csys->GetCsysType()) + std::string(" system")},
            {"origin", Numbers(csys->Origin())},
            {"x", Numbers(csys->Xaxis())},
            {"y", Numbers(csys->Yaxis())},
            {"z", Numbers(csys->Zaxis())}};
  if (const auto* axis = dynamic_cast<const dtu_DatumAxis*>(&datum)) {
    axis->Geometry(point, direction);
    return {{"kind", "axis"}, {"point", Numbers(point)}, {"direction", Numbers(direction)}};
  }
  if (const auto* plane = dynamic_cast<const dtu_DatumPlane*>(&datum)) {
    plane->Geometry(point, direction);
    return {{"kind", "plane"}, {"point", Numbers(point)}, {"normal", Numbers(direction)}};
  }
  if (datum.DynTypeId() == dtu_Datum::TypeId()) return cli_Json::object({{"kind", "datum without geometry"}});
  return {{"kind", "point"}, {"point", Numbers(datum.Point())}};
}

void List(const Arguments& arguments, const cls_Database& model) {
  cli_Json json = cli_Json::array();
  for (const cow_String& root : cli_DatumRoots(model)) {
    if (!arguments.name.empty() && root != arguments.name && root != cli_kDatumFolder + arguments.name)
      continue;
    cli_Json facts = {{"datum", root}};
    facts.update(Describe(*model.Get<dtu_Datum>(root)));
    json.push_back(std::move(facts));
  }
  if (json.empty() && !arguments.name.empty())
    throw nex_TextException(model.File() + ": no datum \"" + arguments.name + "\"");
  if (arguments.json) return cli_PrintJson({{"file", arguments.file}, {"datums", json}});
  if (json.empty()) cli_Out() << arguments.file << ": no coordinate systems or other datums\n";
  for (const cli_Json& facts : json) {
    cli_Out() << facts["datum"].get<std::string>() << ": " << facts["kind"].get<std::string>();
    for (const auto& [key, value] : facts.items())
      if (value.is_array()) cli_Out() << ", " << key << ' ' << TripleText(value);
    cli_Out() << '\n';
  }
}

/// The system that the user calls `name`; without a name the only one of the model.
cow_CountedHld<dtu_DatumCsys> Choose(const cls_Database& model, const cow_String& name, cow_String& chosen) {
  cow_String list;
  int count = 0;
  for (const cow_String& root : cli_DatumRoots(model)) {
    if (!dynamic_cast<const dtu_DatumCsys*>(&*model.Get<dtu_Datum>(root))) continue;
    if (!name.empty() && name != root && cli_kDatumFolder + name != root) {
      list += (list.empty() ? "" : ", ") + root;
      continue;
    }
    list += (list.empty() ? "" : ", ") + root;
    chosen = root;
    ++count;
  }
  if (count == 1) return model.Get<dtu_DatumCsys>(chosen);
  throw nex_TextException(model.File() + ": "
                          + (list.empty()   ? "holds no coordinate system"
                             : name.empty() ? "holds several coordinate systems (" + list + "), choose one"
                                            : "no coordinate system \"" + name + "\", it holds " + list));
}

void Map(const Arguments& arguments, const cls_Database& model) {
  cow_String root;
  const auto csys = Choose(model, arguments.name, root);
  cli_Json points = cli_Json::array();
  const auto map = [&](const std::vector<double>& from, bool intoLocal) {
    std::vector<double> to = from;
    if (intoLocal)
      dtu_MapGlobalIntoLocal(std::span(to), *csys, !arguments.radians);
    else
      dtu_MapLocalIntoGlobal(std::span(to), *csys);
    for (std::size_t i = 0; i < to.size(); i += 3)
      points.push_back({{intoLocal ? "global" : "local", Numbers(from.data() + i)},
                        {intoLocal ? "local" : "global", Numbers(to.data() + i)}});
  };
  map(arguments.toLocal, true);
  map(arguments.toGlobal, false);
  if (arguments.json)
    return cli_PrintJson({{"file", arguments.file},
                          {"system", root},
                          {"kind", KindText(csys->GetCsysType())},
                          {"degrees", !arguments.radians},
                          {"points", points}});
  for (const cli_Json& point : points) {
    const char* separator = "";
    for (const auto& [key, value] : point.items()) {
      cli_Out() << separator << key << ' ' << TripleText(value);
      separator = " is ";
    }
    cli_Out() << '\n';
  }
}

/// Adds a system with unit axes at right angles: x as given, y on the side that is given.
void Add(const Arguments& arguments) {
  const auto vector = [](const std::vector<double>& v) { return gsl_Vector(v[0], v[1], v[2]); };
  const gsl_Vector x = vector(arguments.x).UnitCopy(), given = vector(arguments.y).UnitCopy(),
                   z = x.CrossProduct(given).UnitCopy();
  constexpr double kParallel = 1e-6; // sine of the angle between them
  if (!(x.CrossProduct(given).Magnitude() > kParallel))
    throw cli_UsageError("--x and --y must be two directions, not one");
  const dtu_DatumCsysType kind = arguments.kind == "cylindrical" ? dtu_CYLINDRICAL
                                 : arguments.kind == "spherical" ? dtu_SPHERICAL
                                                                 : dtu_CARTESIAN;
  const cow_String root = cli_kDatumFolder + arguments.added;
  cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
  const gsl_Point origin(arguments.origin[0], arguments.origin[1], arguments.origin[2]);
  const dtu_DatumCsys csys(0, 0, origin, x, z.CrossProduct(x), z, kind);
  cls_WritePass pass(model);
  if (model.Has(root) && !arguments.force)
    throw nex_TextException(model.File() + ": already holds " + root + "; replace it with --force");
  pass.Put(root, csys);
  pass.Commit();
}

void CheckTriples(const char* option, const std::vector<double>& numbers) {
  if (numbers.size() % 3 != 0)
    throw cli_UsageError(cow_String("csys: ") + option + " needs three coordinates a point, X,Y,Z");
}

void Run(const Arguments& arguments) {
  CheckTriples("--to-local", arguments.toLocal);
  CheckTriples("--to-global", arguments.toGlobal);
  cli_Console console;
  console.Begin("reading " + arguments.file);
  if (!arguments.added.empty()) Add(arguments);
  const cls_Database model = cli_OpenModel(arguments.file);
  console.End();
  if (arguments.toLocal.empty() && arguments.toGlobal.empty())
    List(arguments, model);
  else
    Map(arguments, model);
}
} // namespace

void cli_AddCsys(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("csys", "List coordinate systems and other datums, map points, add a system");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("MODEL", arguments->file, "Model file (.cgdb)")->required();
  command->add_option("NAME", arguments->name,
                      "Datum to list, or coordinate system to map with; not needed when the model has one");
  const auto addPoints = [&](const char* name, std::vector<double>& points, const char* help) {
    command->add_option(name, points, help)
        ->delimiter(',')
        ->type_name("X,Y,Z")
        ->expected(1)
        ->allow_extra_args(false)
        ->take_all();
  };
  addPoints("--to-local", arguments->toLocal, "Global point to map; can be given again");
  addPoints("--to-global", arguments->toGlobal,
            "Local point to map, with angles in degrees; can be given again");
  command->add_flag("--radians", arguments->radians, "Print angles in radians instead of degrees");
  command->add_option("--add", arguments->added, "Name of a coordinate system to add to the model");
  command->add_option("--kind", arguments->kind, "cartesian, cylindrical or spherical")
      ->check(CLI::IsMember({"cartesian", "cylindrical", "spherical"}));
  const auto addTriple = [&](const char* name, std::vector<double>& triple, const char* help) {
    command->add_option(name, triple, help)->delimiter(',')->type_name("X,Y,Z")->expected(3);
  };
  addTriple("--origin", arguments->origin, "Its origin, 0,0,0 by default");
  addTriple("--x", arguments->x, "Its x direction, 1,0,0 by default");
  addTriple("--y", arguments->y, "A direction on the side of its y, 0,1,0 by default");
  command->add_flag("--force", arguments->force, "Replace a datum of the same name");
  command->add_flag("--json", arguments->json, "Print the facts as JSON");
  command->footer("Local coordinates are x, y, z; or radius, angle, axial; or radius, azimuth, polar angle. "
                  "Angles are\n"
                  "in degrees; with --radians those of --to-local are printed in radians.\n"
                  "\n"
                  "Example: a cylindrical system, and a point in it\n"
                  "  coregeometry csys bracket.cgdb --add hole --kind cylindrical --origin 0.03,0.015,0\n"
                  "  coregeometry csys bracket.cgdb hole --to-local 0.03,0.02,0.005");
  command->callback([arguments] { Run(*arguments); });
}
