#include "vtu_Fields.h"

#include <CoreGeometry/odiC_Field.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace {
bool IsAtPoints(const odiC_LayoutBlock& block) {
  return block.position == res_INTEGRATION_POINT || block.position == res_ELEMENT_NODAL;
}
bool IsOfElements(const odiC_LayoutBlock& block) {
  return IsAtPoints(block) || block.position == res_WHOLE_ELEMENT || block.position == res_ELEMENT_CENTROID;
}

/// Columns of vectors and tensors in the order of VTK, which has yz before xz.
struct Columns {
  std::vector<cow_String> names;
  std::vector<int> ofOurs;
};
Columns ColumnsOf(const odiC_Variable& variable, const std::vector<cow_String>& ours) {
  static const std::vector<cow_String> kTensor = {"XX", "YY", "ZZ", "XY", "YZ", "XZ"},
                                       kVector = {"X", "Y", "Z"};
  Columns columns;
  if (variable.dataType == res_VECTOR) columns.names = kVector;
  if (variable.IsTensor()) columns.names = kTensor;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    cow_String upper = ours[i];
    for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    const auto at = std::ranges::find(columns.names, upper);
    if (at == columns.names.end()) { // names of their own: as they are
      columns.names = ours.size() == 1 ? std::vector<cow_String>() : ours;
      columns.ofOurs.resize(ours.size());
      for (std::size_t k = 0; k < ours.size(); ++k) columns.ofOurs[k] = static_cast<int>(k);
      return columns;
    }
    columns.ofOurs.push_back(static_cast<int>(at - columns.names.begin()));
  }
  return columns;
}
} // namespace

vtu_Fields::vtu_Fields(const odiC_Run& run, const odiC_When& when, fmt_FieldPlace place)
    : run_(run), when_(when), place_(place) {
  for (int variable = 0; variable < static_cast<int>(run.Header().variables.size()); ++variable)
    if (run.HasField(when.step, when.frame, variable)) AddVariable(variable);
  std::set<cow_String> taken = {"NodeLabel", "ElementLabel", "ElementClass"};
  for (vtu_FieldArray& array : arrays_) {
    const cow_String name = array.name;
    for (int n = 2; !taken.insert(array.name).second; ++n) array.name = name + " " + std::to_string(n);
  }
}

void vtu_Fields::AddVariable(int variable) {
  const odiC_Variable& of = run_.Header().variables[static_cast<std::size_t>(variable)];
  const odiC_FieldReader field = run_.Field(when_.step, when_.frame, variable);
  const std::vector<odiC_LayoutBlock>& blocks = field.Layout().blocks;
  const bool hasNodes = std::ranges::any_of(blocks, &odiC_LayoutBlock::IsNodal);
  const bool hasElements = std::ranges::any_of(blocks, IsOfElements);
  for (const odiC_LayoutBlock& block : blocks)
    if (!block.IsNodal() && !IsOfElements(block)) facesLost_ += block.NumRows();
  const bool isTurned = of.coordSystem == res_LOCAL || of.coordSystem == res_USER_SPECIFIED;
  turned_ += isTurned;
  const odiC_Selection faces = odiC_Selection().Position(res_ELEMENT_FACE);
  std::vector<std::pair<odiC_Selection, cow_String>> shown;
  if (of.IsComplex())
    shown = {{odiC_Selection().Display(res_REAL), " (real)"},
             {odiC_Selection().Display(res_IMAGINARY), " (imaginary)"}};
  else
    shown = {{odiC_Selection(), ""}};
  for (const auto& [selection, ending] : shown) {
    odiC_Selection where = selection.Without(faces);
    if (isTurned) where = where.System(res_GLOBAL);
    const cow_String name = of.name + ending;
    const odiC_Selection nodes = odiC_Selection().Position(res_NODAL);
    if (hasNodes)
      Add(odiC_Values(run_, of.name, hasElements ? where.Position(res_NODAL) : where),
          name + (hasElements ? " (nodes)" : ""), true);
    if (!hasElements) continue;
    const odiC_Values values(run_, of.name, hasNodes ? where.Without(nodes) : where);
    const bool areAtPoints = std::ranges::any_of(blocks, IsAtPoints);
    if (!areAtPoints)
      Add(values, name, false);
    else if (place_ == fmt_FieldPlace::Cells)
      Add(values.AtCentroids(), name, false);
    else
      Add(place_ == fmt_FieldPlace::Separate ? values.AtElementNodes() : values.AtNodes(), name, true);
  }
}

/// An array for each section point and each set that values are of.
void vtu_Fields::Add(const odiC_Values& values, const cow_String& name, bool isOfPoints) {
  const odiC_SourcePointer source = values.Open(when_);
  const Columns columns = ColumnsOf(values.Variable(), values.Components());
  std::set<std::pair<cow_String, cow_String>> parts;
  for (const odiC_LayoutBlock& block : source->Layout().blocks) {
    // groups of means at nodes have names, too
    const cow_String region = values.CarriedTo() == odiC_CarriedTo::Nodes ? cow_String() : block.region;
    parts.insert({odiC_SectionPointName(run_, block), region});
  }
  const res_StorageTypeEnm storage = run_.Field(when_.step, when_.frame, values.VariableIndex()).Storage();
  for (const auto& [point, region] : parts) {
    cow_String own = name;
    if (!point.empty()) own.append(" ").append(point);
    if (!region.empty() && parts.size() > 1) own.append(" (").append(region).append(")");
    arrays_.push_back(
        {.name = own,
         .isOfPoints = isOfPoints,
         .components = columns.names,
         .storage = values.CarriedTo() == odiC_CarriedTo::AsStored || storage == res_STORAGE_DOUBLE
                        ? storage
                        : res_STORAGE_FLOAT,
         .values = values,
         .columns = columns.ofOurs,
         .sectionPoint = point,
         .region = region});
  }
}

template<class T>
void vtu_Fields::Produce(const vtu_FieldArray& array, const vtu_Places& places, T missing,
                         const std::function<void(std::span<const T>)>& put) const {
  const odiC_SourcePointer source = array.values.Open(when_);
  const auto width = static_cast<std::size_t>(source->NumComponents());
  const std::size_t columns = std::max<std::size_t>(1, array.components.size());
  const std::size_t count = array.isOfPoints ? places.numPoints : places.numCells;
  std::vector<T> all(count * columns, missing);
  std::vector<char> hasValue(array.isOfPoints ? count : 0);
  const bool byNode = array.isOfPoints && places.AreSeparate();
  // of nodes, when every element has points of its own
  std::vector<T> ofNodes;
  const bool isNodal = std::ranges::all_of(source->Layout().blocks, &odiC_LayoutBlock::IsNodal);
  if (byNode && isNodal) {
    ofNodes.assign(run_.Mesh().NodeData().NumNodes() * columns, missing);
    hasValue.assign(run_.Mesh().NodeData().NumNodes(), 0);
  }
  std::vector<T>& target = ofNodes.empty() ? all : ofNodes;
  const bool isOfGroups = array.values.CarriedTo() == odiC_CarriedTo::Nodes;
  odiC_ForEachRange(*source, [&](const odiC_Range& range) {
    if (odiC_SectionPointName(run_, range.block) != array.sectionPoint
        || (!isOfGroups && range.block.region != array.region))
      return;
    const auto classIndex = static_cast<std::size_t>(std::max(0, range.block.classIndex));
    for (const odiC_RowRun& rows : range.rows)
      for (int row = rows.first; row < rows.End(); ++row) {
        const odiC_Place place = odiC_PlaceOf(source->Layout(), row);
        auto to = static_cast<std::size_t>(place.entity);
        if (!range.block.IsNodal()) {
          const bme_ElementClass& type =
              run_.Mesh().ElementData().GetClass(static_cast<unsigned>(classIndex));
          if (!array.isOfPoints) {
            to += static_cast<std::size_t>(type.FirstElementIndex());
          } else { // the point of the element's own that is this node
            const std::vector<std::size_t>& nodes = places.cellNodes[classIndex];
            const auto own = std::ranges::find(nodes, static_cast<std::size_t>(place.point));
            if (own == nodes.end()) continue;
            to = places.firstPoints[classIndex] + to * nodes.size()
                 + static_cast<std::size_t>(own - nodes.begin());
          }
        }
        const double* from = range.values.data() + static_cast<std::size_t>(row - range.firstRow) * width;
        T* made = target.data() + to * columns;
        const bool isFirst = !array.isOfPoints || hasValue[to] == 0;
        if (!isFirst) ++severalValues_;
        if (isFirst) std::fill_n(made, columns, T(0)); // components that the type does not have
        for (std::size_t k = 0; k < width; ++k) {
          T& one = made[static_cast<std::size_t>(array.columns[k])];
          const T value = std::isnan(from[k]) ? missing : static_cast<T>(from[k]);
          if (isFirst || std::abs(static_cast<double>(value)) > std::abs(static_cast<double>(one)))
            one = value;
        }
        if (array.isOfPoints) hasValue[to] = 1;
      }
  });
  if (!ofNodes.empty())
    for (std::size_t i = 0; i < places.nodeOfPoint.size(); ++i)
      std::copy_n(ofNodes.begin()
                      + static_cast<std::ptrdiff_t>(places.nodeOfPoint[i])
                            * static_cast<std::ptrdiff_t>(columns),
                  columns, all.begin() + static_cast<std::ptrdiff_t>(i * columns));
  put(all);
}

void vtu_Fields::Write(vtu_Document& out, const vtu_Places& places, bool isOfPoints) const {
  for (const vtu_FieldArray& array : arrays_) {
    if (array.isOfPoints != isOfPoints) continue;
    const int columns = std::max<int>(1, static_cast<int>(array.components.size()));
    const std::size_t count =
        (isOfPoints ? places.numPoints : places.numCells) * static_cast<std::size_t>(columns);
    const auto add = [&]<class T>(T missing) {
      out.Array<T>(
          array.name, columns, count,
          [this, &array, &places, missing](const std::function<void(std::span<const T>)>& put) {
            Produce<T>(array, places, missing, put);
          },
          array.components);
    };
    switch (array.storage) {
    case res_STORAGE_FLOAT: add(std::numeric_limits<float>::quiet_NaN()); break;
    case res_STORAGE_DOUBLE: add(std::numeric_limits<double>::quiet_NaN()); break;
    case res_STORAGE_INTEGER: add(odiC_kMissingInteger); break;
    case res_STORAGE_BOOLEAN: add(static_cast<signed char>(-1)); break;
    }
  }
}

void vtu_Fields::AddTo(fmt_Ledger& ledger) const {
  if (facesLost_ > 0) ledger.push_back({"values at faces and of regions", facesLost_, {}});
  if (turned_ > 0)
    ledger.push_back({"axes of variables", turned_, "their values are turned to the global axes"});
  if (severalValues_ > 0)
    ledger.push_back({"further values at nodes where groups of elements meet", severalValues_,
                      "of each component the one farthest from zero is written"});
}
