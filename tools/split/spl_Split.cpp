#include "spl_Split.h"

#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_StoredSets.h>
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

void spl_AddOptions(cli_Command command, spl_Arguments& arguments) {
  command.AddOption("SPLIT", arguments.folder, "Folder of a split model").Required().TypeName("FOLDER");
  command.AddOption("--name", arguments.name, "Name of its mesh").TypeName("MESH");
  command.AddFlag("--json", arguments.json, "Print the answer as JSON");
}

spl_Split::spl_Split(const spl_Arguments& arguments, dst_Exchange& exchange)
    : model_(arguments.folder, exchange),
      mesh_(arguments.name.empty() ? model_.Mesh() : model_.Mesh(arguments.name)) {
  exchange.OnEachRank([&] {
    const unsigned numIdle =
        exchange.NumRanks() > Index().NumParts() ? exchange.NumRanks() - Index().NumParts() : 0;
    if (exchange.IsFirstRank() && numIdle > 0)
      cli_Out(std::cerr) << "coregeometry-mpi: -n " << exchange.NumRanks() << " ranks, " << Index().NumParts()
                         << " parts: " << numIdle << " ranks have nothing to do\n";
    for (unsigned c = 0; c < Index().NumClasses(); ++c)
      classes_.AddElementClass(Index().Class(c).MakeClass({}, {}));
    const cls_Database first = Folder().OpenPartFile(0);
    const cow_String root = Folder().MeshRoot();
    placement_ = cli_PlacementOf(first, root);
    const bme_MeshIndex meshes(first);
    const int id = bme_StoredMeshId(first, root);
    for (const auto& [region, contents] : bme_StoredRegions(first))
      if (contents.GetSetData().IsDefined() && meshes.RootOf(contents, id) == root)
        sets_.push_back({region, contents.GetSetData().Path()});
  });
  exchange.Agree();
}

cow_String spl_Split::ContentsOf(const bme_NamedSet& set) const {
  const cow_String region = cow_String(bme_kRegionFolder) + Index().MeshName() + "/" + set.Root();
  const auto stored = std::ranges::find_if(
      sets_, [&](const Set& one) { return one.region == region || one.region == set.Root(); });
  return stored == sets_.end() ? set.Root() : stored->contents;
}

std::vector<cli_Json> spl_Gather(dst_Exchange& exchange, const std::function<cli_Json(unsigned part)>& tell) {
  std::vector<std::vector<std::byte>> own(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned part) {
    const std::vector<std::uint8_t> bytes = cli_Json::to_cbor(tell(part));
    const std::span<const std::byte> view = std::as_bytes(std::span(bytes));
    own[part - exchange.MyParts().first].assign(view.begin(), view.end());
  });
  std::vector<cli_Json> told;
  for (const std::vector<std::byte>& bytes : exchange.Gather(own)) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    told.push_back(cli_Json::from_cbor(first, first + bytes.size()));
  }
  return told;
}

std::vector<cli_Json>
spl_Describe(const dst_Mesh& mesh, std::span<const dst_Place> places,
             const std::function<cli_Json(const dst_OpenPart& part, const dst_Place& place)>& tell) {
  std::vector<std::vector<std::size_t>> ofPart(mesh.NumParts());
  for (std::size_t i = 0; i < places.size(); ++i)
    if (places[i].IsFound()) ofPart[places[i].part].push_back(i);
  const std::vector<cli_Json> told = spl_Gather(mesh.Exchange(), [&](unsigned part) {
    cli_Json facts = cli_Json::array();
    for (const std::size_t i : ofPart[part]) facts.push_back(tell(mesh.Part(part), places[i]));
    return facts;
  });
  std::vector<cli_Json> all(places.size());
  for (unsigned part = 0; part < mesh.NumParts(); ++part)
    for (std::size_t k = 0; k < ofPart[part].size(); ++k) all[ofPart[part][k]] = told[part][k];
  return all;
}

spl_ElementOfPart::spl_ElementOfPart(const dst_OpenPart& part, unsigned element) {
  const bme_ElementData& elements = part.mesh->ElementData();
  elements.GetClassAndElemIndex(element, classIndex, inClass);
  type = &elements.GetClass(classIndex);
}

std::int64_t spl_NodeLabel(const dst_Mesh& mesh, const dst_OpenPart& part, unsigned node) {
  return mesh.Index().HasNodeLabels() ? std::int64_t{part.mesh->NodeData().UserNodeLabels().Const()[node]}
                                      : static_cast<std::int64_t>(part.part->NodeNumber(node));
}

namespace {
constexpr const char* kJoined = "coregeometry-joined-";

int OpenFolder(const std::string& name) {
  return open(name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// Folders of processes that have ended.
void RemoveLeftOvers() {
  std::error_code ignored;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::temp_directory_path(), ignored)) {
    if (!entry.path().filename().string().starts_with(kJoined)) continue;
    const int folder = OpenFolder(entry.path().string());
    if (folder < 0) continue;
    if (flock(folder, LOCK_EX | LOCK_NB) == 0) std::filesystem::remove_all(entry.path(), ignored);
    close(folder);
  }
}
} // namespace

spl_TemporaryModel::spl_TemporaryModel(std::string folder) : folder_(std::move(folder)) {
  RemoveLeftOvers();
  std::string made;
  do { // again when another process took the folder for a left-over one before it was locked
    if (lock_ >= 0) close(lock_);
    made = (std::filesystem::temp_directory_path() / kJoined).string() + "XXXXXX";
    if (!mkdtemp(made.data())) throw nex_TextException(made + ": cannot be made");
    lock_ = OpenFolder(made);
    if (lock_ >= 0) flock(lock_, LOCK_EX);
  } while (!std::filesystem::exists(made));
  file_ = made + "/joined.cgdb";
}

spl_TemporaryModel::~spl_TemporaryModel() {
  std::error_code ignored;
  std::filesystem::remove_all(std::filesystem::path(file_).parent_path(), ignored);
  if (lock_ >= 0) close(lock_);
}

void spl_TemporaryModel::Run(const std::function<void()>& work) const {
  try {
    work();
  } catch (const nex_TextException& failure) {
    cow_String text = failure.Message();
    for (std::size_t at = 0; (at = text.find(file_, at)) != cow_String::npos; at += folder_.size())
      text.replace(at, file_.size(), folder_);
    throw nex_TextException(text);
  }
}

std::string spl_FileOf(const std::string& name, unsigned part, unsigned numParts) {
  const std::string all = std::to_string(numParts), one = std::to_string(part);
  return name + "." + all + "." + std::string(all.size() - one.size(), '0') + one;
}
