// spl_Split.h: the split model that a sub-command works on
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <CoreGeometry/dst_Model.h>

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
  }                                                               ///< of the whole mesh, without elements
  const gsl_Matrix& ToLocal() const noexcept { return toLocal_; } ///< the inverse of the placement
  struct Set {
    cow_String region, contents; ///< roots
  };
  const std::vector<Set>& Sets() const noexcept {
    return sets_;
  } ///< sets and surfaces of the mesh, by region

private:
  dst_Model model_;
  dst_Mesh mesh_;
  bme_ElementData classes_;
  gsl_Matrix toLocal_;
  std::vector<Set> sets_;
};

void spl_AddInfo(cli_Command& program, dst_Exchange& exchange);
void spl_AddMeasure(cli_Command& program, dst_Exchange& exchange);
void spl_AddSkin(cli_Command& program, dst_Exchange& exchange);
