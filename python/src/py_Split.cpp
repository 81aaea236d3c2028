// Split models: made, opened, and asked part by part in this process.
#include "py_Split.h"

#include "py_Arrays.h"
#include "py_CommExchange.h"
#include "py_Mesh.h"
#include "py_Work.h"

#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_CoincidentNodes.h>
#include <CoreGeometry/dst_Extract.h>
#include <CoreGeometry/dst_Faces.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Locate.h>
#include <CoreGeometry/dst_Measures.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/dst_Split.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <algorithm>
#include <filesystem>
#include <limits>

namespace {
/// That of one process, or of all ranks of a communicator.
std::unique_ptr<dst_Exchange> MakeExchange(nb::handle comm) {
  if (comm.is_none())
    return std::make_unique<dst_SerialExchange>(std::filesystem::temp_directory_path().string());
  return std::make_unique<py_CommExchange>(nb::borrow(comm));
}

/// A split model, the exchange that asks it, and the part that was asked for last.
class Split {
public:
  Split(const std::string& folder, nb::handle comm)
      : exchange_(MakeExchange(comm)), model_(py_Run([&] { return dst_Model(folder, *exchange_); })),
        mesh_(model_.Mesh()) {}

  const dst_Index& Index() const noexcept { return model_.Index(); }
  const dst_SplitFolder& Folder() const noexcept { return model_.Folder(); }
  dst_PartRange MyParts() const { return mesh_.Exchange().MyParts(); }
  /// Runs a question about the whole, one at a time: the exchange is that of one thread.
  template<class Ask> auto Run(Ask ask) {
    return py_Run([&] {
      const std::lock_guard lock(mutex_);
      return ask(mesh_);
    });
  }

  /// The first rank writes the file.
  void Join(const std::string& file) {
    Run([&](const dst_Mesh& mesh) {
      mesh.Exchange().OnFirstRank([&] { dst_Join(Folder(), file); });
      mesh.Exchange().Agree();
      return true;
    });
  }

private:
  std::unique_ptr<dst_Exchange> exchange_;
  dst_Model model_;
  dst_Mesh mesh_;
  std::mutex mutex_;
};

void Make(const std::string& source, const std::string& folder, unsigned parts, const std::string& method,
          unsigned chunks, bool weighNodes, std::uint64_t memory, const std::string& mesh, bool force) {
  const dst_SplitOptions options{
      .parts = parts,
      .method = py_Choose<dst_Method>(
          "method", method,
          {{"auto", dst_Method::Auto}, {"metis", dst_Method::Metis}, {"curve", dst_Method::Curve}}),
      .chunks = chunks,
      .weightNodes = weighNodes,
      .memory = memory,
      .doForce = force};
  py_Run([&] {
    cls_Database model = cls_Database::Open(source);
    if (model.IsOutdated()) model = model.Converted();
    dst_Split(*dst_ModelSource(model, mesh), folder, options);
  });
}

void MakeFromMesh(const py_Mesh& mesh, const std::string& name, const std::string& folder,
                  nb::handle argument) {
  const std::size_t numElements = mesh.Elements().NumElements();
  const std::vector<unsigned> parts = py_ToIndices(argument, "parts", std::size_t{1} << 31).values;
  if (parts.size() != numElements)
    throw py_Error("ValueError", "parts: " + std::to_string(parts.size()) + " numbers for "
                                     + std::to_string(numElements) + " elements");
  const unsigned numParts = parts.empty() ? 0 : *std::ranges::max_element(parts) + 1;
  py_Run([&] { dst_WriteSplit(*dst_MeshSource(name, *mesh), parts, numParts, folder); });
}

void ExpectPart(const Split& self, unsigned part) {
  if (part >= self.Index().NumParts())
    throw py_Error("IndexError",
                   "part " + std::to_string(part) + " of " + std::to_string(self.Index().NumParts()));
}

nb::dict PartFacts(const Split& self, unsigned part) {
  ExpectPart(self, part);
  const dst_PartFacts facts = self.Index().Part(part);
  nb::dict made;
  made["elements"] = facts.numElements;
  made["nodes"] = facts.numNodes;
  made["owned_nodes"] = facts.numOwned;
  made["shared_nodes"] = facts.numShared;
  made["neighbours"] = facts.neighbours;
  return made;
}

/// Mesh and numbers in the whole of a part, and the positions of what others hold, too.
nb::tuple OpenPart(Split& self, unsigned part) {
  ExpectPart(self, part);
  const dst_OpenPart open = py_Run([&] { return self.Folder().OpenPart(part); });
  const auto numbers = [](std::span<const unsigned> all) {
    return py_Array(std::vector<unsigned>(all.begin(), all.end()));
  };
  return nb::make_tuple(py_Mesh(*open.mesh), numbers(open.part->NodeNumbers()),
                        numbers(open.part->ElementNumbers()), numbers(open.part->SharedNodes()),
                        self.Folder().PartFile(part));
}

bme_Measures Measure(Split& self, std::optional<double> thickness, std::optional<double> sectionArea,
                     std::optional<double> density, std::optional<double> pointMass,
                     const std::optional<std::string>& set) {
  bme_MeasureOptions options;
  const auto put = [](std::optional<double> value, bme_ElementValue& to) {
    if (value) to = [value](const bme_ElementClass&, int) { return value; };
  };
  put(thickness, options.thickness);
  put(sectionArea, options.sectionArea);
  put(density, options.density);
  put(pointMass, options.pointMass);
  return self.Run([&](const dst_Mesh& mesh) {
    return dst_CalculateMeasures(mesh, set ? dst_Elements::OfSet(*set) : dst_Elements::All(), options);
  });
}

nb::object Box(Split& self) {
  const gsl_BBox box = self.Run([](const dst_Mesh& mesh) { return dst_GetBBox(mesh); });
  if (box.IsEmpty()) return nb::none();
  std::vector<double> corners;
  for (const gsl_Point& corner : {box.Min(), box.Max()})
    for (unsigned axis = 0; axis < 3; ++axis) corners.push_back(corner[axis]);
  return py_Array(std::move(corners), {2, 3});
}

/// Numbers, parts and local indices; -1 for what is nowhere.
template<class Items, class PlaceOf> nb::tuple Places(const Items& items, PlaceOf placeOf) {
  std::vector<std::int64_t> numbers;
  std::vector<int> parts, indices;
  for (const auto& item : items) {
    const dst_Place& place = placeOf(item);
    numbers.push_back(place.IsFound() ? static_cast<std::int64_t>(place.number) : -1);
    parts.push_back(static_cast<int>(place.part));
    indices.push_back(static_cast<int>(place.index));
  }
  return nb::make_tuple(py_Array(std::move(numbers)), py_Array(std::move(parts)),
                        py_Array(std::move(indices)));
}

std::vector<double> PointsOf(nb::handle points) {
  const py_Reals given = py_ToReals(points, "points", {-1, 3});
  return {given.Values().begin(), given.Values().end()};
}

template<class Items> nb::object IsosOf(const Items& items) {
  std::vector<double> isos;
  for (const auto& item : items)
    for (const double x : item.iso)
      isos.push_back(item.element.IsFound() ? x : std::numeric_limits<double>::quiet_NaN());
  return py_Array(std::move(isos), {items.size(), 3});
}

nb::tuple Locate(Split& self, nb::handle argument) {
  const std::vector<double> points = PointsOf(argument);
  const auto hits = self.Run([&](const dst_Mesh& mesh) { return dst_Locate(mesh, points); });
  std::vector<std::uint8_t> locations;
  for (const dst_Hit& hit : hits) locations.push_back(static_cast<std::uint8_t>(hit.location));
  return nb::make_tuple(Places(hits, [](const dst_Hit& hit) -> const dst_Place& { return hit.element; }),
                        py_Array(std::move(locations)), IsosOf(hits));
}

nb::tuple FindNearest(Split& self, nb::handle argument) {
  const std::vector<double> points = PointsOf(argument);
  const auto nearest = self.Run([&](const dst_Mesh& mesh) { return dst_FindNearest(mesh, points); });
  std::vector<double> distances;
  for (const dst_Nearest& one : nearest) distances.push_back(one.distance);
  return nb::make_tuple(
      Places(nearest, [](const dst_Nearest& one) -> const dst_Place& { return one.element; }),
      py_Array(std::move(distances)), IsosOf(nearest));
}

nb::tuple FindLabels(Split& self, nb::handle argument, bool areNodes) {
  const cow_ArrayCOW<int> labels = py_Labels(argument, "labels");
  const std::vector<dst_Place> places = self.Run([&](const dst_Mesh& mesh) {
    return areNodes ? dst_FindNodes(mesh, labels.Const()) : dst_FindElements(mesh, labels.Const());
  });
  return Places(places, [](const dst_Place& place) -> const dst_Place& { return place; });
}

/// For each kind of faces (n, 2) numbers: of the element in the whole, and of the face.
nb::list ComputeFaces(Split& self) {
  std::array<std::vector<std::int64_t>, 4> faces;
  self.Run([&](const dst_Mesh& mesh) {
    const dst_FaceSets sets = dst_ComputeFaces(mesh, {.exclude = bme_EXCLUDE_UNSUPPORTED});
    mesh.Exchange().ForEachPart([&](unsigned number) {
      const dst_Part& part = *mesh.Part(number).part;
      const dst_FaceWords& own = sets[number];
      const std::vector<unsigned>* kinds[] = {&own.external, &own.interior, &own.shared, &own.collapsed};
      for (std::size_t k = 0; k < faces.size(); ++k)
        for (const unsigned word : *kinds[k]) {
          faces[k].push_back(static_cast<std::int64_t>(part.ElementNumber(bme_ElementOf(word))));
          faces[k].push_back(bme_FaceOf(word));
        }
    });
    mesh.Exchange().Agree();
    return true;
  });
  nb::list made;
  for (std::vector<std::int64_t>& one : faces) {
    const std::size_t count = one.size() / 2;
    made.append(py_Array(std::move(one), {count, 2}));
  }
  return made;
}

nb::list Coincident(Split& self, double tolerance) {
  nb::list groups;
  for (const std::vector<std::uint64_t>& group :
       self.Run([&](const dst_Mesh& mesh) { return dst_FindCoincidentNodes(mesh, tolerance); }))
    groups.append(py_Array(std::vector<std::int64_t>(group.begin(), group.end())));
  return groups;
}

nb::list Check(const std::string& folder, nb::handle comm) {
  nb::list made;
  const std::unique_ptr<dst_Exchange> exchange = MakeExchange(comm);
  for (const dst_Finding& finding : py_Run([&] { return dst_Check(folder, *exchange); }))
    made.append(nb::make_tuple(finding.weight == cls_Finding::Weight::Fault ? "fault" : "note", finding.file,
                               finding.root, finding.what, finding.advice));
  return made;
}
} // namespace

void py_BindSplit(nb::module_& module) {
  int tally = 0;
  dst_initialize(tally); // and never stopped, as the library
  // coregeometry/split.py is the interface: here arrays go across as they are
  const std::string ints = "numpy.typing.NDArray[numpy.int32]", longs = "numpy.typing.NDArray[numpy.int64]",
                    reals = "numpy.typing.NDArray[numpy.float64]",
                    places = "tuple[" + longs + ", " + ints + ", " + ints + "]",
                    ofPoints = "(self, points: numpy.typing.ArrayLike) -> tuple[" + places + ", ";
  module.def("split_model", &Make);
  module.def(
      "split_mesh", &MakeFromMesh,
      nb::sig("def split_mesh(mesh: Mesh, name: str, folder: str, parts: numpy.typing.ArrayLike) -> None"));
  module.def(
      "check_split", &Check, nb::arg("folder"), nb::arg("comm").none(),
      nb::sig("def check_split(folder: str, comm: typing.Any) -> list[tuple[str, str, str, str, str]]"));
  nb::class_<Split>(module, "Split")
      .def(nb::init<const std::string&, nb::handle>(), nb::arg("folder"), nb::arg("comm").none(),
           nb::sig("def __init__(self, folder: str, comm: typing.Any) -> None"))
      .def_prop_ro(
          "my_parts",
          [](const Split& self) { return nb::make_tuple(self.MyParts().first, self.MyParts().end); },
          nb::sig("def my_parts(self) -> tuple[int, int]"))
      .def_prop_ro("folder", [](const Split& self) { return self.Folder().Folder(); })
      .def_prop_ro("mesh_name", [](const Split& self) { return self.Index().MeshName(); })
      .def_prop_ro("num_parts", [](const Split& self) { return self.Index().NumParts(); })
      .def_prop_ro("num_nodes", [](const Split& self) { return self.Index().NumNodes(); })
      .def_prop_ro("num_elements", [](const Split& self) { return self.Index().NumElements(); })
      .def_prop_ro("sets",
                   [](const Split& self) {
                     std::vector<std::string> roots;
                     for (unsigned i = 0; i < self.Index().NumSets(); ++i)
                       roots.push_back(self.Index().SetRoot(i));
                     return roots;
                   })
      .def("part_facts", &PartFacts, nb::sig("def part_facts(self, part: int) -> dict[str, typing.Any]"))
      .def("open_part", &OpenPart,
           nb::sig("def open_part(self, part: int) -> tuple[Mesh, numpy.typing.NDArray[numpy.uint32], "
                   "numpy.typing.NDArray[numpy.uint32], numpy.typing.NDArray[numpy.uint32], str]"))
      .def("measure", &Measure, nb::arg("thickness").none(), nb::arg("section_area").none(),
           nb::arg("density").none(), nb::arg("point_mass").none(), nb::arg("set").none())
      .def("box", &Box, nb::sig(("def box(self) -> " + reals + " | None").c_str()))
      .def("locate", &Locate,
           nb::sig(("def locate" + ofPoints + "numpy.typing.NDArray[numpy.uint8], " + reals + "]").c_str()))
      .def("nearest", &FindNearest, nb::sig(("def nearest" + ofPoints + reals + ", " + reals + "]").c_str()))
      .def("find_labels", &FindLabels,
           nb::sig(("def find_labels(self, labels: numpy.typing.ArrayLike, are_nodes: bool) -> " + places)
                       .c_str()))
      .def("faces", &ComputeFaces, nb::sig(("def faces(self) -> list[" + longs + "]").c_str()))
      .def("coincident_nodes", &Coincident,
           nb::sig(("def coincident_nodes(self, tolerance: float) -> list[" + longs + "]").c_str()))
      .def("join", [](Split& self, const std::string& file) { self.Join(file); });
}
