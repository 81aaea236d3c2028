#include <CoreGeometry/odiC_Values.h>

#include "odiC_Stages.h"
#include "odiC_Where.h"

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DynamicDatumCsys.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <cstdio>

namespace {
template<class Enum> cow_String NameOf(Enum value) {
  return omu_FindText(omu_EnumTable<Enum>::entries, static_cast<int>(value));
}

cow_String Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

using System = std::shared_ptr<const dtu_DatumCsys>;

/// A coordinate system by its root, by its name among the datums of the mesh, or by both: "datums/<mesh>/<name>".
System FindSystem(const odiC_Run& run, const cow_String& name) {
  const cls_Database& model = run.Model();
  constexpr const char* kFolder = "datums/";
  std::vector<cow_String> names;
  for (const cow_String& root : model.RootsOf(
           {dtu_DatumCsys::TypeId(), dtu_DynamicDatumCsys::TypeId(), dtu_6dofNodeDatumCsys::TypeId()})) {
    if (root == name || root == kFolder + name) return model.Get<dtu_DatumCsys>(root).Shared();
    names.push_back(root);
  }
  const cow_String& mesh = run.Header().meshRoot;
  const std::size_t folder = mesh.starts_with(bme_kMeshFolder) ? cow_String(bme_kMeshFolder).size() : 0;
  const cow_String container = kFolder + mesh.substr(folder);
  if (model.Has(container) && model.TypeId(container) == dtu_DatumContainer::TypeId()) {
    const auto datums = model.Get<dtu_DatumContainer>(container).Shared();
    for (const auto& [id, datum] : *datums) {
      const auto* csys = dynamic_cast<const dtu_DatumCsys*>(datums->Find(id));
      if (!csys) continue;
      const cow_String& own = datums->NameOf(id);
      if (own == name || cow_String(container).append("/").append(own) == name) return {datums, csys};
      names.push_back(own);
    }
  }
  throw odiC_Exception(model.File() + ", " + run.Root() + ": no coordinate system \"" + name + '"'
                       + atr_Alternatives(name, names));
}

std::vector<float> PointsOf(const odiC_Run& run, const odiC_Layout& layout, int firstRow, std::size_t rows) {
  std::vector<double> points(3 * rows);
  odiC_PointsOf(run, layout.blocks[static_cast<std::size_t>(odiC_BlockOf(layout, firstRow))], firstRow,
                points);
  return {points.begin(), points.end()};
}
} // namespace

struct odiC_Values::Stage {
  odiC_SourcePointer source;
  odiC_Variable variable;

  void Map(int width, odiC_Kernel kernel) {
    source = odiC_Mapped(std::move(source), width, std::move(kernel));
  }
  void MapByPlace(int width, odiC_PlaceKernel kernel) {
    source = odiC_MappedByPlace(std::move(source), width, std::move(kernel));
  }
};

/// The last of each kind is kept: frames that come after each other mostly share a layout.
struct odiC_Values::Places {
  template<class Made> struct Last {
    std::optional<odiC_Places> from, result; ///< the result as far as it was asked for
    std::optional<Made> made;
    bool IsOf(const odiC_Places& places) const {
      return from && from->SharedLayout() == places.SharedLayout()
             && std::ranges::equal(from->Runs(), places.Runs());
    }
    template<class Make> void Renew(const odiC_Places& places, const Make& make) {
      if (IsOf(places)) return;
      result.reset();
      made.emplace(make());
      from = places;
    }
  };
  std::map<const odiC_Layout*, odiC_Places> chosen; ///< in layouts of the run
  Last<odiC_Carrier> carried;
  Last<odiC_NodeAverage> averaged;
};

odiC_Values::odiC_Values(const odiC_Run& run, const cow_String& variable, odiC_Selection where)
    : run_(&run), variable_(run.VariableIndex(variable)), where_(std::move(where)),
      places_(std::make_shared<Places>()) {}

odiC_Values odiC_Values::With(odiC_Selection where) const {
  odiC_Values made = *this;
  made.where_ = std::move(where);
  return made;
}
odiC_Values odiC_Values::AtNodes(const odiC_ToNodes& options) const {
  odiC_Values made = To(odiC_CarriedTo::Nodes);
  made.toNodes_ = options;
  return made;
}
odiC_Values odiC_Values::To(odiC_CarriedTo to) const {
  odiC_Values made = *this;
  made.to_ = to;
  made.places_ = std::make_shared<Places>();
  return made;
}
odiC_Values odiC_Values::AtElementNodes() const { return To(odiC_CarriedTo::ElementNodes); }
odiC_Values odiC_Values::AtCentroids() const { return To(odiC_CarriedTo::Centroids); }
odiC_Values odiC_Values::AtFaces() const { return To(odiC_CarriedTo::Faces); }

void odiC_Values::Fail(const cow_String& what) const {
  throw odiC_Exception(run_->Model().File() + ", " + run_->Root() + ", " + Variable().name + ": " + what);
}

/// An error with its place before it, unless it names the file already.
cow_String odiC_Values::WithPlace(const odiC_When* when, const cow_String& message) const {
  const cow_String& file = run_->Model().File();
  if (message.starts_with(file)) return message;
  cow_String place = file + ", " + run_->Root();
  if (when) {
    place += ", step \"" + run_->Header().steps[static_cast<std::size_t>(when->step)].name;
    place += "\", frame " + std::to_string(when->frame);
  }
  return place + ", " + Variable().name + ": " + message;
}

template<class Make> auto odiC_Values::Told(const odiC_When* when, const Make& make) const {
  try {
    return make();
  } catch (const cls_BusyException&) {
    throw;
  } catch (const odiC_Exception& error) {
    throw odiC_Exception(WithPlace(when, error.Message()));
  } catch (const nex_TextException& error) {
    throw odiC_Exception(WithPlace(when, error.Message()));
  }
}

odiC_Places odiC_Values::PlacesIn(const std::shared_ptr<const odiC_Layout>& layout) const {
  const auto known = places_->chosen.find(layout.get());
  if (known != places_->chosen.end()) return known->second;
  odiC_Places places =
      to_ == odiC_CarriedTo::Nodes ? where_.ContributionsIn(*run_, layout) : where_.PlacesIn(*run_, layout);
  if (to_ != odiC_CarriedTo::AsStored) places = places.WholeEntities();
  return places_->chosen.emplace(layout.get(), std::move(places)).first->second;
}

/// Stored numbers of a frame, or between two frames, as real ones.
odiC_Values::Stage odiC_Values::Shown(const odiC_When& when) const {
  const odiC_What& what = where_.What();
  odiC_Variable shown = Variable();
  const auto field = [&](int frame) { return run_->FieldOnMesh(when.step, frame, variable_); };
  const auto places = [&](const odiC_FieldReader& reader) { return PlacesIn(reader.SharedLayout()); };
  const auto between = [&](const auto& open) {
    if (when.next < 0) return open(field(when.frame));
    const odiC_Between how = shown.IsIntegral() || shown.dataType == res_ENUMERATION ? odiC_Between::Nearer
                             : shown.dataType == res_QUATERNION_2D || shown.dataType == res_QUATERNION_3D
                                 ? odiC_Between::Quaternions
                                 : odiC_Between::Linear;
    return odiC_Interpolated(open(field(when.frame)), open(field(when.next)), when.share, how);
  };
  if (!shown.IsComplex()) {
    if (what.display || what.isPeak) Fail("is not complex");
    return {between([&](odiC_FieldReader reader) {
              const odiC_Places chosen = places(reader);
              return odiC_AsStored(std::move(reader), chosen);
            }),
            shown};
  }
  const auto open = [&](const odiC_ComplexDisplay& display) {
    return between([&](odiC_FieldReader reader) {
      const odiC_Places chosen = places(reader);
      return odiC_Shown(std::move(reader), chosen, display);
    });
  };
  const odiC_ComplexDisplay display(shown, what.display.value_or(res_COMPLEX_VAL_AT_ANGLE), what.angle);
  Stage stage{nullptr, shown};
  stage.variable.pair = res_NO_PAIR;
  if (!what.isPeak && (when.next < 0 || display.KeepsType())) {
    stage.source = open(display);
  } else {
    std::vector<odiC_SourcePointer> parts;
    parts.push_back(open(odiC_ComplexDisplay(shown, res_REAL)));
    parts.push_back(open(odiC_ComplexDisplay(shown, res_IMAGINARY)));
    odiC_Variable realAndImaginary = shown;
    realAndImaginary.pair = res_REAL_AND_IMAGINARY;
    const int width = shown.NumComponents();
    if (what.isPeak) {
      if (!what.invariant) Fail("the peak over the cycle is of MISES or MAGNITUDE: choose one");
      const odiC_Peak peak(realAndImaginary, *what.invariant);
      stage.source = odiC_Combined(std::move(parts), 1,
                                   [peak](int, std::span<const double> both, std::span<double> made) {
                                     const std::size_t half = both.size() / 2;
                                     peak.Apply(both.first(half), both.subspan(half), made);
                                   });
    } else {
      const odiC_ComplexDisplay of(realAndImaginary, *what.display, what.angle);
      stage.source = odiC_Combined(std::move(parts), width,
                                   [of](int, std::span<const double> both, std::span<double> made) {
                                     of.Apply(both.first(made.size()), both.subspan(made.size()), made);
                                   });
    }
  }
  if (what.isPeak) {
    stage.variable = odiC_Variable(shown.name, res_SCALAR, shown.unit);
  } else if (!display.KeepsType()) {
    if (what.invariant) Fail("magnitudes and phases of components have no invariants");
    if (what.system) Fail("magnitudes and phases of components cannot be turned into other axes");
    stage.variable.coordSystem = res_NOT_APPLICABLE;
  }
  return stage;
}

/// Quaternions of local axes at the places of values, from the frame or the latest one before it in the step.
odiC_SourcePointer odiC_Values::Axes(const odiC_Variable& variable, const odiC_When& when,
                                     const odiC_Places::Layout& layout) const {
  const int axes = run_->VariableIndex(variable.axes);
  const odiC_Variable& of = run_->Header().variables[static_cast<std::size_t>(axes)];
  if (of.dataType != res_QUATERNION_3D)
    Fail("its axes " + of.name + " are no quaternions but " + NameOf(of.dataType));
  for (int frame = when.frame; frame >= 0; --frame)
    if (run_->HasField(when.step, frame, axes)) {
      odiC_FieldReader reader = run_->FieldOnMesh(when.step, frame, axes);
      const odiC_Places all = odiC_Places::All(reader.SharedLayout());
      return odiC_Spread(odiC_AsStored(std::move(reader), all), layout);
    }
  Fail("its axes " + of.name + " have no values up to frame " + std::to_string(when.frame) + " of step \""
       + run_->Header().steps[static_cast<std::size_t>(when.step)].name + '"');
}

/// The variable whose rows Turn() makes of those of this one.
odiC_Variable odiC_Values::Turned(const odiC_Variable& variable) const {
  const odiC_What& what = where_.What();
  if (!what.system || *what.system == variable.coordSystem) {
    if (!what.system || *what.system != res_USER_SPECIFIED || what.datum == variable.axes) return variable;
  }
  if (*what.system == res_LOCAL) Fail("has no local axes");
  const odiC_Rotation rotation(variable);
  if (*what.system != res_USER_SPECIFIED) return rotation.Result();
  odiC_Variable turned = rotation.Result(FindSystem(*run_, what.datum)->GetCsysType());
  turned.coordSystem = res_USER_SPECIFIED;
  turned.axes = what.datum;
  return turned;
}

void odiC_Values::TurnByDatum(Stage& stage, const cow_String& name, bool isInto) const {
  const odiC_Rotation rotation(stage.variable);
  const auto width = static_cast<std::size_t>(stage.source->NumComponents());
  stage.MapByPlace(
      rotation.NumComponents(),
      [run = run_, layout = stage.source->Places().SharedLayout(), rotation, isInto, width,
       system = FindSystem(*run_, name)](int firstRow, std::span<const double> rows, std::span<double> made) {
        const std::vector<float> points = PointsOf(*run, *layout, firstRow, rows.size() / width);
        if (isInto)
          rotation.IntoDatum(*system, points, rows, made);
        else
          rotation.FromDatum(*system, points, rows, made);
      });
  stage.variable = rotation.Result();
}

void odiC_Values::TurnToGlobal(Stage& stage, const odiC_When& when) const {
  if (stage.variable.coordSystem == res_USER_SPECIFIED) return TurnByDatum(stage, stage.variable.axes, false);
  if (stage.variable.coordSystem != res_LOCAL) return;
  const odiC_Rotation rotation(stage.variable);
  const auto width = static_cast<std::size_t>(stage.source->NumComponents());
  std::vector<odiC_SourcePointer> both;
  odiC_SourcePointer axes = Axes(stage.variable, when, stage.source->Places().SharedLayout());
  both.push_back(std::move(stage.source));
  both.push_back(std::move(axes));
  stage.source = odiC_Combined(std::move(both), rotation.NumComponents(),
                               [rotation, width](int, std::span<const double> all, std::span<double> made) {
                                 const std::size_t values = all.size() / (width + 4) * width;
                                 rotation.FromLocal(all.subspan(values), all.first(values), made);
                               });
  stage.variable = rotation.Result();
}

void odiC_Values::Turn(Stage& stage, const odiC_When& when) const {
  const odiC_Variable turned = Turned(stage.variable);
  if (turned.coordSystem == stage.variable.coordSystem && turned.axes == stage.variable.axes) return;
  TurnToGlobal(stage, when);
  if (turned.coordSystem == res_USER_SPECIFIED) TurnByDatum(stage, turned.axes, true);
  stage.variable = turned;
}

void odiC_Values::Choose(Stage& stage) const {
  const odiC_What& what = where_.What();
  if (what.isPeak) return;
  if (what.invariant) {
    const odiC_Invariant invariant(stage.variable, *what.invariant);
    stage.Map(1, [invariant](std::span<const double> rows, std::span<double> made) {
      invariant.Apply(rows, made);
    });
  } else if (what.component) {
    const auto at = static_cast<std::size_t>(odiC_FindComponent(stage.variable, *what.component));
    const auto width = static_cast<std::size_t>(stage.source->NumComponents());
    stage.Map(1, [at, width](std::span<const double> rows, std::span<double> made) {
      for (std::size_t i = 0; i < made.size(); ++i) made[i] = rows[i * width + at];
    });
  } else {
    return;
  }
  stage.variable = odiC_Variable(stage.variable.name, res_SCALAR, stage.variable.unit);
}

odiC_SourcePointer odiC_Values::Open(const odiC_When& when,
                                     std::optional<res_SectionResultsEnm> section) const {
  return Told(&when, [&] { return Opened(when, section); });
}

odiC_SourcePointer odiC_Values::Opened(const odiC_When& when,
                                       std::optional<res_SectionResultsEnm> section) const {
  Stage stage = Shown(when);
  if (to_ == odiC_CarriedTo::AsStored) {
    Turn(stage, when);
    Choose(stage);
  } else {
    Carry(stage, when);
  }
  const auto wanted = where_.SectionResults() ? where_.SectionResults() : section;
  if (wanted == res_USE_ENVELOPE && odiC_HasSeveralSectionPoints(stage.source->Places())) {
    if (stage.source->NumComponents() > 1)
      Fail("an envelope over section points is of one number: choose a component or an invariant");
    return odiC_Envelope(*run_, std::move(stage.source));
  }
  return std::move(stage.source);
}

std::vector<cow_String> odiC_Values::Components() const {
  return Told(nullptr, [&] { return NamesOfComponents(); });
}

std::vector<cow_String> odiC_Values::NamesOfComponents() const {
  const odiC_What& what = where_.What();
  if (what.invariant) return {NameOf(*what.invariant)};
  odiC_Variable variable = Variable();
  variable.pair = res_NO_PAIR;
  variable = Turned(variable);
  if (what.component) return {variable.ComponentName(odiC_FindComponent(variable, *what.component))};
  std::vector<cow_String> names;
  names.reserve(variable.components.size());
  for (int i = 0; i < variable.NumComponents(); ++i) names.push_back(variable.ComponentName(i));
  return names;
}

void odiC_Values::ExpectOneNumber() const {
  const std::vector<cow_String> components = Components();
  if (components.size() == 1) return;
  cow_String list;
  for (const cow_String& name : components) list += (list.empty() ? "" : ", ") + name;
  for (const res_InvariantEnm invariant : odiC_InvariantsOf(Variable())) list += ", " + NameOf(invariant);
  Fail("one number a place is wanted: choose a component or an invariant of " + list);
}

cow_String odiC_Values::Text() const {
  const std::vector<cow_String> components = Components();
  return run_->Root() + ", " + Variable().name
         + (components.size() == 1 && !components[0].empty() ? " " + components[0] : cow_String());
}

std::vector<std::pair<cow_String, cow_String>> odiC_Values::Choices() const {
  const odiC_What& what = where_.What();
  const odiC_Variable& variable = Variable();
  std::vector<std::pair<cow_String, cow_String>> choices;
  const auto add = [&](const char* name, const cow_String& text) { choices.emplace_back(name, text); };
  if (variable.IsComplex())
    add("complex", what.isPeak ? cow_String("peak over the cycle")
                   : what.display && *what.display != res_COMPLEX_VAL_AT_ANGLE
                       ? NameOf(*what.display)
                       : "at " + Number(what.angle * 180 / 3.14159265358979323846) + " degrees");
  if (variable.coordSystem != res_NOT_APPLICABLE && !what.invariant) {
    const bool isTurned = what.system.has_value();
    const cow_String& axes = isTurned ? what.datum : variable.axes;
    const res_CoordSystemEnm system = isTurned ? *what.system : variable.coordSystem;
    add("system", NameOf(system) + (system == res_USER_SPECIFIED ? " " + axes : cow_String()));
  }
  if (where_.SectionResults()) add("section points", NameOf(*where_.SectionResults()));
  switch (to_) {
  case odiC_CarriedTo::AsStored: return choices;
  case odiC_CarriedTo::ElementNodes: add("carried to", "element nodes"); return choices;
  case odiC_CarriedTo::Centroids: add("carried to", "centroids"); return choices;
  case odiC_CarriedTo::Faces: add("carried to", "faces"); return choices;
  case odiC_CarriedTo::Nodes: break;
  }
  constexpr const char* kBorders[] = {"none", "class", "category", "regions"};
  constexpr const char* kOrders[] = {"before", "after", "points"};
  cow_String borders = kBorders[static_cast<int>(toNodes_.borders)];
  for (const cow_String& region : toNodes_.regions) borders += " " + region;
  add("carried to", "nodes");
  add("borders", borders);
  add("normals", toNodes_.normals > 0 ? Number(toNodes_.normals) + " degrees" : cow_String("off"));
  add("weights", toNodes_.weights == odiC_Weights::Equal ? "equal" : "measure");
  add("threshold", Number(toNodes_.threshold) + " %");
  if (what.invariant) add("order", kOrders[what.isPeak ? 2 : static_cast<int>(toNodes_.order)]);
  return choices;
}

void odiC_Values::Carry(Stage& stage, const odiC_When& when) const {
  const odiC_What& what = where_.What();
  const auto isNodal = [](const odiC_LayoutBlock& block) { return block.IsNodal(); };
  if (std::ranges::all_of(stage.source->Layout().blocks, isNodal)) {
    Turn(stage, when);
    return Choose(stage);
  }
  const odiC_Variable turned = Turned(stage.variable);
  const odiC_Order order = what.isPeak ? odiC_Order::AtPoints : toNodes_.order;
  const bool isAveraged = to_ == odiC_CarriedTo::Nodes;
  // an invariant that is taken element by element does not depend on the axes
  const bool isOneNumber = what.invariant && (!isAveraged || order != odiC_Order::After);
  if (!isOneNumber && what.system != res_LOCAL) TurnToGlobal(stage, when);
  // axes that turn with the place are those of the nodes, not of the points
  const bool turnsLater = turned.coordSystem == res_USER_SPECIFIED && !what.invariant;
  bool isChosen = order == odiC_Order::AtPoints && isAveraged && what.invariant;
  if (isChosen) Choose(stage);
  auto& carried = places_->carried;
  carried.Renew(stage.source->Places(), [&] {
    const auto pointSet = [run = run_](int index) -> const odiC_PointSet& { return run->PointSet(index); };
    return odiC_Carrier(run_->Mesh(), stage.source->Places(), pointSet,
                        to_ == odiC_CarriedTo::Centroids ? shp_Target::Centroid
                        : to_ == odiC_CarriedTo::Faces   ? shp_Target::Faces
                                                         : shp_Target::Nodes);
  });
  stage.source = odiC_Carried(std::move(stage.source), *carried.made);
  if (!isChosen && (isOneNumber || (what.component && !turnsLater))) {
    Choose(stage);
    isChosen = true;
  }
  if (isAveraged) Average(stage);
  if (turnsLater) {
    TurnByDatum(stage, turned.axes, true);
    stage.variable = turned;
  }
  if (!isChosen) Choose(stage);
  if ((isAveraged || to_ == odiC_CarriedTo::Faces) && where_.ArePlacesNarrowed()) {
    std::optional<odiC_Places>& meant = isAveraged ? places_->averaged.result : carried.result;
    if (!meant)
      meant = where_.ResultIn(*run_, stage.source->Places().SharedLayout()).And(stage.source->Places());
    stage.source = odiC_Restricted(std::move(stage.source), *meant);
  }
}

void odiC_Values::Average(Stage& stage) const {
  auto& averaged = places_->averaged;
  averaged.Renew(stage.source->Places(), [&] {
    std::vector<odiC_ElementGroup> regions;
    for (const cow_String& name : toNodes_.regions) {
      const odiC_Entities chosen = odiC_EntitiesOfRegion(*run_, name);
      if (!chosen.elements) Fail("\"" + name + "\" is no set of elements, which borders are");
      regions.push_back({name, {chosen.elements->begin(), chosen.elements->end()}});
    }
    return odiC_NodeAverage(run_->Mesh(), stage.source->Places(), toNodes_, regions);
  });
  stage.source = odiC_Averaged(std::move(stage.source), averaged.made->Again());
}

odiC_PlaceLabel odiC_LabelOf(const odiC_Run& run, odiC_Source& source, int row) {
  const odiC_Place place = odiC_PlaceOf(source.Layout(), row);
  odiC_LayoutBlock block = source.Layout().blocks[static_cast<std::size_t>(place.block)];
  odiC_PlaceLabel label = odiC_LabelOf(run.Mesh(), block, place);
  block.sectionPoint = source.SectionPointOf(row);
  label.sectionPoint = odiC_SectionPointName(run, block);
  return label;
}

odiC_Values odiC_AtElementNodes(const odiC_Values& values) {
  if (values.CarriedTo() != odiC_CarriedTo::Nodes) return values.AtElementNodes();
  odiC_ToNodes options = values.ToNodes();
  options.isPerElement = true;
  return values.AtNodes(options);
}
