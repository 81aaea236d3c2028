// Faces of elements, edges of faces, and what is derived from them.
#include "py_Arrays.h"
#include "py_Lists.h"
#include "py_Work.h"

#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <numbers>

namespace {
nb::object Table(const char* name) { return nb::module_::import_("coregeometry._tables").attr(name); }

unsigned Excluded(nb::handle words) {
  unsigned bits = bme_EXCLUDE_NOTHING;
  for (const nb::handle word : words)
    bits |= py_Choose<unsigned>("leave_out", nb::cast<std::string>(word),
                                {{"rigid", bme_EXCLUDE_RIGID},
                                 {"interaction", bme_EXCLUDE_INTERACTION},
                                 {"internal", bme_EXCLUDE_INTERNAL},
                                 {"surface", bme_EXCLUDE_SURFACE},
                                 {"analytic", bme_EXCLUDE_ANALYTIC},
                                 {"unsupported", bme_EXCLUDE_UNSUPPORTED}});
  return bits;
}

bme_FaceOptions Options(nb::handle leaveOut, bool matchAll, bool bothSides, bool shellsCover) {
  bme_FaceOptions options;
  options.exclude = Excluded(leaveOut);
  options.matchAllNodes = matchAll;
  options.bothSides = bothSides;
  options.shellsCoverSolids = shellsCover;
  return options;
}

bme_FaceSets FaceSets(const py_ElementList& self, const bme_FaceOptions& options) {
  // what is wrong has been reported, and py_Run throws it
  auto sets = py_Run([&] { return bme_ComputeFaces(self.list, options); });
  if (!sets) throw py_Error("DataError", "the faces could not be computed");
  return std::move(*sets);
}

py_FaceList ExternalFaces(const py_ElementList& self, nb::handle leaveOut, bool matchAll, bool bothSides,
                          bool shellsCover) {
  return {self.mesh, FaceSets(self, Options(leaveOut, matchAll, bothSides, shellsCover)).external};
}

nb::object AllFaceSets(const py_ElementList& self, nb::handle leaveOut, bool matchAll, bool bothSides,
                       bool shellsCover) {
  bme_FaceOptions options = Options(leaveOut, matchAll, bothSides, shellsCover);
  options.wantInterior = true;
  const bme_FaceSets sets = FaceSets(self, options);
  const auto list = [&](const bme_FEMFaceList& faces) { return py_FaceList{self.mesh, faces}; };
  return Table("FaceSets")(list(sets.external), list(sets.interior), list(sets.shared), list(sets.collapsed));
}

nb::object EdgeSets(const py_FaceList& self, double angle) {
  bme_EdgeOptions options;
  options.featureAngle = angle * std::numbers::pi / 180;
  const auto sets = py_Run([&] { return bme_ComputeEdges(self.list, options); });
  if (!sets) throw py_Error("DataError", "the edges could not be computed");
  const auto list = [&](const bme_FEMEdgeList& edges) { return py_EdgeList{self.mesh, edges}; };
  return Table("EdgeSets")(list(sets->unique), list(sets->feature), list(sets->free), list(sets->nonManifold),
                           list(sets->inconsistent));
}

nb::object Triangles(const py_FaceList& self, const std::string& which) {
  const bme_NodesOf nodes = py_NodesOf(which);
  bme_FaceTriangles made = py_Run([&] { return bme_Triangulate(self.list, nodes); });
  std::vector<int> faces(made.words.size());
  std::size_t face = 0;
  for (std::size_t i = 0; i < faces.size(); ++i) { // triangles are in the order of their faces
    while (self.list[face] != made.words[i]) ++face;
    faces[i] = static_cast<int>(face);
  }
  const std::size_t count = faces.size();
  return Table("Triangles")(py_Array(std::move(made.nodes), {count, 3}), py_Array(std::move(faces)));
}

nb::list Chains(const py_EdgeList& self) {
  nb::list chains;
  for (bme_EdgeChain& chain : py_Run([&] { return bme_ChainEdges(self.list); }))
    chains.append(Table("Chain")(py_Array(std::move(chain.nodes)), chain.isClosed));
  return chains;
}
} // namespace

void py_BindFaces(nb::module_&) {
  const char* const options =
      "leave_out: collections.abc.Sequence[str] = (), match_all_nodes: bool = False, both_sides: "
      "bool = False, shells_cover_solids: bool = False";
  auto elements = nb::borrow<nb::class_<py_ElementList>>(nb::type<py_ElementList>());
  elements
      .def("external_faces", &ExternalFaces, nb::kw_only(), nb::arg("leave_out") = nb::tuple(),
           nb::arg("match_all_nodes") = false, nb::arg("both_sides") = false,
           nb::arg("shells_cover_solids") = false,
           nb::sig((std::string("def external_faces(self, *, ") + options + ") -> FaceList").c_str()),
           "Faces of solids that no other solid of the list has, and surface elements. DataError for "
           "elements without "
           "a shape.")
      .def("face_sets", &AllFaceSets, nb::kw_only(), nb::arg("leave_out") = nb::tuple(),
           nb::arg("match_all_nodes") = false, nb::arg("both_sides") = false,
           nb::arg("shells_cover_solids") = false,
           nb::sig((std::string("def face_sets(self, *, ") + options + ") -> coregeometry._tables.FaceSets")
                       .c_str()),
           "External, interior, shared and collapsed faces.")
      .def(
          "interface",
          [](const py_ElementList& self, const py_ElementList& other) {
            const auto faces = py_Run([&] { return bme_ComputeInterface(self.list, other.list); });
            if (!faces) throw py_Error("DataError", "the interface could not be computed");
            return py_FaceList{self.mesh, *faces};
          },
          nb::arg("other"), "Faces of these solids that solids only in the other list have, too.")
      .def(
          "duplicates",
          [](const py_ElementList& self) {
            const auto pairs = py_Run([&] { return bme_FindDuplicates(self.list); });
            std::vector<int> rows;
            for (const auto& [first, second] : pairs)
              rows.insert(rows.end(), {static_cast<int>(first), static_cast<int>(second)});
            return py_Array(std::move(rows), {pairs.size(), 2});
          },
          nb::rv_policy::automatic, nb::sig("def duplicates(self) -> numpy.typing.NDArray[numpy.int32]"),
          "(k, 2): an element, and a later one with the same nodes.");
  auto faces = nb::borrow<nb::class_<py_FaceList>>(nb::type<py_FaceList>());
  faces
      .def("edge_sets", &EdgeSets, nb::arg("angle") = 30.0,
           nb::sig("def edge_sets(self, angle: float = 30.0) -> coregeometry._tables.EdgeSets"),
           "Edges, each once, and those at angles of at least so many degrees, free, non-manifold and "
           "inconsistent.")
      .def("triangles", &Triangles, nb::arg("which") = "corners",
           nb::sig("def triangles(self, which: typing.Literal['all', 'corners'] = 'corners') -> "
                   "coregeometry._tables.Triangles"),
           "Triangles by their nodes, and of each the position of its face in the list.")
      .def(
          "normals",
          [](const py_FaceList& self) {
            auto normals = py_Run([&] { return bme_ComputeNormals(self.list); });
            if (!normals) throw py_Error("DataError", "the normals could not be computed");
            return py_Array(std::move(*normals), {self.list.Count(), 3});
          },
          nb::rv_policy::automatic, nb::sig("def normals(self) -> numpy.typing.NDArray[numpy.float32]"),
          "(n, 3) unit normals; zero for a face without area.")
      .def(
          "grow",
          [](const py_FaceList& self, const py_FaceList& within, double angle) {
            return py_FaceList{self.mesh, py_Run([&] {
                                 return bme_GrowFaces(self.list, within.list, angle * std::numbers::pi / 180);
                               })};
          },
          nb::arg("within"), nb::arg("angle"),
          "These and all faces reached over edges of at most so many degrees.");
  auto edges = nb::borrow<nb::class_<py_EdgeList>>(nb::type<py_EdgeList>());
  edges.def("chains", &Chains, nb::sig("def chains(self) -> list[coregeometry._tables.Chain]"),
            "Chains of edges by their end nodes; a closed one ends with its first node.");
}
