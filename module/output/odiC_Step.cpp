#include <CoreGeometry/odiC_Step.h>

#include "odiC_Fields.h"

constexpr auto odiC_Step::StoredFields() {
  return cls_Fields{
      cls_Field{"name", &odiC_Step::name},           cls_Field{"description", &odiC_Step::description},
      cls_Field{"kind", &odiC_Step::kind},           cls_Field{"domain", &odiC_Step::domain},
      cls_Field{"startTime", &odiC_Step::startTime}, cls_Field{"isPerturbation", &odiC_Step::isPerturbation},
      cls_Field{"values", &odiC_Step::values},       cls_Field{"increments", &odiC_Step::increments},
      cls_Field{"modes", &odiC_Step::modes},         cls_Field{"eigenvalues", &odiC_Step::eigenvalues},
      cls_Field{"dampings", &odiC_Step::dampings},   cls_Field{"descriptions", &odiC_Step::descriptions},
      cls_Field{"present", &odiC_Step::present},     cls_Field{"numHistories", &odiC_Step::numHistories}};
}
template class odiC_Stored<odiC_Step>;

namespace {
constexpr unsigned kBits = 32;

/// Columns have no entries until one differs from the default.
template<class T> void AddTo(std::vector<T>& column, const T& value, std::size_t numBefore) {
  if (column.empty() && value == T()) return;
  column.resize(numBefore);
  column.push_back(value);
}
template<class T> T EntryOf(const std::vector<T>& column, std::size_t frame) {
  return column.empty() ? T() : column[frame];
}
} // namespace

odiC_Step::odiC_Step(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  const auto expect = [&](std::size_t count, const char* column) {
    if (count != 0 && count != values.size())
      visitor.Refuse(std::to_string(values.size()) + " frames have " + std::to_string(count) + " " + column);
  };
  expect(increments.size(), "increments");
  expect(modes.size(), "modes");
  expect(eigenvalues.size(), "eigenvalues");
  expect(dampings.size(), "dampings");
  expect(descriptions.size(), "descriptions");
  if (values.empty() ? !present.empty() : present.size() % values.size() != 0)
    visitor.Refuse(std::to_string(present.size()) + " words say which variables are present in "
                   + std::to_string(values.size()) + " frames");
}

odiC_Frame odiC_Step::Frame(int frame) const {
  if (frame < 0 || frame >= NumFrames())
    throw nex_TextException("frame " + std::to_string(frame) + " of step \"" + name + "\": "
                            + (values.empty() ? cow_String("it has none")
                                              : "0 to " + std::to_string(NumFrames() - 1) + " exist"));
  const auto i = static_cast<std::size_t>(frame);
  return {values[i],
          EntryOf(increments, i),
          EntryOf(modes, i),
          EntryOf(descriptions, i),
          EntryOf(eigenvalues, i),
          EntryOf(dampings, i)};
}

void odiC_Step::Add(const odiC_Frame& frame, int numVariables) {
  if (!values.empty() && !(frame.value >= values.back()))
    throw nex_TextException("step \"" + name + "\": the value " + std::to_string(frame.value) + " of frame "
                            + std::to_string(NumFrames()) + " is below " + std::to_string(values.back())
                            + " of the one before");
  const std::size_t before = values.size();
  AddTo(increments, frame.increment, before);
  AddTo(modes, frame.mode, before);
  AddTo(descriptions, frame.description, before);
  AddTo(eigenvalues, frame.eigenvalue, before);
  AddTo(dampings, frame.damping, before);
  const std::size_t words = WordsPerFrame();
  values.push_back(frame.value);
  present.resize(values.size() * words);
  Widen(numVariables);
}

void odiC_Step::Widen(int numVariables) {
  const std::size_t old = WordsPerFrame(),
                    words = (static_cast<std::size_t>(numVariables) + kBits - 1) / kBits;
  if (words <= old) return;
  std::vector<unsigned> wider(values.size() * words);
  for (std::size_t i = 0; i < present.size(); ++i) wider[i / old * words + i % old] = present[i];
  present = std::move(wider);
}

bool odiC_Step::Has(int frame, int variable) const noexcept {
  const std::size_t words = WordsPerFrame(), word = static_cast<unsigned>(variable) / kBits;
  if (frame < 0 || frame >= NumFrames() || variable < 0 || word >= words) return false;
  return (present[static_cast<std::size_t>(frame) * words + word] >> (static_cast<unsigned>(variable) % kBits)
          & 1U)
         != 0;
}

void odiC_Step::SetPresent(int frame, int variable, int numVariables) {
  Widen(numVariables);
  present[static_cast<std::size_t>(frame) * WordsPerFrame() + static_cast<unsigned>(variable) / kBits] |=
      1U << (static_cast<unsigned>(variable) % kBits);
}
