// coregeometry map: results of one mesh on another one
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"
#include "cli_Values.h"
#include "cli_Words.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_Derive.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_Map.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <filesystem>
#include <set>

namespace {
struct Arguments {
  std::string donor, donorMesh, target, targetMesh, field, output, as, donorSet, set, at = "nodes",
                                                                                      sides = "any";
  double distance = 0;
  bool replace = false, isConservative = false, json = false;
  cli_ValueArguments values;
};

bme_FEMFaceList FacesOf(const cls_Database& model, const cow_String& root, const bme_Mesh& mesh,
                        const cow_String& name) {
  const std::vector<bme_NamedSet> sets = bme_SetsOfMesh(model, root);
  const bme_NamedSet* set = bme_FindSet(sets, name, root);
  if (!set) throw nex_TextException(root + ": has no set \"" + name + '"');
  if (set->kind == rgnC_ELEMENT_SET)
    return bme_FEMFaceList::OfElements(bme_FEMElemList::FromSet(mesh, set->data));
  return bme_FEMFaceList::FromSet(mesh, set->data);
}

odiC_Sides SidesOf(const std::string& text) {
  return text == "same" ? odiC_Sides::Same : text == "opposite" ? odiC_Sides::Opposite : odiC_Sides::Any;
}

res_OutputPositionEnm PositionOf(const std::string& text) {
  return text == "points" ? res_INTEGRATION_POINT : text == "elements" ? res_WHOLE_ELEMENT : res_NODAL;
}

/// Writes the frames of a run on the target, with the steps of the donor that have some.
class FrameCopy {
public:
  FrameCopy(odiC_RunWriter& writer, const odiC_Run& donor) : writer_(writer), donor_(donor) {}

  void Begin(const odiC_When& when) {
    if (when.next >= 0)
      throw nex_TextException("what lies between two frames cannot be mapped; choose a frame");
    const odiC_Step& step = donor_.Header().steps[static_cast<std::size_t>(when.step)];
    if (when.step != step_) writer_.BeginStep(step.name, step.kind, step.domain, step.startTime);
    step_ = when.step;
    writer_.BeginFrame(step.Frame(when.frame));
  }

private:
  odiC_RunWriter& writer_;
  const odiC_Run& donor_;
  int step_ = -1;
};

/// Integrals of the values before, of the run that was made after.
cli_Json IntegralsOf(const odiC_Values& values, const std::string& set) {
  cli_Json all = cli_Json::array();
  if (set.empty()) {
    for (const odiC_IntegralOf& one : odiC_Integrate(values))
      all.push_back({{"dims", one.dims},
                     {"measure", one.measure},
                     {"integrals", one.integrals},
                     {"notNumbers", one.notNumbers}});
  } else {
    for (const odiC_FaceIntegralOf& one : odiC_IntegrateFaces(values, set))
      all.push_back(
          {{"dims", 2}, {"measure", one.area}, {"integrals", one.integrals}, {"notNumbers", one.notNumbers}});
  }
  return all;
}

struct Target {
  cls_Database model;
  cow_String root;
  cow_CountedHld<bme_Mesh> mesh;
  std::optional<bme_FEMFaceList> faces{};
};

Target OpenTarget(const Arguments& arguments) {
  std::string file = arguments.target;
  if (!arguments.output.empty()) {
    if (std::filesystem::exists(arguments.output))
      throw nex_TextException(arguments.output + ": exists already");
    cli_OpenModel(arguments.target); // tells first what is wrong with it
    std::filesystem::copy_file(arguments.target, arguments.output);
    file = arguments.output;
  }
  cls_Database model = cli_OpenModel(file, cls_Database::Mode::ReadWrite);
  const cow_String root = cli_ChooseMesh(model, arguments.targetMesh);
  auto mesh = model.Get<bme_Mesh>(root);
  Target target{std::move(model), root, std::move(mesh)};
  if (!arguments.set.empty()) target.faces = FacesOf(target.model, root, *target.mesh, arguments.set);
  return target;
}

void Map(const Arguments& arguments, const odiC_Values& values, const Target& target, odiC_RunWriter& writer,
         const odiC_MapOptions& options, cli_Json& facts) {
  const odiC_Map map(values, *target.mesh, options);
  facts["mapped"] = map.Layout().numRows;
  facts["unmapped"] = bme_CompactLabels(map.Unmapped());
  facts["numUnmapped"] = map.Unmapped().size();
  facts["largestDistance"] = map.LargestDistance();
  if (map.Layout().numRows == 0)
    throw nex_TextException(target.root + ": no place is in the donor, or near enough");
  const int variable = writer.AddVariable(map.Variable(values.Variable().name)),
            layout = writer.AddLayout(map.Layout());
  FrameCopy frames(writer, values.Run());
  for (const odiC_When& when : values.Frames()) {
    frames.Begin(when);
    odiC_PutValues(writer, variable, layout, map.Read(when));
  }
  facts["variable"] = values.Variable().name;
  facts["before"] = IntegralsOf(values, arguments.donorSet);
}

void Transfer(const odiC_Values& values, const Target& target, odiC_RunWriter& writer,
              const odiC_MapOptions& options, cli_Json& facts) {
  FrameCopy frames(writer, values.Run());
  const cow_String name = values.Variable().name + " force";
  cli_Json all = cli_Json::array();
  std::set<int> unmapped;
  for (const odiC_When& when : values.Frames()) {
    const odiC_Loads loads = odiC_TransferLoads(values, when, *target.mesh, options);
    frames.Begin(when);
    odiC_PutValues(writer, writer.AddVariable(odiC_Variable(name, res_VECTOR)),
                   writer.AddLayout(loads.layout), loads.forces, true);
    all.push_back({{"forceBefore", loads.forceBefore},
                   {"forceAfter", loads.forceAfter},
                   {"momentBefore", loads.momentBefore},
                   {"momentAfter", loads.momentAfter},
                   {"areaMissing", loads.areaMissing}});
    unmapped.insert(loads.unmapped.begin(), loads.unmapped.end());
    facts["mapped"] = loads.layout.numRows;
    facts["largestDistance"] = loads.largestDistance;
  }
  facts["unmapped"] = bme_CompactLabels(std::vector<int>(unmapped.begin(), unmapped.end()));
  facts["numUnmapped"] = unmapped.size();
  facts["variable"] = name;
  facts["loads"] = all;
}

void Check(const Arguments& arguments) {
  if (arguments.output.empty() != arguments.replace)
    throw cli_UsageError(
        "where shall the result go? Give -o NEW.cgdb, or --replace to store it in the target");
  if (arguments.donorSet.empty() != arguments.set.empty())
    throw cli_UsageError("surfaces are mapped with both --donor-set and --set");
  if (arguments.isConservative && arguments.set.empty())
    throw cli_UsageError("--conservative needs --donor-set and --set");
  if (!arguments.set.empty() && arguments.at != "nodes")
    throw cli_UsageError("surfaces have their values --at nodes");
}

void Run(const Arguments& arguments) {
  Check(arguments);
  cli_Console console;
  const cls_Database donorModel = cli_OpenModel(arguments.donor);
  const odiC_Run donor = cli_OpenRun(donorModel, arguments.donorMesh, arguments.values.run);
  const odiC_Values values = cli_ValuesOf(donor, arguments.field, arguments.values, cli_FrameDefault::All);
  console.Begin("reading " + arguments.target);
  Target target = OpenTarget(arguments);
  odiC_MapOptions options{.position = PositionOf(arguments.at),
                          .distance = arguments.distance,
                          .sides = SidesOf(arguments.sides)};
  std::optional<bme_FEMFaceList> donorFaces;
  if (target.faces) {
    donorFaces = FacesOf(donorModel, donor.Header().meshRoot, donor.Mesh(), arguments.donorSet);
    options.donorFaces = &*donorFaces;
    options.targetFaces = &*target.faces;
  }
  const cow_String leaf = arguments.as.empty() ? cow_String(donor.Root().substr(donor.Root().rfind('/') + 1))
                                               : cow_String(arguments.as);
  const cow_String root = odiC_Run::RootOf(target.root, leaf);
  if (target.model.Has(root))
    throw nex_TextException(target.model.File() + ": has " + root
                            + " already; choose another name with --as");
  console.Begin("mapping");
  cli_Json facts;
  try {
    odiC_RunWriter writer(target.model, root, *target.mesh);
    writer.HeaderToDescribe().description = values.Variable().name + " of " + arguments.donor;
    writer.HeaderToDescribe().units = donor.Header().units;
    if (arguments.isConservative)
      Transfer(values, target, writer, options, facts);
    else
      Map(arguments, values, target, writer, options, facts);
    writer.Commit();
  } catch (...) {
    if (!arguments.output.empty()) std::filesystem::remove(arguments.output);
    throw;
  }
  if (!arguments.isConservative) {
    const odiC_Run made = odiC_Run::Open(target.model, root);
    facts["after"] = IntegralsOf(odiC_Values(made, values.Variable().name), arguments.set);
  }
  console.End();
  if (arguments.json) {
    cli_Json json = {{"donor", arguments.donor},
                     {"target", arguments.target},
                     {"model", target.model.File()},
                     {"run", root}};
    json.update(facts);
    return cli_PrintJson(json);
  }
  cli_Report() << "stored as " << root << " in " << target.model.File() << ":\n";
  for (const auto& [key, value] : facts.items())
    cli_Report() << "  " << key << ": " << (value.is_string() ? value.get<std::string>() : value.dump())
                 << '\n';
}
} // namespace

void cli_AddMap(cli_Command& program) {
  cli_Command command = program.AddCommand("map", "Bring results from one mesh to another");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("donor", arguments->donor, "Model with the results").Required();
  command.AddOption("target", arguments->target, "Model with the mesh that they are wanted on").Required();
  command.AddOption("--field", arguments->field, "Name of the variable").Required();
  command.AddOption("--donor-name", arguments->donorMesh, "Mesh of the donor, when there are several")
      .TypeName("MESH");
  command.AddOption("--name", arguments->targetMesh, "Mesh of the target, when there are several")
      .TypeName("MESH");
  command.AddOption("-o,--output", arguments->output, "New model: the target with the mapped run")
      .TypeName("NEW.cgdb");
  command.AddFlag("--replace", arguments->replace, "Store the run in the target itself");
  command.AddOption("--as", arguments->as, "Name of the run (default that of the donor's)").TypeName("RUN");
  command.AddOption("--at", arguments->at, "Where values are wanted (default nodes)")
      .OneOf({"nodes", "points", "elements"});
  command.AddOption("--distance", arguments->distance, "Of places outside the donor, or of surfaces")
      .NonNegative();
  command.AddOption("--donor-set", arguments->donorSet, "Surface of the donor, or set of its shells")
      .TypeName("SET");
  command.AddOption("--set", arguments->set, "Surface of the target, or set of its shells").TypeName("SET");
  command.AddOption("--sides", arguments->sides, "How faces look that belong together (default any)")
      .OneOf({"any", "same", "opposite"});
  command.AddFlag("--conservative", arguments->isConservative, "Pressures or tractions to forces at nodes");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  cli_ValueArguments& values = arguments->values;
  command.AddOption("--run", values.run, "Run of the donor, when there are several").TypeName("RUN");
  command.AddOption("--step", values.step, "Name or number of a step").TypeName("STEP");
  command.AddOption("--frame", values.frame, "N (from 0), last, all (default) or FIRST:LAST:STEP")
      .TypeName("FRAMES");
  command.AddOption("--component", values.component, "One component only").TypeName("NAME");
  command.AddOption("--invariant", values.invariant, "An invariant instead").TypeName("NAME");
  command.AddOption("--section", values.section, "Section points: bottom, top, envelope or a label")
      .TypeName("POINT");
  command.AddFlag("--at-nodes", values.atNodes, "Average values of elements at nodes first");
  command.Footer(
      "Values are interpolated in the donor's elements; with --at-nodes those of elements are averaged at "
      "nodes\n"
      "first. Places outside have the value of the closest place within --distance, or none, and are "
      "listed.\n"
      "--conservative keeps the resultant force and moment.\n"
      "\n"
      "Example:\n"
      "  coregeometry map flow.cgdb wing.cgdb --field P --donor-set wall --set wet --distance 0.01\n"
      "    --sides opposite --conservative -o loaded.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
