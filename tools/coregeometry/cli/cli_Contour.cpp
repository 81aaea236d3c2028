#include "cli_Contour.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_Placement.h>
#include <cmath>

namespace {
constexpr double kNone = std::numeric_limits<double>::quiet_NaN(), kDegree = 3.14159265358979323846 / 180;

[[noreturn]] void Refuse(const std::string& option, const std::string& text, const std::string& rule) {
  throw cli_UsageError(option + " " + text + ": " + rule);
}

/// The fixed ends of "A,B", where one may be missing.
void SetRange(pic_Scale& scale, const std::string& text) {
  const std::size_t comma = text.find(',');
  const auto low = cli_NumberOf(text.substr(0, comma)),
             high = cli_NumberOf(comma == std::string::npos ? "" : text.substr(comma + 1));
  const bool hasLow = comma != 0, hasHigh = comma != std::string::npos && comma + 1 < text.size();
  if (comma == std::string::npos || (hasLow && !low) || (hasHigh && !high) || !(hasLow || hasHigh)
      || (hasLow && hasHigh && *low > *high))
    Refuse("--range", text, "give LOW,HIGH, or one of them as LOW, or ,HIGH");
  scale.clamps =
      static_cast<res_ClampTypeEnm>((hasLow ? res_MINIMUM_CLAMP : 0) + (hasHigh ? res_MAXIMUM_CLAMP : 0));
  if (hasLow) scale.low = *low;
  if (hasHigh) scale.high = *high;
}

int BandsOf(const std::string& text) {
  if (text == "smooth") return 0;
  const auto bands = cli_NumberOf(text);
  if (!bands || *bands != std::floor(*bands) || *bands < 1 || *bands > 256)
    Refuse("--bands", text, "give smooth, or 1 to 256");
  return static_cast<int>(*bands);
}

} // namespace

pic_Scale cli_ScaleOf(const cli_ContourArguments& arguments) {
  pic_Scale scale;
  scale.bands = BandsOf(arguments.bands);
  scale.table = arguments.colours == "inferno" ? pic_ColourTable::Inferno
                : arguments.colours == "grey"  ? pic_ColourTable::Grey
                                               : pic_ColourTable::Viridis;
  if (!arguments.range.empty()) SetRange(scale, arguments.range);
  return scale;
}

namespace {

/// "U" and "20" of "U=20".
std::pair<std::string, std::string> DeformOf(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  const std::string scale = equals == std::string::npos ? "auto" : text.substr(equals + 1);
  if (scale != "auto" && !cli_NumberOf(scale))
    Refuse("--deform", text, "give NAME, NAME=auto or NAME=NUMBER");
  return {text.substr(0, equals), scale};
}

bool IsVector(const odiC_Variable& variable) { return variable.dataType == res_VECTOR; }

/// As they can be drawn: one number a place; at nodes of elements with jumps at borders alone, unless they are there.
odiC_Values Drawn(odiC_Values values, const cli_ValueArguments& arguments) {
  const odiC_Variable& variable = values.Variable();
  if (values.NumComponents() > 1 && (IsVector(variable) || variable.IsTensor()))
    values = values.Invariant(IsVector(variable) ? res_MAGNITUDE : res_MISES);
  values.ExpectOneNumber();
  bool areAtPoints = false;
  const std::vector<odiC_When> frames = values.Frames();
  if (values.CarriedTo() == odiC_CarriedTo::AsStored && !frames.empty()) {
    const odiC_FieldReader field =
        values.Run().Field(frames[0].step, frames[0].frame, values.VariableIndex());
    for (const odiC_LayoutBlock& block : field.Layout().blocks)
      areAtPoints = areAtPoints || block.position == res_INTEGRATION_POINT;
  }
  if (!areAtPoints && values.CarriedTo() != odiC_CarriedTo::Nodes) return values;
  odiC_ToNodes options = cli_ToNodesOf(arguments);
  options.isPerElement = true; // so that borders are seen as borders
  return values.AtNodes(options);
}

/// Values of a frame by node or by element, as a picture takes them.
class Gathering {
public:
  Gathering(const bme_Mesh& mesh, const odiC_Values& values) : mesh_(mesh), values_(values) {}

  void Take(odiC_Source& source, double factor) {
    for (const odiC_LayoutBlock& block : source.Layout().blocks) Begin(block);
    const odiC_Layout& layout = source.Layout();
    odiC_ForEachRange(source, [&](const odiC_Range& range) {
      for (const odiC_RowRun& rows : range.rows)
        for (int row = rows.first; row < rows.End(); ++row)
          Put(range.block, odiC_PlaceOf(layout, row),
              factor * range.values[static_cast<std::size_t>(row - range.firstRow)]);
    });
  }
  pic_Values Values() const {
    pic_Values values;
    values.place = isOfNodes_ ? pic_Values::Place::Nodes : each_;
    values.ofNodes = ofNodes_;
    if (!isOfNodes_) values.ofClasses.assign(ofClasses_.begin(), ofClasses_.end());
    return values;
  }

private:
  [[noreturn]] void Fail(const cow_String& what) const {
    throw nex_TextException(values_.Run().Model().File() + ", " + values_.Run().Root() + ", "
                            + values_.Variable().name + ": " + what);
  }
  void Begin(const odiC_LayoutBlock& block) {
    const auto numNodes = static_cast<std::size_t>(mesh_.NodeData().NumNodes());
    if (block.IsNodal()) {
      if (!ofClasses_.empty()) Fail("has values at nodes and in elements; choose with --position");
      isOfNodes_ = true;
      ofNodes_.resize(numNodes, kNone);
      return;
    }
    const bool areNodes = block.position == res_ELEMENT_NODAL;
    if (!areNodes && block.position != res_WHOLE_ELEMENT && block.position != res_ELEMENT_CENTROID)
      Fail(cow_String("values at ")
           + omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, block.position)
           + " cannot be drawn; --at-nodes carries those of elements to nodes, --position chooses others");
    if (isOfNodes_) Fail("has values at nodes and in elements; choose with --position");
    ofClasses_.resize(mesh_.ElementData().NumClasses());
    if (areNodes) each_ = pic_Values::Place::ElementNodes;
  }
  /// Values of each element of a class.
  std::size_t Width(const bme_ElementClass& type) const {
    return each_ == pic_Values::Place::ElementNodes ? static_cast<std::size_t>(type.NumNodesPerElem()) : 1;
  }
  void Put(const odiC_LayoutBlock& block, const odiC_Place& place, double value) {
    if (isOfNodes_) return Set(ofNodes_[static_cast<std::size_t>(place.entity)], value, block, place);
    const auto index = static_cast<std::size_t>(block.classIndex);
    const bme_ElementClass& type = mesh_.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
    const std::size_t width = Width(type);
    std::vector<double>& all = ofClasses_[index];
    if (all.empty()) all.assign(width * static_cast<std::size_t>(type.NumElements()), kNone);
    const std::size_t first = width * static_cast<std::size_t>(place.entity);
    if (block.position == res_ELEMENT_NODAL)
      Set(all[first + static_cast<std::size_t>(place.point)], value, block, place);
    else
      for (std::size_t k = 0; k < width; ++k) Set(all[first + k], value, block, place);
  }
  void Set(double& kept, double value, const odiC_LayoutBlock& block, const odiC_Place& place) const {
    if (!std::isnan(kept) && kept != value)
      Fail("several values at " + odiC_LabelOf(mesh_, block, place).Text()
           + "; choose with --set, --position or --section");
    kept = value;
  }

  const bme_Mesh& mesh_;
  const odiC_Values& values_;
  bool isOfNodes_ = false;
  pic_Values::Place each_ = pic_Values::Place::Elements;
  std::vector<double> ofNodes_;
  std::vector<std::vector<double>> ofClasses_;
};
} // namespace

void cli_AddContourOptions(cli_Command command, cli_ContourArguments& arguments) {
  const char* group = "Results";
  const auto add = [&](const char* name, auto& value, const char* help) {
    return command.AddOption(name, value, help).Group(group);
  };
  add("--field", arguments.field, "Variable to show in colours; of tensors mises, of vectors the magnitude");
  const auto deform =
      add("--deform", arguments.deform, "Displacement to deform the mesh by: NAME, or NAME=FACTOR");
  add("--range", arguments.range, "Fixed range LOW,HIGH, or LOW, or ,HIGH; outside it is grey");
  add("--bands", arguments.bands, "Number of bands, or smooth").ShowDefault();
  add("--colours", arguments.colours, "viridis, inferno or grey")
      .ShowDefault()
      .OneOf({"viridis", "inferno", "grey"});
  add("--cycle", arguments.cycle, "Pictures over one cycle of a mode or of complex values").Between(1, 3600);
  add("--rate", arguments.rate, "Pictures a second").ShowDefault().Between(0.1, 1000.0);
  command.AddFlag("--undeformed", arguments.undeformed, "Draw the feature edges of the undeformed mesh, too")
      .Group(group)
      .Needs(deform);
  cli_AddValueOptions(command, arguments.values);
  add("--frames", arguments.frames, "Several frames: all or FIRST:LAST:STEP; without it the last one")
      .Excludes(command.Option("--frame"))
      .Excludes(command.Option("--value"));
}

void cli_CheckContour(const cli_ContourArguments& arguments) {
  cli_ScaleOf(arguments);
  if (!arguments.deform.empty()) DeformOf(arguments.deform);
}

void cli_ReportContour(const cli_Json& facts) {
  if (facts.is_null()) return;
  const auto number = [&](const char* key) { return cli_ShortNumber(facts[key].get<double>()); };
  if (facts.contains("field")) {
    const cli_Json& field = facts["field"];
    cli_Report() << "  " << field["variable"].get<std::string>();
    for (const auto& [name, text] : field.items())
      if (name != "run" && name != "variable" && name != "components" && text.is_string() && text != "")
        cli_Report() << ", " << name << ' ' << text.get<std::string>();
    cli_Report() << "\n  from " << number("low") << " to " << number("high") << '\n';
  }
  if (facts.contains("factor"))
    cli_Report() << "  deformed by " << facts["deformedBy"].get<std::string>() << " x " << number("factor")
                 << '\n';
  cli_Report() << "  " << facts["frames"].size() << " frame" << (facts["frames"].size() == 1 ? "" : "s")
               << '\n';
}

cli_Contour::cli_Contour(const cls_Database& model, const cow_String& meshRoot, const bme_Mesh& mesh,
                         const cli_ContourArguments& arguments)
    : view_(model), mesh_(mesh), run_(cli_OpenRun(model, meshRoot, arguments.values.run)) {
  cli_ValueArguments chosen = arguments.values;
  if (!arguments.frames.empty()) chosen.frame = arguments.frames;
  if (!arguments.field.empty())
    field_ = Drawn(cli_ValuesOf(run_, arguments.field, chosen, cli_FrameDefault::Last), chosen);
  std::string scale;
  if (!arguments.deform.empty()) {
    cli_ValueArguments frames; // places and quantities are those of the field
    frames.step = chosen.step;
    frames.frame = chosen.frame;
    frames.value = chosen.value;
    const auto [name, factor] = DeformOf(arguments.deform);
    scale = factor;
    displacement_ = cli_ValuesOf(run_, name, frames, cli_FrameDefault::Last);
    if (!IsVector(displacement_->Variable()))
      throw nex_TextException(model.File() + ", " + run_.Root() + ", " + name
                              + ": is no vector that could displace nodes");
    if (displacement_->Variable().coordSystem != res_GLOBAL)
      displacement_ = displacement_->System(res_GLOBAL);
  }
  FindShots(arguments);
  if (displacement_) FindFactor(scale);
  if (field_) FindRange(arguments);
  results_.hasUndeformed = arguments.undeformed;
  facts_["frames"] = cli_Json::array();
  for (const Shot& shot : shots_) facts_["frames"].push_back(cli_WhenJson(run_, shot.when));
}

void cli_Contour::FindShots(const cli_ContourArguments& arguments) {
  const odiC_Values& values = field_ ? *field_ : *displacement_;
  const std::vector<odiC_When> frames = values.Frames();
  if (arguments.cycle == 0) {
    for (const odiC_When& when : frames) shots_.push_back({when});
    return;
  }
  const auto isComplex = [](const std::optional<odiC_Values>& one) {
    return one && one->Variable().IsComplex();
  };
  const bool areComplex = isComplex(field_) || isComplex(displacement_);
  if (frames.size() != 1) throw cli_UsageError("--cycle is of one frame: choose it with --frame");
  const odiC_StepKindEnm kind = run_.Header().steps[static_cast<std::size_t>(frames[0].step)].kind;
  if (!areComplex && kind != odiC_FREQUENCY && kind != odiC_BUCKLING)
    throw nex_TextException(run_.Model().File() + ", " + run_.Root()
                            + ": --cycle is for modes and for complex values");
  const auto invariant = field_ ? field_->Where().What().invariant : std::nullopt;
  if (!areComplex && invariant && *invariant != res_MISES && *invariant != res_TRESCA
      && *invariant != res_MAGNITUDE)
    throw cli_UsageError("--cycle of a mode shows components, mises, tresca and magnitudes alone");
  for (int k = 0; k < arguments.cycle; ++k) {
    const double angle = 2 * (180 * kDegree) * k / arguments.cycle;
    shots_.push_back({frames[0], areComplex ? angle : 0, areComplex ? 1 : std::cos(angle)});
  }
}

odiC_Values cli_Contour::At(const odiC_Values& values, const Shot& shot) const {
  if (!values.Variable().IsComplex() || values.Where().What().display || values.Where().What().isPeak
      || shots_.size() < 2)
    return values;
  return values.Display(res_COMPLEX_VAL_AT_ANGLE, shot.angle);
}

/// Of the values of a mode; invariants that are not negative stay so.
double cli_Contour::FieldFactor(const Shot& shot) const {
  return field_->Where().What().invariant ? std::abs(shot.factor) : shot.factor;
}

void cli_Contour::FindFactor(const std::string& scale) {
  double largest = 0;
  for (const Shot& shot : shots_) {
    GatherDisplacement(shot);
    for (std::size_t i = 0; i < moved_.size(); i += 3) {
      const double square =
          moved_[i] * moved_[i] + moved_[i + 1] * moved_[i + 1] + moved_[i + 2] * moved_[i + 2];
      if (std::isfinite(square)) largest = std::max(largest, std::sqrt(square));
    }
  }
  results_.factor = scale == "auto" ? pic_AutoScale(bme_Placement().Box(mesh_.NodeData()).Size(), largest)
                                    : *cli_NumberOf(scale);
  facts_["deformedBy"] = displacement_->Variable().name;
  facts_["factor"] = results_.factor;
}

void cli_Contour::FindRange(const cli_ContourArguments& arguments) {
  results_.scale = cli_ScaleOf(arguments);
  double low = std::numeric_limits<double>::infinity(), high = -low;
  if (arguments.cycle == 0) extremes_ = odiC_Reduce(*field_);
  for (std::size_t i = 0; i < shots_.size(); ++i) {
    if (arguments.cycle > 0) extremes_.push_back(odiC_Reduce(At(*field_, shots_[i])).at(0));
    odiC_Reduced& reduced = extremes_.at(i);
    const double factor = FieldFactor(shots_[i]);
    if (factor < 0) std::swap(reduced.max, reduced.min);
    for (auto* extreme : {&reduced.max, &reduced.min})
      if (*extreme) {
        (*extreme)->value *= factor;
        if (!std::isfinite((*extreme)->value)) continue;
        low = std::min(low, (*extreme)->value);
        high = std::max(high, (*extreme)->value);
      }
  }
  if (!(low <= high)) throw nex_TextException("no values: " + field_->Text());
  if (!results_.scale.HasFixedLow()) results_.scale.low = low;
  if (!results_.scale.HasFixedHigh()) results_.scale.high = high;
  const odiC_What& what = field_->Where().What();
  results_.legend.name = field_->Variable().name;
  if (what.invariant)
    results_.legend.invariant =
        cli_Lower(omu_FindText(omu_EnumTable<res_InvariantEnm>::entries, static_cast<int>(*what.invariant)));
  else if (what.component)
    results_.legend.invariant = *what.component;
  results_.legend.unit = field_->Variable().unit;
  facts_["field"] = cli_ChoicesJson(*field_);
  facts_["low"] = results_.scale.low;
  facts_["high"] = results_.scale.high;
}

void cli_Contour::GatherField(const Shot& shot, const bme_Outside& outside) {
  const odiC_SourcePointer source = At(*field_, shot).Open(shot.when, res_USE_ENVELOPE);
  Gathering gathering(mesh_, *field_);
  gathering.Take(*source, FieldFactor(shot));
  shown_.emplace(mesh_, outside, gathering.Values());
}

void cli_Contour::GatherDisplacement(const Shot& shot) {
  const odiC_SourcePointer source = At(*displacement_, shot).Open(shot.when);
  const auto width = static_cast<std::size_t>(source->NumComponents());
  moved_.assign(3 * static_cast<std::size_t>(mesh_.NodeData().NumNodes()), kNone);
  const odiC_Layout& layout = source->Layout();
  const bme_Placement placement(run_.Mesh()); // the nodes that are drawn are turned by it
  const gsl_Matrix turn = placement.Turn();
  odiC_ForEachRange(*source, [&](const odiC_Range& range) {
    if (!range.block.IsNodal())
      throw nex_TextException(run_.Model().File() + ", " + run_.Root() + ", " + displacement_->Variable().name
                              + ": has values that are not at nodes");
    for (const odiC_RowRun& rows : range.rows)
      for (int row = rows.first; row < rows.End(); ++row) {
        double* to = &moved_[3 * static_cast<std::size_t>(odiC_PlaceOf(layout, row).entity)];
        for (std::size_t k = 0; k < 3; ++k)
          to[k] = k < width
                      ? shot.factor * range.values[width * static_cast<std::size_t>(row - range.firstRow) + k]
                      : 0;
        if (placement.IsTurned()) turn.Transform(std::span<double>(to, 3));
      }
  });
}

cow_String cli_Contour::TextOf(const Shot& shot) const {
  cow_String text = cli_WhenText(run_, shot.when);
  if (const std::size_t comma = text.find(", "); comma != cow_String::npos)
    text = text.substr(0, comma) + "\n" + text.substr(comma + 2);
  if (shots_.size() > 1 && shot.angle != 0)
    text += "\nangle " + cli_ShortNumber(shot.angle / kDegree) + " degrees";
  return text;
}

const pic_Results& cli_Contour::LoadShape(unsigned frame) {
  results_.field = nullptr;
  if (displacement_) {
    GatherDisplacement(shots_[frame]);
    results_.displacement = moved_;
  }
  return results_;
}

const pic_Results& cli_Contour::Load(unsigned frame, const bme_Outside& outside) {
  LoadShape(frame);
  results_.legend.frame = TextOf(shots_[frame]);
  if (!field_) return results_;
  GatherField(shots_[frame], outside);
  results_.field = &*shown_;
  const auto extreme = [](const std::optional<odiC_Extreme>& of) {
    return of ? std::optional(pic_Legend::Extreme{of->value, of->place.Text()}) : std::nullopt;
  };
  results_.legend.highest = extreme(extremes_[frame].max);
  results_.legend.lowest = extreme(extremes_[frame].min);
  return results_;
}
