// odiC_Values.h: an expression over a variable: frames, places, a component or invariant, at nodes
#pragma once

#include <CoreGeometry/odiC_NodeAverage.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_Selection.h>
#include <CoreGeometry/odiC_Source.h>
#include <optional>

/// Where values are carried to.
enum class odiC_CarriedTo { AsStored, ElementNodes, Centroids, Faces, Nodes };

/// Values of a variable, chosen and carried when they are read. A value: each call answers another one.
///
/// Stages come in this order: the display of complex numbers, turning into a system, then at nodes: extrapolation,
/// component or invariant, mean (odiC_Order::Before), and last the envelope over section points when that is chosen.
/// Global axes and coordinates are those of the mesh's nodes, without its placement.
///
/// Cost       what places, layouts and groups need is made once for the frames that share a layout.
/// Errors     odiC_Exception beginning with model, run and variable; it lists what there is.
/// Threads    one thread at a time; the run must outlive it.
class CORE_GEOMETRY_API odiC_Values {
public:
  odiC_Values(const odiC_Run& run, const cow_String& variable, odiC_Selection where = {});

  // choose
  odiC_Values Component(const cow_String& name) const { return With(where_.Component(name)); }
  odiC_Values Invariant(res_InvariantEnm invariant) const { return With(where_.Invariant(invariant)); }
  odiC_Values System(res_CoordSystemEnm system) const { return With(where_.System(system)); }
  odiC_Values System(const cow_String& datumRoot) const { return With(where_.System(datumRoot)); }
  odiC_Values Display(res_ComplexDisplayEnm display, double angle = 0) const {
    return With(where_.Display(display, angle));
  }
  odiC_Values Peak() const { return With(where_.Peak()); }
  odiC_Values AtNodes(const odiC_ToNodes& options = {}) const;
  odiC_Values AtElementNodes() const;
  odiC_Values AtCentroids() const;
  odiC_Values AtFaces() const; ///< at all faces of each element; of a selected surface at those that it has

  // ask
  const odiC_Run& Run() const noexcept { return *run_; }
  const odiC_Variable& Variable() const noexcept {
    return run_->Header().variables[static_cast<std::size_t>(variable_)];
  }
  int VariableIndex() const noexcept { return variable_; }
  const odiC_Selection& Where() const noexcept { return where_; }
  odiC_CarriedTo CarriedTo() const noexcept { return to_; }
  const odiC_ToNodes& ToNodes() const noexcept { return toNodes_; }
  std::vector<odiC_When> Frames() const { return where_.FramesOf(*run_, variable_); }
  /// Names of what a row has; one empty name for a scalar.
  std::vector<cow_String> Components() const;
  int NumComponents() const { return static_cast<int>(Components().size()); }
  /// One number a row; otherwise an error that lists the components and invariants there are.
  void ExpectOneNumber() const;
  /// The values of a frame. Several section points stay apart unless the envelope was selected; `section` says
  /// what is done when nothing was selected.
  odiC_SourcePointer Open(const odiC_When& when,
                          std::optional<res_SectionResultsEnm> section = std::nullopt) const;
  /// "MISES of S in step "Pull", frame 3 (value 0.3); at nodes: ..."
  cow_String Text() const;
  /// The choices in force, those that were made and those that are meant without being made.
  std::vector<std::pair<cow_String, cow_String>> Choices() const;

private:
  struct Stage;  ///< a source and the variable that its rows are of
  struct Places; ///< what was found for layouts
  odiC_Values With(odiC_Selection where) const;
  odiC_Values To(odiC_CarriedTo to) const;
  [[noreturn]] void Fail(const cow_String& what) const;
  cow_String WithPlace(const odiC_When* when, const cow_String& message) const;
  /// What `make` makes; its errors begin with model, run, frame and variable.
  template<class Make> auto Told(const odiC_When* when, const Make& make) const;
  odiC_SourcePointer Opened(const odiC_When& when, std::optional<res_SectionResultsEnm> section) const;
  std::vector<cow_String> NamesOfComponents() const;
  odiC_Places PlacesIn(const std::shared_ptr<const odiC_Layout>& layout) const;
  Stage Shown(const odiC_When& when) const;
  void TurnByDatum(Stage& stage, const cow_String& name, bool isInto) const;
  void TurnToGlobal(Stage& stage, const odiC_When& when) const;
  void Turn(Stage& stage, const odiC_When& when) const;
  odiC_Variable Turned(const odiC_Variable& variable) const;
  odiC_SourcePointer Axes(const odiC_Variable& variable, const odiC_When& when,
                          const odiC_Places::Layout& layout) const;
  void Choose(Stage& stage) const;
  void Carry(Stage& stage, const odiC_When& when) const;
  void Average(Stage& stage) const;

  const odiC_Run* run_;
  int variable_;
  odiC_Selection where_;
  odiC_CarriedTo to_ = odiC_CarriedTo::AsStored;
  odiC_ToNodes toNodes_;
  std::shared_ptr<Places> places_;
};

/// What a row is a value of in the words of a user, with the section point that its value is taken from.
CORE_GEOMETRY_API odiC_PlaceLabel odiC_LabelOf(const odiC_Run& run, odiC_Source& source, int row);

/// Coordinates of rows of one block: nodes, integration points, centroids of elements and faces; not a number for
/// whole regions. Three numbers a row.
CORE_GEOMETRY_API void odiC_PointsOf(const odiC_Run& run, const odiC_LayoutBlock& block, int firstRow,
                                     std::span<double> points);
