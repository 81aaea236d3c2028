#include <CoreGeometry/odiC_Expression.h>

#include "odiC_Stages.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <algorithm>

namespace {
bool IsNodal(const odiC_Layout& layout) {
  return std::ranges::all_of(layout.blocks, [](const odiC_LayoutBlock& block) { return block.IsNodal(); });
}
} // namespace

odiC_Expression::odiC_Expression(const odiC_Run& run, const cow_String& text, const odiC_Selection& where,
                                 const std::optional<odiC_ToNodes>& atNodes)
    : run_(&run), formula_(text) {
  for (const odiC_Formula::Name& name : formula_.Names()) Bind(name, where, atNodes);
  if (values_.empty()) formula_.Fail(0, "a formula needs a variable, which says where its values are");
}

void odiC_Expression::Bind(const odiC_Formula::Name& name, const odiC_Selection& where,
                           const std::optional<odiC_ToNodes>& atNodes) {
  constexpr std::pair<const char*, Kind> kOwn[] = {
      {"X", Kind::X}, {"Y", Kind::Y}, {"Z", Kind::Z}, {"T", Kind::Time}};
  if (!name.isQuoted && name.part.empty() && run_->Header().FindVariable(name.name) < 0)
    for (const auto& [word, kind] : kOwn)
      if (name.name == word) {
        operands_.push_back({kind, 0});
        return;
      }
  try {
    odiC_Values values(*run_, name.name, where);
    if (!name.part.empty()) {
      try {
        odiC_FindComponent(values.Variable(), name.part);
        values = values.Component(name.part);
      } catch (const odiC_Exception&) {
        values = values.Invariant(odiC_FindInvariant(values.Variable(), name.part));
      }
    }
    values.ExpectOneNumber();
    if (atNodes) values = values.AtNodes(*atNodes);
    operands_.push_back({Kind::Values, values_.size()});
    values_.push_back(std::move(values));
  } catch (const odiC_Exception& error) {
    formula_.Fail(name.position, error.Message());
  }
}

std::vector<odiC_When> odiC_Expression::Frames() const {
  std::vector<odiC_When> frames = values_.front().Frames();
  for (const odiC_Values& values : values_)
    std::erase_if(frames, [&](const odiC_When& when) {
      const odiC_Step& step = run_->Header().steps[static_cast<std::size_t>(when.step)];
      return !step.Has(when.frame, values.VariableIndex())
             || (when.next >= 0 && !step.Has(when.next, values.VariableIndex()));
    });
  return frames;
}

odiC_SourcePointer odiC_Expression::Open(const odiC_When& when) const {
  std::vector<odiC_SourcePointer> sources;
  bool isNodal = false;
  for (std::size_t i = 0; i < formula_.Names().size(); ++i) {
    if (operands_[i].kind != Kind::Values) continue;
    sources.push_back(values_[operands_[i].values].Open(when));
    const bool own = IsNodal(sources.back()->Layout());
    if (sources.size() > 1 && own != isNodal)
      formula_.Fail(
          formula_.Names()[i].position,
          cow_String("values at nodes cannot be computed with values of elements; carry all to nodes "
                     "(--at-nodes)"));
    isNodal = own;
  }
  // values of whole elements, and of nodes, go with the rows of those that have several
  auto finest = std::ranges::find_if(sources, [](const auto& one) { return !odiC_CanSpread(one->Layout()); });
  if (finest == sources.end()) finest = sources.begin();
  const odiC_Places::Layout layout = (*finest)->Places().SharedLayout();
  for (odiC_SourcePointer& one : sources) one = odiC_Spread(std::move(one), layout);
  const bool needsPoints = std::ranges::any_of(operands_, [](const Operand& one) {
    return one.kind == Kind::X || one.kind == Kind::Y || one.kind == Kind::Z;
  });
  return odiC_Combined(
      std::move(sources), 1,
      [run = run_, formula = formula_, operands = operands_, layout, needsPoints,
       time = when.value](int firstRow, std::span<const double> all, std::span<double> made) {
        const std::size_t count = made.size();
        std::vector<double> points(needsPoints ? 3 * count : 0), own(operands.size() * count);
        if (needsPoints)
          odiC_PointsOf(*run, layout->blocks[static_cast<std::size_t>(odiC_BlockOf(*layout, firstRow))],
                        firstRow, points);
        std::vector<std::span<const double>> names;
        for (std::size_t i = 0; i < operands.size(); ++i) {
          if (operands[i].kind == Kind::Values) {
            names.push_back(all.subspan(operands[i].values * count, count));
            continue;
          }
          const std::span<double> numbers = std::span(own).subspan(i * count, count);
          const std::size_t axis = operands[i].kind == Kind::X ? 0 : operands[i].kind == Kind::Y ? 1 : 2;
          for (std::size_t k = 0; k < count; ++k)
            numbers[k] = operands[i].kind == Kind::Time ? time : points[3 * k + axis];
          names.push_back(numbers);
        }
        formula.Apply(names, made);
      });
}
