#include <CoreGeometry/vtu_Write.h>

#include "fmt_Output.h"
#include "vtu_Document.h"
#include "vtu_Fields.h"
#include <CoreGeometry/bme_Placement.h>

#include <CoreGeometry/exo_Export.h>

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <numeric>
#include <set>

namespace {
constexpr const char* kTypesAndCategories = "element types and categories of classes";
constexpr std::size_t kSlice = std::size_t{1} << 16; ///< numbers that are made at a time

/// The items of one kind in a set, which become an array.
struct Marks {
  const bme_NamedSet* set;
  res_SetTypeEnm kind; ///< res_NODE_SET or res_ELEMENT_SET
  cow_String name;     ///< of the array
};

/// Those of nodes before those of elements, named as vtu_WriteMesh says.
std::vector<Marks> FindMarks(std::span<const bme_NamedSet> sets, int meshId) {
  std::vector<Marks> all;
  for (const res_SetTypeEnm kind : {res_NODE_SET, res_ELEMENT_SET})
    for (const bme_NamedSet& set : sets)
      for (int i = 0; i < set.data.NumSubset(); ++i)
        if (const rgnC_SubsetData& subset = set.data.SubSet(i);
            subset.SubsetType() == kind && subset.MeshIndex() == meshId) {
          all.push_back({&set, kind, fmt_PlainText(set.name)});
          break;
        }
  std::set<cow_String> taken = {"",      "Points",    "connectivity", "offsets",
                                "types", "NodeLabel", "ElementLabel", "ElementClass"};
  std::vector<Marks*> renamed;
  for (Marks& marks : all)
    if (!taken.insert(marks.name).second) renamed.push_back(&marks);
  for (Marks* marks : renamed) {
    const cow_String start = marks->name + (marks->name.empty() ? "" : " ")
                             + (marks->kind == res_NODE_SET ? "(nodes" : "(elements");
    marks->name = start + ")";
    for (int n = 2; !taken.insert(marks->name).second; ++n)
      marks->name = start + " " + std::to_string(n) + ")";
  }
  return all;
}

/// The cell of a class and the positions of its nodes in the element.
struct Cell {
  int type = 2; ///< a cloud of points
  std::vector<std::size_t> nodes;
};

Cell CellOf(const bme_ElementClass& elements, exo_VtkWedges wedges) {
  Cell cell;
  const shp_Shape* shape = elements.Shape();
  std::span<const shp_IsoPoint> nodes = shape ? shape->NodeCoordinates() : std::span<const shp_IsoPoint>();
  std::vector<shp_IsoPoint> collapsed;
  const int pyramidNodes = bme_PyramidNodes(elements);
  if (pyramidNodes > 0) nodes = collapsed = exo_Collapsed(nodes);
  for (; !nodes.empty(); nodes = nodes.first(nodes.size() - 1)) {
    const std::optional<exo_VtkCell> found = exo_FindVtkCell(nodes, wedges);
    if (!found) continue;
    cell.type = found->type;
    cell.nodes.resize(pyramidNodes > 0 ? static_cast<std::size_t>(pyramidNodes) : nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) cell.nodes[static_cast<std::size_t>(found->order[i])] = i;
    return cell;
  }
  if (elements.NumNodesPerElem() == 1) cell.type = 1;
  cell.nodes.resize(static_cast<std::size_t>(elements.NumNodesPerElem()));
  std::iota(cell.nodes.begin(), cell.nodes.end(), std::size_t{0});
  return cell;
}

class Exporter {
public:
  Exporter(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, const fmt_WriteOptions& options,
           const odiC_When* when)
      : mesh_(mesh), wedges_(options.wedges), marks_(FindMarks(sets, mesh.Id())),
        isSeparate_(options.run && when && options.fields == fmt_FieldPlace::Separate) {
    for (const bme_NamedSet& set : sets) CountSurfaces(set.data);
    if (options.run && when) fields_.emplace(*options.run, *when, options.fields);
  }

  fmt_Ledger Run(uti_OutputFile& output, fmt_Encoding encoding) {
    FindCells(output.Name());
    FindPlaces();
    const bme_NodeData& nodes = mesh_.NodeData();
    out_.Text("<UnstructuredGrid>\n<Piece NumberOfPoints=\"" + std::to_string(places_.numPoints)
              + "\" NumberOfCells=\"" + std::to_string(numCells_) + "\">\n<Points>\n");
    AddPoints(PerPoint(nodes.Coordinates().Const(), 3, ownPoints_));
    out_.Text("</Points>\n<Cells>\n");
    AddCells();
    out_.Text("</Cells>\n<PointData>\n");
    if (nodes.HasUserNodeLabels())
      AddWhole("NodeLabel", 1, PerPoint(nodes.UserNodeLabels().Const(), 1, ownLabels_));
    AddMarks(res_NODE_SET, static_cast<std::size_t>(nodes.NumNodes()));
    if (fields_) fields_->Write(out_, places_, true);
    out_.Text("</PointData>\n<CellData>\n");
    AddCellLabels();
    AddMarks(res_ELEMENT_SET, numCells_);
    if (fields_) fields_->Write(out_, places_, false);
    out_.Text("</CellData>\n</Piece>\n</UnstructuredGrid>\n");
    out_.Write(output, encoding);
    fmt_Ledger ledger;
    for (const auto& [what, count] : counts_)
      if (count > 0) ledger.push_back({what, count, {}, what == kTypesAndCategories});
    AddNames(ledger);
    if (fields_) fields_->AddTo(ledger);
    exo_ListNotMesh(mesh_, ledger);
    return ledger;
  }

private:
  template<class T> using PutAll = std::function<void(std::span<const T>)>;

  const bme_ElementClass& Class(std::size_t i) const {
    return mesh_.ElementData().GetClass(static_cast<unsigned>(i));
  }

  void FindCells(const cow_String& fileName) {
    for (unsigned i = 0; i < mesh_.ElementData().NumClasses(); ++i) {
      const bme_ElementClass& type = Class(i);
      exo_CheckNodes(mesh_, type, fileName);
      const Cell& cell = cells_.emplace_back(CellOf(type, wedges_));
      numCells_ += static_cast<std::size_t>(type.NumElements());
      numNodesOfCells_ += static_cast<std::size_t>(type.NumElements()) * cell.nodes.size();
      counts_[kTypesAndCategories] += 1;
      if (cell.type == 2) counts_["elements as clouds of points"] += type.NumElements();
      if (cell.nodes.size() < static_cast<std::size_t>(type.NumNodesPerElem()) && bme_PyramidNodes(type) == 0)
        counts_["elements without their last nodes"] += type.NumElements();
    }
  }

  /// Points are the nodes, or those of each element.
  void FindPlaces() {
    places_.numPoints =
        isSeparate_ ? numNodesOfCells_ : static_cast<std::size_t>(mesh_.NodeData().NumNodes());
    places_.numCells = numCells_;
    std::size_t next = 0;
    for (std::size_t i = 0; i < cells_.size() && isSeparate_; ++i) {
      places_.firstPoints.push_back(next);
      places_.cellNodes.push_back(cells_[i].nodes);
      next += static_cast<std::size_t>(Class(i).NumElements()) * cells_[i].nodes.size();
      PutRows(Class(i), cells_[i], [this](std::span<const int> some) {
        nodeOfPoint_.insert(nodeOfPoint_.end(), some.begin(), some.end());
      });
    }
    places_.nodeOfPoint = nodeOfPoint_;
  }
  /// Numbers of nodes, repeated for the points of elements.
  template<class T>
  std::span<const T> PerPoint(std::span<const T> all, std::size_t columns, std::vector<T>& own) const {
    if (!isSeparate_) return all;
    for (const int node : nodeOfPoint_) {
      const std::span<const T> row = all.subspan(static_cast<std::size_t>(node) * columns, columns);
      own.insert(own.end(), row.begin(), row.end());
    }
    return own;
  }

  /// An array that is in memory.
  template<class T> void AddWhole(const cow_String& name, int components, std::span<const T> all) {
    out_.Array<T>(name, components, all.size(), [all](const PutAll<T>& put) { put(all); });
  }
  /// As they are placed, in double precision when they are.
  void AddPoints(std::span<const float> all) {
    if (placement_.IsNone()) return AddWhole("Points", 3, all);
    out_.Array<double>("Points", 3, all.size(), [this, all](const PutAll<double>& put) {
      std::vector<double> placed;
      for (std::size_t first = 0; first < all.size(); first += 3 * kSlice) {
        const std::span<const float> some = all.subspan(first, std::min(3 * kSlice, all.size() - first));
        placed.resize(some.size());
        placement_.Place(some, placed);
        put(placed);
      }
    });
  }
  /// One number for each cell, handed over in slices: those of the class, or made by `numberOf(class)`.
  template<class T, class NumberOf> void AddPerCell(const cow_String& name, const NumberOf& numberOf) {
    out_.Array<T>(name, 1, numCells_, [this, numberOf](const PutAll<T>& put) {
      std::vector<T> slice;
      for (std::size_t i = 0; i < cells_.size(); ++i)
        for (auto left = static_cast<std::size_t>(Class(i).NumElements()); left > 0; left -= slice.size()) {
          slice.resize(std::min(left, kSlice));
          for (T& number : slice) number = numberOf(i);
          put(slice);
        }
    });
  }

  void AddCells() {
    out_.Array<int>("connectivity", 1, numNodesOfCells_, [this](const PutAll<int>& put) {
      if (!isSeparate_)
        for (std::size_t i = 0; i < cells_.size(); ++i) PutRows(Class(i), cells_[i], put);
      std::vector<int> own(isSeparate_ ? numNodesOfCells_ : 0);
      std::iota(own.begin(), own.end(), 0);
      if (isSeparate_) put(own);
    });
    AddPerCell<std::int64_t>("offsets", [this, end = std::make_shared<std::int64_t>(0)](std::size_t i) {
      return *end += static_cast<std::int64_t>(cells_[i].nodes.size());
    });
    AddPerCell<unsigned char>("types",
                              [this](std::size_t i) { return static_cast<unsigned char>(cells_[i].type); });
  }

  static void PutRows(const bme_ElementClass& type, const Cell& cell, const PutAll<int>& put) {
    const std::span<const int> all = type.ElementConnectivity().Const();
    const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
    if (cell.nodes.size() == columns && std::ranges::is_sorted(cell.nodes)) return put(all);
    std::vector<int> slice(kSlice / std::max<std::size_t>(1, columns) * cell.nodes.size()
                           + cell.nodes.size());
    std::size_t filled = 0;
    for (std::size_t row = 0; row < all.size(); row += columns) {
      for (const std::size_t node : cell.nodes) slice[filled++] = all[row + node];
      if (filled < slice.size() && row + columns < all.size()) continue;
      put(std::span<const int>(slice).first(filled));
      filled = 0;
    }
  }

  void AddCellLabels() {
    if (mesh_.ElementData().HasUserElementLabels())
      out_.Array<int>("ElementLabel", 1, numCells_, [this](const PutAll<int>& put) {
        for (std::size_t i = 0; i < cells_.size(); ++i) put(Class(i).UserElementLabels());
      });
    AddPerCell<int>("ElementClass", [](std::size_t i) { return static_cast<int>(i); });
  }

  void CountSurfaces(const rgnC_SetData& set) {
    for (int i = 0; i < set.NumSubset(); ++i)
      if (const rgnC_SubsetData& subset = set.SubSet(i);
          subset.SubsetType() != res_NODE_SET && subset.SubsetType() != res_ELEMENT_SET)
        counts_["entries of surfaces"] += subset.NumItems();
  }

  /// One array for each set with items of that kind: 1 for these, 0 for the others.
  void AddMarks(res_SetTypeEnm kind, std::size_t most) {
    for (const Marks& marks : marks_) {
      if (marks.kind != kind) continue;
      CheckMarks(marks, most);
      const std::size_t count = kind == res_NODE_SET ? places_.numPoints : most;
      out_.Array<signed char>(marks.name, 1, count, [this, &marks, most](const PutAll<signed char>& put) {
        std::vector<signed char> values(most), own;
        ForEachSubset(marks, [&](std::span<const int> ids) {
          for (const int id : ids) values[static_cast<std::size_t>(id)] = 1;
        });
        const bool isOfNodes = marks.kind == res_NODE_SET;
        put(isOfNodes ? PerPoint(std::span<const signed char>(values), 1, own)
                      : std::span<const signed char>(values));
      });
    }
  }

  template<class Work> void ForEachSubset(const Marks& marks, const Work& work) const {
    const rgnC_SetData& set = marks.set->data;
    for (int i = 0; i < set.NumSubset(); ++i) {
      const rgnC_SubsetData& subset = set.SubSet(i);
      if (subset.SubsetType() == marks.kind && subset.MeshIndex() == mesh_.Id()) work(subset.IdArray());
    }
  }
  void CheckMarks(const Marks& marks, std::size_t most) const {
    ForEachSubset(marks, [&](std::span<const int> ids) {
      for (const int id : ids)
        if (static_cast<unsigned>(id) >= most)
          throw nex_TextException("set \"" + marks.set->name + "\": index " + std::to_string(id)
                                  + " is outside the " + std::to_string(most) + " of the mesh");
    });
  }

  void AddNames(fmt_Ledger& ledger) const {
    fmt_LedgerEntry names{"names of sets", 0, {}, true};
    for (const Marks& marks : marks_) {
      if (marks.name == marks.set->name) continue;
      names.detail += (++names.count == 1 ? "as \"" : ", \"") + marks.name + '"';
    }
    if (names.count > 0) ledger.push_back(std::move(names));
  }

  const bme_Mesh& mesh_;
  bme_Placement placement_{mesh_};
  exo_VtkWedges wedges_;
  std::vector<Marks> marks_;
  bool isSeparate_; ///< every element has points of its own
  std::optional<vtu_Fields> fields_;
  vtu_Places places_;
  std::vector<int> nodeOfPoint_, ownLabels_;
  std::vector<float> ownPoints_;
  vtu_Document out_;
  std::vector<Cell> cells_; ///< of each class
  std::size_t numCells_ = 0, numNodesOfCells_ = 0;
  std::map<cow_String, long long> counts_;
};
} // namespace

namespace {
fmt_Ledger WriteFrame(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                      const fmt_WriteOptions& options, const odiC_When* when) {
  return Exporter(mesh, sets, options, when).Run(output, options.encoding);
}

std::vector<odiC_When> FramesOf(const fmt_WriteOptions& options) {
  if (!options.run || !options.frames.empty()) return options.frames;
  std::vector<odiC_When> all;
  const std::vector<odiC_Step>& steps = options.run->Header().steps;
  for (int step = 0; step < static_cast<int>(steps.size()); ++step)
    for (int frame = 0; frame < steps[static_cast<std::size_t>(step)].NumFrames(); ++frame)
      all.push_back(
          {step, frame, steps[static_cast<std::size_t>(step)].values[static_cast<std::size_t>(frame)]});
  return all;
}

/// Of steps over time the total time; else the value in the step.
double TimeOf(const odiC_Run& run, const odiC_When& when) {
  const odiC_Step& step = run.Header().steps[static_cast<std::size_t>(when.step)];
  return (step.domain == odiC_TIME ? step.startTime : 0) + when.value;
}

void ListHistories(const odiC_Run& run, fmt_Ledger& ledger) {
  long long histories = 0, descriptions = 0;
  for (const odiC_Step& step : run.Header().steps) {
    histories += step.numHistories;
    descriptions +=
        std::ranges::count_if(step.descriptions, [](const cow_String& text) { return !text.empty(); });
  }
  if (bme_Placement(run.Mesh()).IsTurned())
    ledger.push_back({"placed axes of results", 1, "vectors and tensors stay in the axes of the mesh"});
  if (histories > 0) ledger.push_back({"histories", histories, {}});
  if (descriptions > 0) ledger.push_back({"descriptions of frames", descriptions, {}});
}
} // namespace

fmt_Ledger vtu_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         const fmt_WriteOptions& options) {
  const std::vector<odiC_When> frames = FramesOf(options);
  fmt_Ledger ledger = WriteFrame(output, mesh, sets, options, frames.empty() ? nullptr : &frames.back());
  if (frames.size() > 1)
    ledger.push_back({"frames besides the last one", static_cast<long long>(frames.size()) - 1,
                      "a file .pvd has all of them"});
  if (options.run) ListHistories(*options.run, ledger);
  return ledger;
}

fmt_Ledger vtu_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         exo_VtkWedges wedges, fmt_Encoding encoding) {
  fmt_WriteOptions options;
  options.wedges = wedges;
  options.encoding = encoding;
  return vtu_WriteMesh(output, mesh, sets, options);
}

fmt_Ledger vtu_WriteCollection(uti_OutputFile& output, const bme_Mesh& mesh,
                               std::span<const bme_NamedSet> sets, const fmt_WriteOptions& options) {
  if (uti_OutputFile::IsStandardOutput(output.Name()))
    throw nex_TextException("a PVD file names others beside it, so it cannot be the standard output");
  const std::vector<odiC_When> frames = FramesOf(options);
  const std::filesystem::path target(output.Target());
  std::ofstream out(output.Path(), std::ios::binary);
  out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"Collection\" version=\"1.0\">\n<Collection>\n";
  fmt_Ledger ledger;
  for (std::size_t i = 0; i < std::max<std::size_t>(1, frames.size()); ++i) {
    const odiC_When* when = frames.empty() ? nullptr : &frames[i];
    const cow_String name =
        uti_OutputFile::Numbered(target.stem().string() + "_%04d.vtu", static_cast<int>(i));
    uti_OutputFile file((target.parent_path() / name).string(), {.force = options.force});
    ledger = WriteFrame(file, mesh, sets, options, when);
    char time[40];
    *std::to_chars(time, time + sizeof time, when ? TimeOf(*options.run, *when) : 0.0).ptr = '\0';
    out << "<DataSet timestep=\"" << time << "\" part=\"0\" file=\"" << name << "\"/>\n";
  }
  out << "</Collection>\n</VTKFile>\n";
  out.close();
  if (!out) throw nex_TextException(output.Name() + ": cannot be written; is the disk full?");
  output.Commit();
  if (frames.size() > 1)
    ledger.push_back({"the mesh", static_cast<long long>(frames.size()), "is in the file of each frame"});
  if (options.run) ListHistories(*options.run, ledger);
  return ledger;
}
