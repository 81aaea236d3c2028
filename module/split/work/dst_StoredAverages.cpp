#include <CoreGeometry/dst_Averages.h>

#include <CoreGeometry/odiC_NodeAverage.h>
#include <CoreGeometry/odiC_Run.h>
#include <algorithm>
#include <limits>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// At a node that the row has several times the first place gets the mean of all of them, the others nothing.
void JoinRepeats(std::span<const int> nodes, std::size_t width, std::span<double> values) {
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (std::ranges::find(nodes.first(i), nodes[i]) != nodes.begin() + static_cast<std::ptrdiff_t>(i))
      continue;
    const auto times = std::ranges::count(nodes, nodes[i]);
    if (times == 1) continue;
    for (std::size_t c = 0; c < width; ++c) {
      for (std::size_t k = i + 1; k < nodes.size(); ++k)
        if (nodes[k] == nodes[i]) {
          values[i * width + c] += values[k * width + c];
          values[k * width + c] = kNone;
        }
      values[i * width + c] /= static_cast<double>(times);
    }
  }
}

/// Where the rows of elements begin in an array of all of them.
class Rows {
public:
  Rows(const bme_FEMElemList& elements, std::size_t width) : elements_(elements.begin(), elements.end()) {
    starts_.reserve(elements_.size() + 1);
    for (const unsigned element : elements_)
      starts_.push_back(starts_.back()
                        + width * At(elements.Mesh().ElementData().GetElemClass(element).NumNodesPerElem()));
  }
  std::size_t Size() const { return starts_.back(); }
  /// The size of the array for an element that is not among them.
  std::size_t Of(unsigned element) const {
    const auto found = std::ranges::lower_bound(elements_, element);
    return found == elements_.end() || *found != element
               ? Size()
               : starts_[At(static_cast<int>(found - elements_.begin()))];
  }

private:
  std::vector<unsigned> elements_;
  std::vector<std::size_t> starts_{0};
};

/// The numbers of the variable's components.
std::size_t WidthOf(const odiC_Run& run, int variable) {
  const odiC_Variable& of = run.Header().variables[At(variable)];
  if (of.IsComplex())
    throw nex_TextException(run.Model().File() + ", " + run.Root() + ": " + of.name
                            + " is complex; derive what is to be averaged first");
  return At(of.NumComponents());
}

std::vector<double> ValuesOf(const dst_OpenPart& part, const bme_FEMElemList& elements,
                             const dst_StoredField& what) {
  const odiC_Run run = odiC_Run::Open(part.model, what.run);
  const int variable = run.VariableIndex(what.variable);
  const std::size_t width = WidthOf(run, variable);
  const Rows rows(elements, width);
  std::vector<double> values(rows.Size(), kNone);
  if (!run.HasField(what.step, what.frame, variable)) return values;
  odiC_FieldReader field = run.Field(what.step, what.frame, variable);
  const odiC_Carrier carrier(
      *part.mesh, odiC_Places::All(field.SharedLayout()),
      [&](int pointSet) -> const odiC_PointSet& { return run.PointSet(pointSet); }, shp_Target::Nodes);
  std::vector<double> stored, carried;
  const std::vector<odiC_LayoutBlock>& blocks = carrier.Places().SharedLayout()->blocks;
  for (int i = 0; i < static_cast<int>(blocks.size()); ++i) {
    const odiC_LayoutBlock &from = field.Layout().blocks[At(carrier.SourceBlock(i))], &to = blocks[At(i)];
    if (from.sectionPoint != what.sectionPoint || from.region != what.region) continue;
    stored.resize(At(from.NumRows()) * width);
    carried.resize(At(to.NumRows()) * width);
    field.Read(from.firstRow, std::span<double>(stored));
    carrier.Apply(i, static_cast<int>(width), std::span<const double>(stored), carried);
    const bme_ElementClass& type = part.mesh->ElementData().GetClass(static_cast<unsigned>(to.classIndex));
    const std::size_t perElement = At(to.valuesPerEntity) * width;
    for (int at = 0; at < to.numEntities; ++at) {
      const std::size_t start = rows.Of(static_cast<unsigned>(type.FirstElementIndex() + to.Entity(at)));
      if (start == rows.Size()) continue;
      const std::span<double> own = std::span(values).subspan(start, perElement);
      std::copy_n(&carried[At(at) * perElement], perElement, own.begin());
      JoinRepeats(type.Connectivity(to.Entity(at)), width, own);
    }
  }
  return values;
}
} // namespace

dst_OfParts<std::vector<double>> dst_AverageAtNodes(const dst_Mesh& mesh, const dst_Elements& elements,
                                                    const dst_StoredField& field) {
  std::int64_t found[2] = {0, 0}; // number of components, and whether a part has the field
  mesh.Exchange().ForEachPart([&](unsigned number) {
    const odiC_Run run = odiC_Run::Open(mesh.Part(number).model, field.run);
    const int variable = run.VariableIndex(field.variable);
    found[0] = static_cast<std::int64_t>(WidthOf(run, variable));
    if (run.HasField(field.step, field.frame, variable)) found[1] = 1;
  });
  mesh.Exchange().Max(found);
  if (found[1] == 0)
    throw nex_TextException(field.run + ": step " + std::to_string(field.step + 1) + ", frame "
                            + std::to_string(field.frame) + " has no " + field.variable + " in any part");
  return dst_AverageAtNodes(
      mesh, elements, static_cast<std::size_t>(found[0]),
      [&](const dst_OpenPart& part, const bme_FEMElemList& some) { return ValuesOf(part, some, field); });
}
