#include "cli_Model.h"

#include "cli_Console.h"

#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>

void cli_ExpectFile(const std::string& file, const char* what) {
  namespace fs = std::filesystem;
  for (const char* input : {"-", "/dev/stdin", "/dev/fd/0", "/proc/self/fd/0"})
    if (file == input)
      throw nex_TextException(file + ": " + what + " must be a file, not the standard input");
  if (file.empty() || file == ":memory:")
    throw nex_TextException('"' + file + "\": " + what + " must be a file of another name");
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status))
    throw nex_TextException(file + ": " + what + " must be a regular file, not a pipe or a device");
}

cls_Database cli_OpenModel(const std::string& file, cls_Database::Mode mode) {
  cli_ExpectFile(file, "a model");
  return cls_Database::Open(file, mode);
}

std::vector<cow_String> cli_MeshRoots(const cls_Database& model) {
  return model.RootsOf({bme_Mesh::TypeId()});
}

cow_String cli_ChooseMesh(const cls_Database& model, const cow_String& name) {
  const std::vector<cow_String> meshes = cli_MeshRoots(model);
  if (meshes.empty()) throw nex_TextException(model.File() + ": holds no mesh");
  if (name.empty() && meshes.size() == 1) return meshes.front();
  for (const cow_String& root : meshes)
    if (!name.empty() && (root == name || root == bme_kMeshFolder + name)) return root;
  if (name.empty())
    throw nex_TextException(model.File() + ": holds several meshes, choose one with --name"
                            + atr_Alternatives("", meshes));
  std::vector<cow_String> names;
  names.reserve(meshes.size());
  for (const cow_String& root : meshes)
    names.push_back(root.starts_with(bme_kMeshFolder) ? root.substr(std::strlen(bme_kMeshFolder)) : root);
  throw nex_TextException(model.File() + ": no mesh \"" + name + '"' + atr_Alternatives(name, names));
}

cow_CountedHld<bme_MeshNotes> cli_NotesOf(const cls_Database& model, const cow_String& meshRoot) {
  if (!meshRoot.starts_with(bme_kMeshFolder)) return {};
  const cow_String root = bme_kNotesFolder + meshRoot.substr(std::strlen(bme_kMeshFolder));
  if (!model.Has(root) || model.TypeId(root) != bme_MeshNotes::TypeId()) return {};
  return model.Get<bme_MeshNotes>(root);
}

long long cli_NumNotFinite(const bme_Mesh& mesh) {
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  const auto isFinite = [&](int node) {
    const auto at = 3 * static_cast<std::size_t>(node);
    return at + 2 >= xyz.size()
           || std::ranges::all_of(xyz.subspan(at, 3), [](float x) { return std::isfinite(x); });
  };
  if (std::ranges::all_of(xyz, [](float x) { return std::isfinite(x); })) return 0;
  long long count = 0;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(i);
    for (int e = 0; e < type.NumElements(); ++e)
      count += !std::ranges::all_of(type.Connectivity(e), isFinite);
  }
  return count;
}

long long cli_NumWithoutShape(const bme_Mesh& mesh) {
  long long count = 0;
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    if (const bme_ElementClass& type = mesh.ElementData().GetClass(i); !type.IsSupported())
      count += type.NumElements();
  return count;
}

cow_String cli_TypeText(const cow_String& type, int pyramidNodes) {
  return (pyramidNodes > 0 ? "pyramids as collapsed " : "") + type;
}

void cli_LabelRange::Add(std::span<const int> labels) {
  if (labels.empty()) return;
  const auto [low, high] = std::ranges::minmax(labels);
  Add({static_cast<long long>(labels.size()), low, high});
}

void cli_LabelRange::Add(const cli_LabelRange& other) {
  if (other.count == 0) return;
  smallest = count == 0 ? other.smallest : std::min(smallest, other.smallest);
  largest = count == 0 ? other.largest : std::max(largest, other.largest);
  count += other.count;
}

cow_String cli_Text(float value) {
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

cli_Json cli_Number(float value) {
  double shortest = 0;
  const cow_String text = cli_Text(value);
  std::from_chars(text.data(), text.data() + text.size(), shortest);
  return shortest;
}

cli_Json cli_PlacedPoint(const bme_Placement& placement, const gsl_Point& local) {
  gsl_Point placed = local;
  if (placement.IsNone())
    return {cli_Number(static_cast<float>(placed[0])), cli_Number(static_cast<float>(placed[1])),
            cli_Number(static_cast<float>(placed[2]))};
  placement.ToPlaced().Transform(placed);
  return {placed[0], placed[1], placed[2]};
}

bme_Placement cli_PlacementOf(const cls_Database& model, const cow_String& meshRoot) {
  struct Transform {
    explicit Transform(const cls_ReadVisitor& mesh) : value(cls_ReadVisitor(mesh, "transform")) {}
    gsl_PersistentMatrix value;
  };
  if (!model.Has(meshRoot) || model.TypeId(meshRoot) != bme_Mesh::TypeId()) return {};
  return bme_Placement(model.GetValue<Transform>(model.Resolve(meshRoot)).value.Matrix());
}

void cli_AddModelOptions(cli_Command command, std::string& file, std::string& name, bool& json) {
  command.AddOption("MODEL", file, "Model file (.cgdb)").Required();
  command.AddOption("--name", name, "Name of the mesh; not needed when the model has one mesh");
  command.AddFlag("--json", json, "Print the facts as JSON");
}

namespace {
/// As JSON, `depth` levels deep in what is printed.
std::string Text(const cli_Json& json, std::size_t depth) {
  // names that are not UTF-8 are shown with a sign in place of their bytes
  const std::string text =
      cli_Printable(json.dump(2, ' ', false, cli_Json::error_handler_t::replace), cli_Escape::Json);
  const std::string indent(2 * depth, ' ');
  std::string indented;
  for (const char c : text) {
    indented += c;
    if (c == '\n') indented += indent;
  }
  return indented;
}

/// The members of an object without its braces.
std::string Members(const cli_Json& json) {
  const std::string text = Text(json, 0);
  return json.empty() ? "" : text.substr(1, text.size() - 3);
}
} // namespace

void cli_PrintJson(const cli_Json& json) { std::cout << Text(json, 0) << '\n'; }

cli_JsonStream::cli_JsonStream(const cli_Json& head) { std::cout << '{' << Members(head); }

void cli_JsonStream::BeginList(const char* key) {
  std::cout << ",\n  " << cli_Json(key).dump() << ": [";
  isFirst_ = true;
}

void cli_JsonStream::Add(const cli_Json& item) {
  std::cout << (isFirst_ ? "\n    " : ",\n    ") << Text(item, 2);
  isFirst_ = false;
}

void cli_JsonStream::EndList() { std::cout << (isFirst_ ? "]" : "\n  ]"); }

void cli_JsonStream::End(const cli_Json& tail) {
  std::cout << (tail.empty() ? "" : ",") << Members(tail) << "\n}\n";
}
