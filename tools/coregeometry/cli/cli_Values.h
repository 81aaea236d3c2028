// cli_Values.h: which values of results a command is about, said the same way in every command
#pragma once

#include "cli_Model.h"

#include <CoreGeometry/odiC_Values.h>
#include <string>
#include <vector>

struct cli_ValueArguments {
  std::string run, step, frame, value, set, category, box, position, component, invariant, csys, section,
      complex;
  std::string borders, order, weights;
  std::vector<std::string> nodes, elements, points;
  int classIndex = -1;
  double threshold = 100, normals = 30;
  bool atNodes = false, atElementNodes = false, atCentroids = false;

  bool HasFrames() const noexcept { return !frame.empty() || !value.empty(); }
};

/// Options that choose frames, places and, unless a formula names them, quantities, in groups of the help.
void cli_AddValueOptions(cli_Command command, cli_ValueArguments& arguments, bool hasQuantity = true);

/// The run of that name, its number or its root; without a name the only one of the mesh, or of the model.
odiC_Run cli_OpenRun(const cls_Database& model, const cow_String& meshName, const cow_String& name);

/// What a command does when the user names no frame.
enum class cli_FrameDefault { Last, All };
odiC_Values cli_ValuesOf(const odiC_Run& run, const std::string& variable,
                         const cli_ValueArguments& arguments, cli_FrameDefault frames);

/// The frames and places without a quantity, and how values are averaged at nodes.
odiC_Selection cli_SelectionOf(const odiC_Run& run, const cli_ValueArguments& arguments,
                               cli_FrameDefault frames);
odiC_ToNodes cli_ToNodesOf(const cli_ValueArguments& arguments);

/// The choices in force, for what is printed and for JSON.
cli_Json cli_ChoicesJson(const odiC_Values& values);
void cli_PrintChoices(const cli_Json& choices);
/// "step "Pull", frame 3, TIME 0.3"
cow_String cli_WhenText(const odiC_Run& run, const odiC_When& when);
cli_Json cli_WhenJson(const odiC_Run& run, const odiC_When& when);
cli_Json cli_PlaceJson(const odiC_PlaceLabel& place);
/// A number, or null for what is none.
cli_Json cli_Finite(double value);
/// Nine digits at most.
cow_String cli_ShortNumber(double value);
