#include <CoreGeometry/dst_Faces.h>

#include "dst_BorderFaces.h"

#include <BasicUtils/nex_Exception.h>

namespace {
[[noreturn]] void Refuse() {
  throw nex_TextException(
      "its faces cannot be computed: a type without a shape, or a node that is not in the mesh");
}

std::vector<unsigned> WordsOf(const bme_FEMFaceList& faces) { return {faces.begin(), faces.end()}; }

/// The list without the words of the border, and with those that belong into it.
std::vector<unsigned> Replace(const bme_FEMFaceList& faces, const bme_FEMFaceList& border,
                              std::vector<unsigned> found) {
  return WordsOf(faces.Difference(border).Union(bme_FEMFaceList(faces.Mesh(), std::move(found))));
}
} // namespace

dst_FaceSets dst_ComputeFaces(const dst_Mesh& mesh, const bme_FaceOptions& options) {
  return dst_ComputeFaces(mesh, dst_Elements::All(), options);
}

dst_FaceSets dst_ComputeFaces(const dst_Mesh& mesh, const dst_Elements& elements,
                              const bme_FaceOptions& options) {
  dst_FaceSets sets(mesh.Exchange().MyParts());
  const auto make = [&](const dst_OpenPart& part) {
    dst_BorderFaces border(part, options);
    border.Add(elements.In(part));
    border.Arrange();
    return border;
  };
  const auto settle = [&](unsigned number, const dst_BorderFaces& border,
                          std::span<const dst_FaceFacts> facts) {
    const dst_OpenPart& part = mesh.Part(number);
    const std::optional<bme_FaceSets> own = bme_ComputeFaces(elements.In(part), options);
    if (!own) Refuse();
    std::vector<unsigned> all, external, interior, shared;
    for (std::size_t i = 0; i < facts.size(); ++i)
      for (const dst_BorderFaces::Face& face : border.Faces(border.Groups()[i])) {
        if (!face.isSolid) continue;
        all.push_back(face.word);
        if (facts[i].numSolids > 2)
          shared.push_back(face.word);
        else if (facts[i].numSolids == 2)
          interior.push_back(face.word);
        else if ((facts[i].flags & dst_FaceFacts::kCovered) == 0)
          external.push_back(face.word);
      }
    if (!options.wantInterior) interior.clear();
    const bme_FEMFaceList onBorder(*part.mesh, std::move(all));
    sets[number] = {Replace(own->external, onBorder, std::move(external)),
                    Replace(own->interior, onBorder, std::move(interior)),
                    Replace(own->shared, onBorder, std::move(shared)), WordsOf(own->collapsed)};
  };
  dst_SettleBorderFaces(mesh, options, make, settle);
  return sets;
}

dst_OfParts<std::vector<unsigned>> dst_ComputeInterface(const dst_Mesh& mesh, const dst_Elements& first,
                                                        const dst_Elements& second,
                                                        const bme_FaceOptions& options) {
  dst_OfParts<std::vector<unsigned>> words(mesh.Exchange().MyParts());
  bme_FaceOptions ofSolids = options;
  ofSolids.shellsCoverSolids = false;
  const auto make = [&](const dst_OpenPart& part) {
    dst_BorderFaces border(part, ofSolids);
    const bme_FEMElemList one = first.In(part);
    border.Add(one);
    border.Add(second.In(part).Difference(one), dst_FaceFacts::kOfOthers);
    border.Arrange();
    return border;
  };
  const auto settle = [&](unsigned number, const dst_BorderFaces& border,
                          std::span<const dst_FaceFacts> facts) {
    const dst_OpenPart& part = mesh.Part(number);
    const std::optional<bme_FEMFaceList> own = bme_ComputeInterface(first.In(part), second.In(part), options);
    if (!own) Refuse();
    std::vector<unsigned> found;
    for (std::size_t i = 0; i < facts.size(); ++i)
      for (const dst_BorderFaces::Face& face : border.Faces(border.Groups()[i]))
        if ((facts[i].flags & dst_FaceFacts::kOfOthers) != 0 && face.flags == 0) found.push_back(face.word);
    words[number] = WordsOf(own->Union(bme_FEMFaceList(*part.mesh, std::move(found))));
  };
  dst_SettleBorderFaces(mesh, ofSolids, make, settle);
  return words;
}
