// cli_Measures.h: values that measuring needs, and how measures are printed
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/gsl_Matrix.h>

/// --density, --thickness, --section-area and --point-mass: a number for all, or PART=NUMBER.
class cli_MeasureValues {
public:
  void AddTo(cli_Command command);
  /// Throws cli_UsageError for what is no number, nex_TextException for a part that the mesh does not have.
  bme_MeasureOptions For(const bme_ElementData& elements) const;

private:
  struct Option {
    const char *name, *of;
    bme_ElementValue bme_MeasureOptions::*target;
    std::vector<std::string> words = {};
  };
  static bme_ElementValue Parse(const Option& option, const bme_ElementData& elements);

  std::array<Option, 4> options_ = {
      {{"--density", "Density", &bme_MeasureOptions::density},
       {"--thickness", "Thickness of shells, membranes and plane elements", &bme_MeasureOptions::thickness},
       {"--section-area", "Section area of lines", &bme_MeasureOptions::sectionArea},
       {"--point-mass", "Mass of elements of a single node", &bme_MeasureOptions::pointMass}}};
};

/// Prints measures of groups of elements, as text or as one JSON document.
class cli_MeasureReport {
public:
  /// Centres and inertia are given in the frame: the rigid transform from its coordinates to those of the mesh.
  cli_MeasureReport(std::string file, std::string mesh, const gsl_Matrix& frame, bool hasMass, bool isJson);
  void Add(const std::string& name, const bme_Measures& measures);
  void End(); ///< throws cli_Incomplete, having said so, when totals lack elements

private:
  std::string file_, mesh_;
  gsl_Matrix frame_;
  bool hasMass_, isJson_, isIncomplete_ = false;
  cli_Json json_;
};
