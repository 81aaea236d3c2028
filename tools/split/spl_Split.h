// spl_Split.h: the split model that a sub-command works on, part by part
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <CoreGeometry/bme_NamedSet.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/dst_Labels.h>
#include <CoreGeometry/dst_Model.h>
#include <functional>

/// Folder, --name and --json.
struct spl_Arguments {
  std::string folder, name;
  bool json = false;
};
void spl_AddOptions(cli_Command command, spl_Arguments& arguments);

/// A split model, opened by all ranks, and what they read of its first part without nodes and elements.
class spl_Split {
public:
  spl_Split(const spl_Arguments& arguments, dst_Exchange& exchange);

  const dst_SplitFolder& Folder() const noexcept { return model_.Folder(); }
  const dst_Index& Index() const noexcept { return model_.Index(); }
  const dst_Mesh& Mesh() const noexcept { return mesh_; }
  dst_Exchange& Exchange() const { return mesh_.Exchange(); }
  const bme_ElementData& Classes() const noexcept {
    return classes_;
  } ///< of the whole mesh, without elements
  const bme_Placement& Placement() const noexcept { return placement_; }
  struct Set {
    cow_String region, contents; ///< roots
  };
  const std::vector<Set>& Sets() const noexcept {
    return sets_;
  } ///< sets and surfaces of the mesh, by region

  /// Root of the contents of a set of the mesh, as it stands in a part.
  cow_String ContentsOf(const bme_NamedSet& set) const;

private:
  dst_Model model_;
  dst_Mesh mesh_;
  bme_ElementData classes_;
  bme_Placement placement_;
  std::vector<Set> sets_;
};

/// What each own part tells, for all parts and on all ranks. Numbers keep all their digits.
std::vector<cli_Json> spl_Gather(dst_Exchange& exchange, const std::function<cli_Json(unsigned part)>& tell);
/// What the parts tell about places that they have, on all ranks; null for places that are nowhere.
std::vector<cli_Json>
spl_Describe(const dst_Mesh& mesh, std::span<const dst_Place> places,
             const std::function<cli_Json(const dst_OpenPart& part, const dst_Place& place)>& tell);
/// Class index and class of an element of a part, and which one of the class it is.
struct spl_ElementOfPart {
  spl_ElementOfPart(const dst_OpenPart& part, unsigned element);
  unsigned classIndex = 0, inClass = 0;
  const bme_ElementClass* type = nullptr;
};
/// The label that a node of a part has in the whole mesh; its number there when that has none.
std::int64_t spl_NodeLabel(const dst_Mesh& mesh, const dst_OpenPart& part, unsigned node);

/// A model file in a folder of its own among those for temporary files. It is removed again; what a killed process has left
/// is removed by the next one.
class spl_TemporaryModel {
public:
  explicit spl_TemporaryModel(std::string folder); ///< of the split, which errors name instead
  ~spl_TemporaryModel();
  spl_TemporaryModel(const spl_TemporaryModel&) = delete;
  spl_TemporaryModel& operator=(const spl_TemporaryModel&) = delete;

  const std::string& File() const noexcept { return file_; }
  void Run(const std::function<void()>& work) const;

private:
  std::string folder_, file_;
  int lock_ = -1; ///< on the folder, until the process ends
};

/// "skin.exo.64.07": the name, the number of parts, and the part with as many digits.
std::string spl_FileOf(const std::string& name, unsigned part, unsigned numParts);
