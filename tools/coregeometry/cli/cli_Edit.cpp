#include "cli_Edit.h"

#include "cli_Console.h"
#include "cli_StoreMesh.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreGeometry/odiC_Run.h>
#include <cstring>
#include <iostream>

void cli_AddEditOptions(cli_Command command, cli_EditArguments& arguments) {
  cli_AddModelOptions(command, arguments.file, arguments.name, arguments.json);
  command.AddOption("-o,--output", arguments.output, "New model file for the result").TypeName("NEW.cgdb");
  command.AddOption("--as", arguments.as, "Name of the result; without -o it is stored in the same model")
      .TypeName("NAME");
  command.AddFlag("--replace", arguments.replace, "Store the result under the old name");
}

cli_EditSource cli_ReadMeshAndSets(const cls_Database& model, const cow_String& root) {
  const cls_ReadView view(model);
  cli_EditSource source{root, {*model.Get<bme_Mesh>(root), bme_SetsOfMesh(model, root)}};
  if (const auto notes = cli_NotesOf(model, root)) source.all.notes = *notes;
  source.numRuns = odiC_Run::RootsOf(model, root).size();
  return source;
}

cli_EditSource cli_ReadEditSource(const cli_EditArguments& arguments) {
  const bool isInside = arguments.output.empty();
  if (isInside && arguments.as.empty() && !arguments.replace)
    throw cli_UsageError("where shall the result go? Give -o NEW.cgdb, --as NAME or --replace");
  if (arguments.replace && (!isInside || !arguments.as.empty()))
    throw cli_UsageError("--replace stores under the old name, so there is no -o and no --as with it");
  const cls_Database model = cli_OpenModel(arguments.file);
  return cli_ReadMeshAndSets(model, cli_ChooseMesh(model, arguments.name));
}

namespace {
template<class List> std::vector<unsigned> OfSet(const cli_EditSource& source, const cow_String& name) {
  const bme_NamedSet* set = bme_FindSet(source.all.sets, name, source.root);
  if (!set) throw nex_TextException(source.root + ": has no set \"" + name + '"');
  const List list = List::FromSet(source.all.mesh, set->data);
  return {list.begin(), list.end()};
}

int IdFor(const cls_Database& model, const cli_MeshTarget& target) {
  if (model.Has(target.root)) return bme_StoredMeshId(model, target.root);
  int next = 0;
  for (const cow_String& mesh : cli_MeshRoots(model))
    next = std::max(next, bme_StoredMeshId(model, mesh) + 1);
  return next;
}

void Put(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target, fmt_Import& result,
         bool replaces) {
  if (model.Has(target.root) && !replaces)
    throw nex_TextException(target.file.string() + ": already holds " + target.root
                            + "; choose another name with --as");
  if (replaces) {
    if (const auto runs = odiC_Run::RootsOf(model, target.root); !runs.empty())
      throw nex_TextException(target.file.string() + ": " + target.root + " has results (" + runs[0]
                              + "), which are not carried; keep it, and store the result with --as or -o");
    for (const cow_String& root : cli_RegionsOf(model, target)) pass.Remove(root);
  }
  if (const int id = IdFor(model, target); id != result.mesh->Id())
    fmt_Renumber(result, static_cast<unsigned>(id));
  cli_PutMesh(model, pass, target, *result.mesh);
  cli_PutSets(model, pass, target, result.sets);
  cli_PutNotes(model, pass, target, result.notes, replaces);
}
} // namespace

std::vector<unsigned> cli_ElementsOfSet(const cli_EditSource& source, const cow_String& set) {
  return OfSet<bme_FEMElemList>(source, set);
}
std::vector<unsigned> cli_NodesOfSet(const cli_EditSource& source, const cow_String& set) {
  return OfSet<bme_FEMNodeList>(source, set);
}

std::vector<unsigned> cli_FacesOfSet(const cli_EditSource& source, const cow_String& set) {
  return OfSet<bme_FEMFaceList>(source, set);
}

cli_Json cli_ElementLabelList(const cli_EditSource& source, std::vector<unsigned> elements) {
  return bme_CompactLabels(bme_FEMElemList(source.all.mesh, std::move(elements)).Labels());
}
cli_Json cli_NodeLabelList(const cli_EditSource& source, std::vector<unsigned> nodes) {
  return bme_CompactLabels(bme_FEMNodeList(source.all.mesh, std::move(nodes)).Labels());
}

void cli_StoreEdited(const cli_EditArguments& arguments, const cli_EditSource& source, bme_MeshAndSets result,
                     const std::vector<cow_String>& remarks, const cli_Json& facts) {
  fmt_Import import;
  import.mesh = std::make_unique<bme_Mesh>(result.mesh);
  import.sets = std::move(result.sets);
  import.notes = result.notes;
  cli_MeshTarget target;
  target.file = arguments.output.empty() ? arguments.file : arguments.output;
  target.name =
      arguments.as.empty() ? source.root.substr(std::strlen(bme_kMeshFolder)) : cow_String(arguments.as);
  target.root = bme_kMeshFolder + target.name;
  if (arguments.output.empty()) {
    cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(model);
    Put(model, pass, target, import, arguments.replace);
    pass.Commit();
  } else {
    cls_CreateModel(
        arguments.output, cli_OptionsFor(*import.mesh),
        [&](const cls_Database& model, cls_WritePass& pass) { Put(model, pass, target, import, false); });
  }
  const bme_Mesh& mesh = *import.mesh;
  if (arguments.json) {
    cli_Json json = {{"file", arguments.file},
                     {"mesh", source.root},
                     {"model", target.file.string()},
                     {"result", target.root},
                     {"nodes", mesh.NodeData().NumNodes()},
                     {"elements", mesh.ElementData().NumElements()},
                     {"classes", mesh.ElementData().NumClasses()},
                     {"sets", import.sets.size()}};
    json.update(facts);
    json["remarks"] = remarks;
    json["runsNotCarried"] = source.numRuns;
    cli_PrintJson(json);
    return;
  }
  cli_Report() << source.root << " of " << arguments.file << " is stored in " << target.file.string()
               << " as " << target.root << ":\n  " << mesh.NodeData().NumNodes() << " nodes, "
               << mesh.ElementData().NumElements() << " elements in " << mesh.ElementData().NumClasses()
               << " classes, " << import.sets.size() << " sets\n";
  for (const auto& [key, value] : facts.items()) {
    if (value == "") continue;
    cli_Report() << "  " << key << ": " << (value.is_string() ? value.get<std::string>() : value.dump())
                 << '\n';
  }
  for (const cow_String& remark : remarks) cli_Report() << "  " << remark << '\n';
  if (source.numRuns > 0)
    cli_Report() << "  the results of the mesh are not carried: " << source.numRuns << " runs\n";
}
