#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/vtu_Write.h>

#include <CoreGeometry/bme_Placement.h>

#include <CoreGeometry/exo_Export.h>

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <bit>
#include <fstream>
#include <map>
#include <numeric>
#include <set>
#include <zlib.h>

namespace {
void AppendBase64(std::span<const unsigned char> bytes, cow_String& text) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t k) { return k < bytes.size() ? unsigned{bytes[k]} : 0U; };
    const unsigned word = byte(i) << 16U | byte(i + 1) << 8U | byte(i + 2);
    for (unsigned k = 0; k < 4; ++k)
      text += i + k > bytes.size() ? '=' : kDigits[word >> (18U - 6U * k) & 63U];
  }
}

cow_String Escaped(const cow_String& text) {
  cow_String escaped;
  for (const char c : text) switch (c) {
    case '&': escaped += "&amp;"; break;
    case '<': escaped += "&lt;"; break;
    case '>': escaped += "&gt;"; break;
    case '"': escaped += "&quot;"; break;
    default: escaped += c;
    }
  return escaped;
}

/// Length of the UTF-8 character at a position, 0 when there is none.
std::size_t CharacterLength(const cow_String& text, std::size_t at) {
  const auto byte = [&](std::size_t k) {
    return at + k < text.size() ? unsigned{static_cast<unsigned char>(text[at + k])} : 0U;
  };
  constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned lead = byte(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF8 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
  unsigned value = lead & 0x7FU >> length;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(k) & 0xC0U) != 0x80) return 0;
    value = value << 6U | (byte(k) & 0x3FU);
  }
  const bool isSurrogate = value >> 11U == 0x1B;
  return value < kLeast[length] || value > 0x10FFFF || isSurrogate ? 0 : length;
}

/// What XML can hold of a text: a space for each control character, a question mark for each byte that is not
/// UTF-8.
cow_String ForXml(const cow_String& text) {
  cow_String clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = CharacterLength(text, at);
    if (length == 1)
      clean += static_cast<unsigned char>(text[at]) < ' ' ? ' ' : text[at];
    else
      clean += length == 0 ? cow_String("?") : text.substr(at, length);
    at += std::max<std::size_t>(1, length);
  }
  return clean;
}

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
          all.push_back({&set, kind, ForXml(set.name)});
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

/// The text of the file: elements that point into one appended block.
class Document {
public:
  void Text(const cow_String& line) { xml_ += line; }

  template<class T>
  void Array(const cow_String& name, const char* type, int components, std::span<const T> all) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    xml_ += "<DataArray type=\"" + cow_String(type) + "\" Name=\"" + Escaped(name) + "\"";
    if (components > 1) xml_ += " NumberOfComponents=\"" + std::to_string(components) + "\"";
    xml_ += " format=\"appended\" offset=\"" + std::to_string(appended_.size()) + "\"/>\n";
    Compress({reinterpret_cast<const unsigned char*>(all.data()), all.size_bytes()});
  }

  void Write(uti_OutputFile& output) const {
    std::ofstream out(output.Path(), std::ios::binary);
    const char* order = std::endian::native == std::endian::little ? "LittleEndian" : "BigEndian";
    out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\""
        << order << "\" header_type=\"UInt64\" compressor=\"vtkZLibDataCompressor\">\n"
        << xml_ << "<AppendedData encoding=\"base64\">\n_" << appended_ << "\n</AppendedData>\n</VTKFile>\n";
    out.close();
    if (!out) throw nex_TextException(output.Name() + ": cannot be written; is the disk full?");
    output.Commit();
  }

private:
  /// Blocks of one length but for the last; their count, that length, the last one's when it is shorter, and
  /// the compressed lengths come first.
  void Compress(std::span<const unsigned char> bytes) {
    constexpr std::size_t kBlock = std::size_t{1} << 18;
    const std::size_t count = (bytes.size() + kBlock - 1) / kBlock;
    std::vector<std::uint64_t> header{count, kBlock, bytes.size() % kBlock};
    std::vector<unsigned char> packed;
    for (std::size_t i = 0; i < count; ++i) {
      const auto block = bytes.subspan(i * kBlock, std::min(kBlock, bytes.size() - i * kBlock));
      uLongf length = compressBound(block.size());
      const std::size_t start = packed.size();
      packed.resize(start + length);
      if (compress2(packed.data() + start, &length, block.data(), block.size(), Z_DEFAULT_COMPRESSION)
          != Z_OK)
        throw nex_TextException("zlib cannot compress " + std::to_string(block.size()) + " bytes");
      packed.resize(start + length);
      header.push_back(length);
    }
    AppendBase64({reinterpret_cast<const unsigned char*>(header.data()), header.size() * 8}, appended_);
    AppendBase64(packed, appended_);
  }

  cow_String xml_, appended_;
};

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
  Exporter(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, exo_VtkWedges wedges)
      : mesh_(mesh), wedges_(wedges), marks_(FindMarks(sets, mesh.Id())) {
    for (const bme_NamedSet& set : sets) CountSurfaces(set.data);
  }

  fmt_Ledger Run(uti_OutputFile& output) {
    AddCells(output.Name());
    const bme_NodeData& nodes = mesh_.NodeData();
    out_.Text("<UnstructuredGrid>\n<Piece NumberOfPoints=\"" + std::to_string(nodes.NumNodes())
              + "\" NumberOfCells=\"" + std::to_string(types_.size()) + "\">\n<Points>\n");
    const bme_Placement placement(mesh_);
    if (placement.IsNone()) {
      out_.Array<float>("Points", "Float32", 3, nodes.Coordinates().Const());
    } else {
      std::vector<double> placed(nodes.Coordinates().Const().size());
      placement.Place(nodes.Coordinates().Const(), placed);
      out_.Array<double>("Points", "Float64", 3, placed);
    }
    out_.Text("</Points>\n<Cells>\n");
    out_.Array<int>("connectivity", "Int32", 1, connectivity_);
    out_.Array<std::int64_t>("offsets", "Int64", 1, offsets_);
    out_.Array<unsigned char>("types", "UInt8", 1, types_);
    out_.Text("</Cells>\n<PointData>\n");
    if (nodes.HasUserNodeLabels()) out_.Array<int>("NodeLabel", "Int32", 1, nodes.UserNodeLabels().Const());
    AddMarks(res_NODE_SET, nodes.NumNodes());
    out_.Text("</PointData>\n<CellData>\n");
    if (!labels_.empty()) out_.Array<int>("ElementLabel", "Int32", 1, labels_);
    out_.Array<int>("ElementClass", "Int32", 1, classes_);
    AddMarks(res_ELEMENT_SET, types_.size());
    out_.Text("</CellData>\n</Piece>\n</UnstructuredGrid>\n");
    out_.Write(output);
    fmt_Ledger ledger;
    for (const auto& [what, count] : counts_)
      if (count > 0) ledger.push_back({what, count, {}});
    AddNames(ledger);
    exo_ListNotMesh(mesh_, ledger);
    return ledger;
  }

private:
  void AddCells(const cow_String& fileName) {
    const bme_ElementData& elements = mesh_.ElementData();
    const bool hasLabels = elements.HasUserElementLabels();
    std::int64_t end = 0;
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      const bme_ElementClass& type = elements.GetClass(i);
      exo_CheckNodes(mesh_, type, fileName);
      const Cell cell = CellOf(type, wedges_);
      const auto count = static_cast<std::size_t>(type.NumElements());
      const auto columns = static_cast<std::size_t>(type.NumNodesPerElem());
      const std::span<const int> all = type.ElementConnectivity().Const();
      for (std::size_t row = 0; row < count; ++row) {
        for (const std::size_t node : cell.nodes) connectivity_.push_back(all[row * columns + node]);
        offsets_.push_back(end += static_cast<std::int64_t>(cell.nodes.size()));
      }
      types_.insert(types_.end(), count, static_cast<unsigned char>(cell.type));
      classes_.insert(classes_.end(), count, static_cast<int>(i));
      const std::span<const int> labels = type.UserElementLabels();
      if (hasLabels) labels_.insert(labels_.end(), labels.begin(), labels.end());
      counts_["element types and categories of classes"] += 1;
      if (cell.type == 2) counts_["elements as clouds of points"] += type.NumElements();
      if (cell.nodes.size() < columns && bme_PyramidNodes(type) == 0)
        counts_["elements without their last nodes"] += type.NumElements();
    }
  }

  void CountSurfaces(const rgnC_SetData& set) {
    for (int i = 0; i < set.NumSubset(); ++i)
      if (const rgnC_SubsetData& subset = set.SubSet(i);
          subset.SubsetType() != res_NODE_SET && subset.SubsetType() != res_ELEMENT_SET)
        counts_["entries of surfaces"] += subset.NumItems();
  }

  /// One array for each set with items of that kind: 1 for these, 0 for the others.
  void AddMarks(res_SetTypeEnm kind, std::size_t most) {
    std::vector<signed char> values;
    for (const Marks& marks : marks_) {
      if (marks.kind != kind) continue;
      values.assign(most, 0);
      const rgnC_SetData& set = marks.set->data;
      for (int i = 0; i < set.NumSubset(); ++i) {
        const rgnC_SubsetData& subset = set.SubSet(i);
        if (subset.SubsetType() != kind || subset.MeshIndex() != mesh_.Id()) continue;
        for (const int id : subset.IdArray()) {
          if (static_cast<unsigned>(id) >= most)
            throw nex_TextException("set \"" + marks.set->name + "\": index " + std::to_string(id)
                                    + " is outside the " + std::to_string(most) + " of the mesh");
          values[static_cast<std::size_t>(id)] = 1;
        }
      }
      out_.Array<signed char>(marks.name, "Int8", 1, values);
    }
  }

  void AddNames(fmt_Ledger& ledger) const {
    fmt_LedgerEntry names{"names of sets", 0, {}};
    for (const Marks& marks : marks_) {
      if (marks.name == marks.set->name) continue;
      names.detail += (++names.count == 1 ? "as \"" : ", \"") + marks.name + '"';
    }
    if (names.count > 0) ledger.push_back(std::move(names));
  }

  const bme_Mesh& mesh_;
  exo_VtkWedges wedges_;
  std::vector<Marks> marks_;
  Document out_;
  std::vector<int> connectivity_, labels_, classes_;
  std::vector<std::int64_t> offsets_;
  std::vector<unsigned char> types_;
  std::map<cow_String, long long> counts_;
};
} // namespace

fmt_Ledger vtu_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         exo_VtkWedges wedges) {
  return Exporter(mesh, sets, wedges).Run(output);
}
