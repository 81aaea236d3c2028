#include "exo_Notes.h"

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/exo_Types.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>

namespace {
cls_xpListString ListOf(const std::vector<cow_String>& texts) {
  cow_List<cow_String> list;
  for (const cow_String& text : texts) list.Append(text);
  return cls_xpListString(list);
}

bool SayAnything(const std::vector<cow_String>& texts) {
  return std::ranges::any_of(texts, [](const cow_String& text) { return !text.empty(); });
}

/// Whether an export would call the type by a name that means another one, or the same with other sides.
bool IsOfAnotherName(const bme_ElementClass& type, const exo_Block& block, int numDims) {
  if (block.numElements == 0 || !type.Shape()) return block.type != type.ElemTypeLabel();
  const auto name = exo_NameType(*type.Shape(), numDims, bme_PyramidNodes(type));
  return !name || !exo_AreOneType(name->name, block.type);
}
} // namespace

long long exo_AddProperties(std::span<const exo_Property> properties, std::size_t position,
                            bme_Annotation& to) {
  long long wide = 0;
  for (const exo_Property& property : properties) {
    const auto value = static_cast<int>(property.values[position]);
    if (value != property.values[position]) {
      ++wide;
      continue;
    }
    to.properties.ListToModify().Append(property.name);
    to.propertyValues.Append(value);
  }
  return wide;
}

void exo_ReadNotes(const exo_File& file, std::span<const exo_BlockPlace> blocks, const bme_Mesh& mesh,
                   bme_MeshNotes& notes, fmt_Ledger& ledger) {
  notes.title = file.Title();
  const std::vector<cow_String> names = file.CoordinateNames();
  if (SayAnything(names)) notes.coordinateNames = ListOf(names);
  notes.programs = ListOf(file.Programs());
  notes.information = ListOf(file.Information());
  const std::vector<exo_Property> properties = file.BlockProperties();
  long long wide = 0;
  for (const exo_BlockPlace& place : blocks) {
    if (place.classIndex < 0) continue;
    const exo_Block& block = *place.block;
    bme_Annotation made(bme_CLASS_NOTED, place.classIndex);
    if (IsOfAnotherName(mesh.ElementData().GetClass(static_cast<unsigned>(place.classIndex)), block,
                        file.NumDims()))
      made.typeName = block.type;
    if (block.numElements > 0 && block.numAttributes > 0) {
      const auto columns = static_cast<std::size_t>(block.numAttributes);
      made.values = cls_xp2DArrayDouble(columns, file.ReadAttributes(block));
      const std::vector<cow_String> titles = file.AttributeNames(block);
      if (SayAnything(titles) && titles.size() == columns) made.columns = ListOf(titles);
    }
    wide += exo_AddProperties(properties, static_cast<std::size_t>(block.position - 1), made);
    if (!made.IsEmpty()) notes.annotations.ListToModify().Append(made);
  }
  if (wide > 0) ledger.push_back({"properties of blocks", wide, "do not fit 32 bits"});
}
