#include "cli_Edit.h"

#include "cli_Console.h"
#include "cli_Datums.h"
#include "cli_StoreMesh.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_SendDatums.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/odiC_SendRun.h>
#include <cmath>
#include <cstring>
#include <iostream>

void cli_AddEditOptions(cli_Command command, cli_EditArguments& arguments) {
  cli_AddModelOptions(command, arguments.file, arguments.name, arguments.json);
  command.AddOption("-o,--output", arguments.output, "New model file for the result").TypeName("NEW.cgdb");
  command.AddOption("--as", arguments.as, "Name of the result; without -o it is stored in the same model")
      .TypeName("NAME");
  command.AddFlag("--replace", arguments.replace, "Store the result under the old name");
  command.AddFlag("--no-results", arguments.noResults, "Leave the results of the mesh out");
}

cli_EditSource cli_ReadMeshAndSets(const cls_Database& model, const cow_String& root) {
  const cls_ReadView view(model);
  cli_EditSource source{model.File(), root, {*model.Get<bme_Mesh>(root), bme_SetsOfMesh(model, root)}};
  if (const auto notes = cli_NotesOf(model, root)) source.all.notes = *notes;
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
    for (const cow_String& root : cli_RegionsOf(model, target)) pass.Remove(root);
  }
  if (const int id = IdFor(model, target); id != result.mesh->Id())
    fmt_Renumber(result, static_cast<unsigned>(id));
  pass.Put(target.root, *result.mesh);
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

std::map<cow_String, cow_String> cli_TypeChoice(const std::vector<std::string>& words) {
  std::map<cow_String, cow_String> types;
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == word.size())
      throw cli_UsageError("--map " + word + ": write TYPE=TYPE, such as C3D8=C3D27");
    types[word.substr(0, equals)] = word.substr(equals + 1);
  }
  return types;
}

cli_Json cli_ElementLabelList(const cli_EditSource& source, std::vector<unsigned> elements) {
  return bme_CompactLabels(bme_FEMElemList(source.all.mesh, std::move(elements)).Labels());
}
cli_Json cli_NodeLabelList(const cli_EditSource& source, std::vector<unsigned> nodes) {
  return bme_CompactLabels(bme_FEMNodeList(source.all.mesh, std::move(nodes)).Labels());
}

cli_EditPart::Image cli_ImageIn(const bme_Combined& combined, std::size_t part, const bme_MeshAndSets& source,
                                std::size_t firstSet, const gsl_Matrix& move) {
  cli_EditPart::Image image{combined.RenumberingOf(part), move, {}};
  for (std::size_t i = 0; i < source.sets.size(); ++i)
    if (const cow_String& now = combined.result.sets[firstSet + i].name; now != source.sets[i].name)
      image.sets[source.sets[i].name] = now;
  return image;
}

gsl_Matrix cli_InMesh(const bme_Mesh& mesh, const gsl_Matrix& matrix) {
  const bme_Placement placement(mesh);
  gsl_Matrix local = placement.ToPlaced();
  local.Concatenate(matrix);
  local.Concatenate(placement.ToLocal());
  return local;
}

namespace {
/// The rotation or mirror in a matrix that may also scale: what is left of its columns after those before them.
std::array<double, 9> TurnOf(const gsl_Matrix& m) {
  std::array<double, 9> turn{};
  for (std::size_t column = 0; column < 3; ++column) {
    std::array<double, 3> own{};
    for (std::size_t i = 0; i < 3; ++i)
      own[i] = m.Element(static_cast<unsigned>(i), static_cast<unsigned>(column));
    for (std::size_t before = 0; before < column; ++before) {
      double product = 0;
      for (std::size_t i = 0; i < 3; ++i) product += own[i] * turn[3 * i + before];
      for (std::size_t i = 0; i < 3; ++i) own[i] -= product * turn[3 * i + before];
    }
    const double length = std::sqrt(own[0] * own[0] + own[1] * own[1] + own[2] * own[2]);
    for (std::size_t i = 0; i < 3; ++i) turn[3 * i + column] = own[i] / length;
  }
  return turn;
}

/// Puts the datums and runs of the parts beside the new mesh.
class Followers {
public:
  Followers(const cls_Database& target, cls_WritePass& pass, const cli_MeshTarget& mesh, const bme_Mesh& made,
            std::vector<cow_String>& remarks)
      : target_(target), pass_(pass), to_(mesh), made_(made), remarks_(remarks) {}

  std::vector<cow_String> Put(std::span<const cli_EditPart> parts, bool isInside, bool withResults) {
    std::map<cow_String, int> counts;
    std::vector<cow_String> old = odiC_Run::RootsOf(target_, to_.root), made;
    std::vector<cls_Database> opened;
    std::vector<const cls_Database*> models;
    if (!isInside)
      for (const cli_EditPart& part : parts) opened.push_back(cli_OpenModel(part.source->file));
    for (std::size_t i = 0; i < parts.size(); ++i) models.push_back(isInside ? &target_ : &opened[i]);
    for (std::size_t i = 0; i < parts.size(); ++i)
      for (const cow_String& root : odiC_Run::RootsOf(*models[i], parts[i].source->root))
        ++counts[Leaf(root)];
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const Axes axes = PutDatums(*models[i], parts[i]);
      for (const cow_String& root : odiC_Run::RootsOf(*models[i], parts[i].source->root)) {
        if (!withResults) continue;
        const cow_String leaf = counts[Leaf(root)] > 1 ? parts[i].name + "." + Leaf(root) : Leaf(root);
        made.push_back(odiC_Run::RootOf(to_.root, leaf));
        PutRun(odiC_Run::Open(*models[i], root), parts[i], axes, made.back());
      }
    }
    for (const cow_String& root : old)
      if (std::ranges::find(made, root) == made.end()) odiC_RemoveRun(target_, pass_, root);
    if (datums_.Count() > 0) pass_.Put(cli_DatumRoot(to_.root), datums_);
    return made;
  }

private:
  using Axes = std::map<cow_String, cow_String>;

  static cow_String Leaf(const cow_String& root) { return root.substr(root.rfind('/') + 1); }

  Axes PutDatums(const cls_Database& model, const cli_EditPart& part) {
    const cow_String from = cli_DatumRoot(part.source->root), to = cli_DatumRoot(to_.root);
    Axes axes;
    if (!model.Has(from) || model.TypeId(from) != dtu_DatumContainer::TypeId()) return axes;
    const auto stored = model.Get<dtu_DatumContainer>(from);
    const cli_EditPart::Image& image = part.images[0];
    const dtu_DatumContainer sent =
        bme_SendDatums(*stored, image.renumbering, part.source->all.mesh, made_, image.move, remarks_);
    const bool isFirst = datums_.Count() == 0;
    if (isFirst) datums_ = sent;
    datums_.SetOwnerNames({to.substr(std::strlen(bme_kDatumFolder))});
    for (const auto& [id, datum] : sent) {
      const cow_String& own = sent.NameOf(id);
      cow_String name = own;
      if (!isFirst) {
        if (datums_.Find(name)) name = part.name + "." + own;
        datums_.Replace(datums_.Add(dtu_Datum(0, 0, datum->GetDatumType()), name), *datum);
      }
      const cow_String root = cow_String(to).append("/").append(name);
      axes[own] = root;
      axes[cow_String(from).append("/").append(own)] = root;
    }
    return axes;
  }

  void PutRun(const odiC_Run& run, const cli_EditPart& part, const Axes& axes, const cow_String& root) {
    std::vector<odiC_Image> images;
    for (const cli_EditPart::Image& image : part.images)
      images.push_back({&image.renumbering, TurnOf(image.move), image.sets, axes});
    const std::vector<cow_String> remarks =
        odiC_SendRun(run, images, part.source->all.mesh, made_, target_, pass_, root);
    remarks_.insert(remarks_.end(), remarks.begin(), remarks.end());
  }

  const cls_Database& target_;
  cls_WritePass& pass_;
  const cli_MeshTarget& to_;
  const bme_Mesh& made_;
  std::vector<cow_String>& remarks_;
  dtu_DatumContainer datums_;
};
} // namespace

void cli_StoreEdited(const cli_EditArguments& arguments, const cli_EditSource& source,
                     const bme_Edited& edited, const cli_Json& facts, const gsl_Matrix& move) {
  const cli_EditPart part{&source, {}, {{edited.renumbering, move, {}}}};
  cli_StoreEdited(arguments, std::span(&part, 1), edited.result, edited.remarks, facts);
}

void cli_StoreEdited(const cli_EditArguments& arguments, std::span<const cli_EditPart> parts,
                     bme_MeshAndSets result, std::vector<cow_String> remarks, const cli_Json& facts) {
  const cli_EditSource& source = *parts[0].source;
  fmt_Import import;
  import.mesh = std::make_unique<bme_Mesh>(result.mesh);
  import.sets = std::move(result.sets);
  import.notes = result.notes;
  cli_MeshTarget target;
  target.file = arguments.output.empty() ? arguments.file : arguments.output;
  target.name =
      arguments.as.empty() ? source.root.substr(std::strlen(bme_kMeshFolder)) : cow_String(arguments.as);
  target.root = bme_kMeshFolder + target.name;
  const bool isInside = arguments.output.empty();
  std::vector<cow_String> runs;
  const auto put = [&](const cls_Database& model, cls_WritePass& pass) {
    Put(model, pass, target, import, arguments.replace);
    runs = Followers(model, pass, target, *import.mesh, remarks).Put(parts, isInside, !arguments.noResults);
  };
  if (isInside) {
    cls_Database model = cli_OpenModel(arguments.file, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(model);
    put(model, pass);
    pass.Commit();
  } else {
    cls_CreateModel(arguments.output, cli_OptionsFor(*import.mesh), put);
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
    json["runs"] = runs;
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
  for (const cow_String& run : runs) cli_Report() << "  results: " << run << '\n';
}
