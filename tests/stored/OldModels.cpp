#include "OldModels.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/gsl_PersistentMatrix.h>
#include <CoreGeometry/rgnC_Region.h>

namespace {
/// What a field of these classes holds when its layout is too old for it.
cls_Cell DefaultOf(const cow_String& field) {
  const bme_ElemCtrlParams controls;
  cls_Row row;
  row.SetText("distortionCtrl", omu_PrimEnum<bme_DistortionControl>(controls.DistortionCtrl()).Text())
      .SetDouble("lengthRatio", 0.1)
      .SetTexts("_ownerNames", {})
      .SetInt("_space", 0)
      .SetInt("_axisId", 0)
      .SetInts("facetIdArray", {});
  return row.Get(field);
}

/// Stores a row after some conversions, as a program of that age would have stored it.
long long Put(cls_WritePass& pass, unsigned typeId, int version, cls_Row row, int steps,
              const cow_String* root = nullptr) {
  const auto& registry = omi_Singleton<cls_MetadataRegistrar>::Instance().Registry();
  row.typeId = typeId;
  row.version = version;
  // the step into the current layout belongs to reading, which also brings values up to date
  for (;
       steps > 0 && !registry.Find(typeId, registry.Find(typeId, row.version)->Next()->version)->IsCurrent();
       --steps) {
    cls_Row next = registry.ConvertOnce(row);
    for (const auto& attribute : registry.Find(typeId, next.version)->Attributes())
      if (std::holds_alternative<cls_DefaultValue>(next.Get(attribute.name)))
        next.Set(attribute.name, DefaultOf(attribute.name));
    row = std::move(next);
  }
  return root ? pass.PutRow(*root, typeId, row.version, row) : pass.PutRow(typeId, row.version, row);
}

void PutRoot(cls_WritePass& pass, const cow_String& root, unsigned typeId, int version, cls_Row row,
             int steps) {
  Put(pass, typeId, version, std::move(row), steps, &root);
}

cls_Row Controls(int version) {
  cls_Row row;
  row.SetText("elemLib", "Standard")
      .SetDouble("hrGlsStiffness", 1.5)
      .SetDouble("bendingHrGls", 0)
      .SetDouble("drillingHrGls", 0)
      .SetText("kineSplit", "Centroid")
      .SetText("hrGlsControl", "Default Hourglass Control")
      .SetDouble("weightFactor", 0.5)
      .SetText("stressRate", "Polar")
      .SetDouble("displHrGls", 1)
      .SetDouble("rotHrGls", 1)
      .SetDouble("OOPDispHrGls", 1)
      .SetText("soAccuracy", "Accuracy off");
  if (version == 508) row.SetText("distortionCtrl", "Distortion Control ON").SetDouble("lengthRatio", 0.3);
  return row;
}

/// Two hexahedra side by side, whose class has the given versions.
long long ElementClass(cls_WritePass& pass, int controlsVersion, int steps,
                       const cow_String* root = nullptr) {
  std::vector<int> nodes;
  for (const int first : {0, 4})
    for (int i = 0; i < 8; ++i) nodes.push_back(first + i);
  cls_Row row;
  row.SetInt("numElements", 2)
      .SetInt("firstElementIndex", 0)
      .SetText("elemTypeLabel", "C3D8R")
      .SetEmbedded("elemCtrlParams",
                   Put(pass, bme_ElemCtrlParams::TypeId(), controlsVersion, Controls(controlsVersion), steps))
      .SetInt("meshIndex", 0)
      .SetInt("classIndex", 0)
      .SetInt("regionClassIndex", 3)
      .SetInt("regionIndex", 2)
      .SetText("categoryLabel", "Part \"A\"")
      .SetInts("DDBuserElementLabel", std::vector{100, 7})
      .SetInts("DDBconnectivity", nodes, 8);
  return Put(pass, bme_ElementClass::TypeId(), 203, row, steps, root);
}

long long ElementData(cls_WritePass& pass, int steps, const cow_String* root = nullptr) {
  const std::pair<long long, long long> classes[] = {{0, ElementClass(pass, 203, steps)}};
  cls_Row row;
  row.SetOwnedMap("classes", classes);
  return Put(pass, bme_ElementData::TypeId(), 203, row, steps, root);
}

long long NodeData(cls_WritePass& pass) {
  std::vector<float> coordinates;
  std::vector<int> labels;
  for (int layer = 0; layer < 3; ++layer)
    for (const auto& [x, y] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}}) {
      coordinates.insert(coordinates.end(), {x, y, 0.1F * static_cast<float>(layer)});
      labels.push_back(static_cast<int>(labels.size()) * 10 - 5);
    }
  cls_Row row;
  row.SetFloats("coordinates", coordinates, 3).SetInts("userNodeLabels", labels).SetInt("numDim", 3);
  return pass.PutRow(bme_NodeData::TypeId(), 203, row);
}

void Mesh(cls_WritePass& pass, int steps) {
  std::vector<double> shift(16, 0);
  for (const int i : {0, 5, 10, 15}) shift[static_cast<std::size_t>(i)] = 1;
  shift[3] = 2.5;
  cls_Row matrix, row;
  matrix.SetDoubles("_matrix", shift, 4);
  row.SetInt("id", 0)
      .SetOwned("nodeData", NodeData(pass))
      .SetOwned("elemData", ElementData(pass, steps))
      .SetText("meshType", "Native mesh")
      .SetDouble("timeStamp", 12.5)
      .SetEmbedded("transform", pass.PutRow(gsl_PersistentMatrix::TypeId(), 203, matrix));
  PutRoot(pass, "meshes/Wing", bme_Mesh::TypeId(), 203, row, steps);
}

template<int version> void ElementClassRoot(cls_WritePass& pass, int steps) {
  const cow_String root = "class";
  ElementClass(pass, version, steps, &root);
}

template<int version> void Region(cls_WritePass& pass, int steps) {
  cls_Row path, shortcut, row;
  path.SetText("path", "sets/Skin");
  shortcut.SetOwned("impl", pass.PutRow(rgnC_SetDataIMPLSC::TypeId(), 1, path));
  row.SetText("name", "Skin")
      .SetInt("internal", 1)
      .SetEmbedded("setData", pass.PutRow(rgnC_SetDataShortcut::TypeId(), 1, shortcut));
  if (version <= 331) row.SetInt(version == 203 ? "_type" : "_typeObsolete", 4);
  if (version >= 331) {
    const cow_String owners[] = {"rootAssembly", "Part-1"};
    row.SetTexts("_ownerNames", owners).SetInt("_space", 3).SetInt("_setTypeBits", 6);
  }
  PutRoot(pass, "regions/Skin", rgnC_Region::TypeId(), version, row, steps);
}

template<int version> void Subset(cls_WritePass& pass, int steps) {
  cls_Row set, subset;
  subset.SetInt("setIndex", 4)
      .SetInt("subsetIndex", 0)
      .SetInts("idArray", std::vector{5, 6, 9})
      .SetInt("meshIndex", 2)
      .SetInt("classIndex", 3)
      .SetInt("constructionOk", 1);
  if (version <= 303) subset.SetInt("numItems", 3);
  if (version >= 303)
    subset.SetInts("facetIdArray", std::vector{1, 2, 0}).SetText("subsetType", "SURFACE_FACET");
  set.SetInt("setIndex", 4)
      .SetText("setLabel", "Skin")
      .SetInt("numSubset", 1)
      .SetText("setType", "ELEMENT_SET")
      .SetInt("internalSet", 0)
      .SetInt("constructionOk", 1);
  subset.parent = &set;
  const std::pair<long long, long long> subsets[] = {
      {0, Put(pass, rgnC_SubsetData::TypeId(), version, subset, steps)}};
  set.SetOwnedMap("subsetList", subsets);
  PutRoot(pass, "sets/Skin", rgnC_SetData::TypeId(), 203, set, steps);
}

template<int version> void DatumReference(cls_WritePass& pass, int steps) {
  cls_Row row;
  row.SetInt("_datumId", 5).SetInt("_instanceId", 6);
  if (version == 209) row.SetInt("_axisId", 2);
  PutRoot(pass, "reference", dtmC_DatumRef::TypeId(), version, row, steps);
}

constexpr OldModel kModels[] = {
    {"bme_Mesh_203", Mesh},
    {"bme_ElementData_203",
     [](cls_WritePass& pass, int steps) {
       const cow_String root = "elements";
       ElementData(pass, steps, &root);
     }},
    {"bme_ElementClass_203", ElementClassRoot<203>},
    {"bme_ElemCtrlParams_203",
     [](cls_WritePass& pass, int steps) {
       PutRoot(pass, "controls", bme_ElemCtrlParams::TypeId(), 203, Controls(203), steps);
     }},
    {"bme_ElemCtrlParams_204", ElementClassRoot<204>},
    {"bme_ElemCtrlParams_508", ElementClassRoot<508>},
    {"rgnC_Region_203", Region<203>},
    {"rgnC_Region_204", Region<204>},
    {"rgnC_Region_331", Region<331>},
    {"rgnC_Region_1004", Region<1004>},
    {"rgnC_SetData_203", Subset<316>},
    {"rgnC_SubsetData_203", Subset<203>},
    {"rgnC_SubsetData_303", Subset<303>},
    {"rgnC_SubsetData_316", Subset<316>},
    {"dtmC_DatumRef_203", DatumReference<203>},
    {"dtmC_DatumRef_209", DatumReference<209>},
};
} // namespace

std::span<const OldModel> OldModels() { return kModels; }
