#include <CoreGeometry/shp_ShapeDictionary.h>

#include "shp_LabelIndex.h"
#include "shp_LabelTable.h"
#include "shp_Print.h"

#include <CoreUtils/atr_String.h>

namespace {
constexpr const char* kColumnTitles[] = {
    "Version 5 Type",
    "Number of geometry dimensions",
    "Number of spatial dimensions",
    "Number of nodes per element",
    "Number of integration points per element",
    "Number of faces per element",
    "Maximum edges per face",
    "Maximum nodes per face",
    "Maximum nodes per edge",
    "Maximum integration points per face",
    "isAxiSymmetric flag",
    "isInteraction flag",
    "isInternal flag",
    "isSurface flag",
    "isRigid flag",
    "hasResults flag",
    "isSweepable flag",
    "isExtrudable flag",
    "isAnalyticalRigidSurface flag",
    "interpOrder",
    "isTwistedElement flag",
    "isCaxaElement flag",
};

/// A section of the shape table with a heading and the tables of each shape.
struct TableSection {
  const char* title;
  const char* labelFormat;
  void (*printTables)(const shp_Shape&, aio_ostream&);
};
constexpr TableSection kTableSections[] = {
    {"   Shape Connectivity Tables:", "---- %18s ----",
     [](const shp_Shape& shape, aio_ostream& stream) { shape.PrintConnectivity(stream); }},
    {"   Shape Weight Tables:", "---- %18s ----",
     [](const shp_Shape& shape, aio_ostream& stream) { shape.PrintWeightsInTable(stream); }},
    {"Shape Inverse Topology Tables:", "%18s",
     [](const shp_Shape& shape, aio_ostream& stream) { shape.PrintInverseTable(stream); }},
};

// The script is made for hosts that look for exactly this text.
constexpr const char* kScriptHead[] = {
    "# A mapping of element label to the number of nodes",
    "#******************************************************************",
    "#****                                                          ****",
    "#****DO NOT HAND EDIT GENERATED USING                          ****",
    "#****kvx -test module/shp/test/impl/shpT_UpgradeTest           ****",
    "#****                                                          ****",
    "#******************************************************************",
    "#",
    "def shp_GenerateShapeMap():",
    "    shapeMap = {}",
};
constexpr const char* kScriptTail[] = {
    "# unsupported elements",
    "    shapeMap[\"unsupported\"] = 0",
    "    return shapeMap",
    "shp_NodesPerElement = shp_GenerateShapeMap()",
};
} // namespace

shp_ShapeDictionary::shp_ShapeDictionary() {
  shp_RegisterLabels(labelTable_);
  index_ = std::make_unique<shp_LabelIndex>(labelTable_);
}

shp_ShapeDictionary::~shp_ShapeDictionary() = default;

const shp_Shape* shp_ShapeDictionary::GetShape(const cow_String& label) const {
  shp_LabelIndex::Entry* entry = index_->Find(label);
  if (!entry) return nullptr;
  if (!entry->shape) {
    auto made = std::make_shared<const shp_Shape>(*entry->label, *entry->key, numShapes_);
    entry->shape = shapeCache_.emplace(*entry->label, std::move(made)).first->second.get();
    ++numShapes_;
  }
  return entry->shape;
}

std::shared_ptr<const shp_Shape> shp_ShapeDictionary::ShareShape(const cow_String& label) const {
  const shp_Shape* shape = GetShape(label);
  return shape ? shapeCache_.find(shape->Label())->second : nullptr;
}

void shp_ShapeDictionary::PrintShapeTable(aio_ostream& stream) const {
  const atr_String shortRuler(18, '-'), mediumRuler(31, '-'), longRuler(51, '-');
  shp_WriteLine(stream, shortRuler);
  shp_WriteLine(stream, "Shape descriptors:");
  shp_WriteLine(stream, shortRuler);
  int column = 0;
  for (const char* title : kColumnTitles)
    shp_WriteLine(stream, atr_Format("Column %2d: %s", {++column, std::string(title)}));
  shp_WriteLine(stream, longRuler);
  for (const auto& [label, key] : labelTable_) {
    shp_Write(stream, atr_Format("%18s ", {label}));
    ShapeOf(label).PrintMembersInTable(stream);
  }

  for (const TableSection& section : kTableSections) {
    shp_WriteLine(stream, mediumRuler);
    shp_WriteLine(stream, section.title);
    shp_WriteLine(stream, mediumRuler);
    for (const auto& [label, key] : labelTable_) {
      shp_WriteLine(stream, atr_Format(section.labelFormat, {label}));
      section.printTables(ShapeOf(label), stream);
    }
  }
}

void shp_ShapeDictionary::PrintLabelToNodecountTable(aio_ostream& stream) const {
  const auto writeFlushed = [&](const atr_String& line) {
    shp_WriteLine(stream, line);
    stream.flush();
  };
  for (const char* line : kScriptHead) writeFlushed(line);
  for (const auto& [label, key] : labelTable_)
    writeFlushed(atr_Format("    shapeMap[\"%s\"] = %d", {label, ShapeOf(label).NumNodes()}));
  for (const char* line : kScriptTail) writeFlushed(line);
}

void shp_ShapeDictionary::PrintAllShapes(aio_ostream& stream) const {
  for (const auto& [label, key] : labelTable_) {
    shp_WriteLine(stream, "Version 5 Type: " + label);
    ShapeOf(label).PrintMembers(stream);
  }
}
