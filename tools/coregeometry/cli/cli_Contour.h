// cli_Contour.h: results that are drawn: a field in colours and displacements, frame by frame
#pragma once

#include "cli_Values.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/pic_Scene.h>

struct cli_ContourArguments {
  std::string field, deform, range, frames, bands = "12", colours = "viridis";
  int cycle = 0;
  double rate = 10;
  bool undeformed = false;
  cli_ValueArguments values;

  bool AreGiven() const noexcept { return !field.empty() || !deform.empty(); }
};

void cli_AddContourOptions(cli_Command command, cli_ContourArguments& arguments);
/// Throws cli_UsageError for what no model could make right.
void cli_CheckContour(const cli_ContourArguments& arguments);

/// Bands, colours and the fixed ends of the range.
pic_Scale cli_ScaleOf(const cli_ContourArguments& arguments);

/// Prints the facts of cli_Contour; nothing for none.
void cli_ReportContour(const cli_Json& facts);

/// The frames that are drawn, with one scale and one factor for all. One frame is in memory at a time.
class cli_Contour {
public:
  /// Reads all frames once for the range and the largest displacement. Throws nex_TextException when there is no value.
  cli_Contour(const cls_Database& model, const cow_String& meshRoot, const bme_Mesh& mesh,
              const cli_ContourArguments& arguments);
  cli_Contour(const cli_Contour&) = delete;
  cli_Contour& operator=(const cli_Contour&) = delete;

  unsigned NumFrames() const noexcept { return static_cast<unsigned>(shots_.size()); }
  /// Of one frame on an outside of the mesh, until the next call.
  const pic_Results& Load(unsigned frame, const bme_Outside& outside);
  /// The displacement alone, for what must fit.
  const pic_Results& LoadShape(unsigned frame);
  /// What is drawn, for what is printed and for JSON.
  const cli_Json& Facts() const noexcept { return facts_; }

private:
  /// A frame, or a place in its cycle.
  struct Shot {
    odiC_When when;
    double angle = 0, factor = 1; ///< of complex values; of modes
  };
  void FindShots(const cli_ContourArguments& arguments);
  void FindRange(const cli_ContourArguments& arguments);
  void FindFactor(const std::string& scale);
  odiC_Values At(const odiC_Values& values, const Shot& shot) const;
  double FieldFactor(const Shot& shot) const;
  void GatherField(const Shot& shot, const bme_Outside& outside);
  void GatherDisplacement(const Shot& shot);
  cow_String TextOf(const Shot& shot) const;

  cls_ReadView view_;
  const bme_Mesh& mesh_;
  odiC_Run run_;
  std::optional<odiC_Values> field_, displacement_;
  std::vector<Shot> shots_;
  std::vector<odiC_Reduced> extremes_; ///< of the shots
  std::optional<pic_Field> shown_;
  std::vector<double> moved_;
  pic_Results results_;
  cli_Json facts_;
};
