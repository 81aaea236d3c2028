// odiC_Selection.h: which frames, places and quantities of a variable are meant
#pragma once

#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/odiC_Places.h>
#include <CoreGeometry/res_Component.h>
#include <CoreGeometry/res_DataType.h>
#include <CoreGeometry/res_Field.h>
#include <optional>

class odiC_Run;
class odiC_Where;

enum class odiC_AtValue { Nearest, Exact, Interpolated };

/// A frame, or a place between two frames.
struct odiC_When {
  int step = 0, frame = 0; ///< positions from 0
  double value = 0;        ///< time, frequency ... in the step
  int next = -1;           ///< the other frame of an interpolation, -1 for none
  double share = 0;        ///< of the other frame, 0 to 1
};

/// What is made of the components of a variable.
struct odiC_What {
  std::optional<cow_String> component = {}; ///< "xx", "y", or the name that the variable gives it
  std::optional<res_InvariantEnm> invariant = {};
  std::optional<res_CoordSystemEnm> system = {}; ///< GLOBAL, LOCAL, or USER-SPECIFIED with `datum`
  cow_String datum = {};                         ///< root of a coordinate system in the model
  std::optional<res_ComplexDisplayEnm> display = {};
  double angle = 0; ///< radians
  bool isPeak = false;
};

/// When, where and what: a value, narrowed by each call.
///
/// Without a call all frames that have the variable and all its places are meant.
///
/// Units      radians.
/// Errors     what a run does not have is found when the selection is used: odiC_Exception with what there is.
/// Threads    a value.
class CORE_GEOMETRY_API odiC_Selection {
public:
  // when
  odiC_Selection Step(cow_String nameOrNumber) const; ///< numbers count from 1
  odiC_Selection Frame(int frame) const; ///< of each step; -1: the last one that has the variable
  odiC_Selection Frames(int first, int last, int stride = 1) const; ///< -1: the last one
  /// In a single step; between the two frames around the value, or the one that is nearest. Exact: within 1e-9
  /// of the range of the step.
  odiC_Selection Value(double value, odiC_AtValue how = odiC_AtValue::Nearest) const;
  odiC_Selection Mode(int mode) const;

  // where
  odiC_Selection Position(res_OutputPositionEnm position) const;
  odiC_Selection Class(int classIndex) const;
  odiC_Selection Category(cow_String name) const; ///< of the run, or category label of element classes
  /// A set or surface of the mesh. Nodes select elements that have all their nodes among them, elements select
  /// their nodes, faces their elements and nodes. Values that are stored for this set are those that are meant.
  odiC_Selection Region(cow_String name) const;
  odiC_Selection Nodes(std::vector<unsigned> nodes) const;       ///< mesh node indices
  odiC_Selection Elements(std::vector<unsigned> elements) const; ///< mesh element indices
  odiC_Selection NodeLabels(std::vector<int> labels, bme_Unknown unknown = bme_Unknown::Refuse) const;
  odiC_Selection ElementLabels(std::vector<int> labels, bme_Unknown unknown = bme_Unknown::Refuse) const;
  odiC_Selection Box(const gsl_BBox& box) const; ///< nodes in it, elements with all nodes in it
  odiC_Selection SectionPoint(cow_String label) const;
  odiC_Selection SectionPoint(res_SectionResultsEnm which) const;
  odiC_Selection Points(std::vector<int> points) const; ///< integration points or element nodes, from 1
  odiC_Selection Or(const odiC_Selection& other) const; ///< places of either; the rest stays
  odiC_Selection Without(const odiC_Selection& other) const;

  // what
  odiC_Selection Component(cow_String name) const;
  odiC_Selection Invariant(res_InvariantEnm invariant) const;
  odiC_Selection System(res_CoordSystemEnm system) const; ///< GLOBAL or LOCAL
  odiC_Selection System(cow_String datumRoot) const;
  odiC_Selection Display(res_ComplexDisplayEnm display, double angle = 0) const;
  odiC_Selection Peak() const; ///< over the cycle of a complex value

  // ask
  /// The frames of the run that have the variable. An error names them when a frame that was asked for by its
  /// number or value does not.
  std::vector<odiC_When> FramesOf(const odiC_Run& run, int variable) const;
  odiC_Places PlacesIn(const odiC_Run& run, std::shared_ptr<const odiC_Layout> layout) const;
  /// Places whose values add to those of the nodes that are meant: every element that has one of them counts,
  /// though not all its nodes are chosen.
  odiC_Places ContributionsIn(const odiC_Run& run, std::shared_ptr<const odiC_Layout> layout) const;
  /// Of the nodes that they add to, and of the faces that they are carried to, those that are meant.
  odiC_Places ResultIn(const odiC_Run& run, std::shared_ptr<const odiC_Layout> layout) const;
  const odiC_What& What() const noexcept { return what_; }
  std::optional<res_SectionResultsEnm> SectionResults() const noexcept { return section_; }
  bool ArePlacesNarrowed() const noexcept { return where_ != nullptr; }

private:
  struct When {
    std::optional<cow_String> step = {};
    std::optional<int> frame = {}, mode = {};
    int first = 0, last = -1, stride = 1;
    std::optional<double> value = {};
    odiC_AtValue how = odiC_AtValue::Nearest;
  };
  template<class Change> odiC_Selection With(const Change& change) const;
  odiC_Selection Narrowed(std::shared_ptr<const odiC_Where> where) const;
  odiC_When AtValueOf(const odiC_Run& run, int step, std::span<const int> frames) const;

  When when_;
  std::shared_ptr<const odiC_Where> where_; ///< null for all places
  std::optional<res_SectionResultsEnm> section_;
  odiC_What what_;
};

/// The labels of the section points of a block, from the bottom to the top: those of its category, or of its
/// element class.
CORE_GEOMETRY_API std::vector<cow_String> odiC_SectionPointsOf(const odiC_Run& run,
                                                               const odiC_LayoutBlock& block);
/// The label of the section point of a block; empty without one.
CORE_GEOMETRY_API cow_String odiC_SectionPointName(const odiC_Run& run, const odiC_LayoutBlock& block);
/// -1 to 1 from the bottom; not a number where it is not known.
CORE_GEOMETRY_API double odiC_SectionOffset(const odiC_Run& run, const odiC_LayoutBlock& block);
