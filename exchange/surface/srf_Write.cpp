#include "srf_Surface.h"

#include <algorithm>
#include <bit>

static_assert(std::endian::native == std::endian::little, "binary forms are written as they are in memory");

namespace {
void RefuseCompressed(const uti_OutputFile& output, const fmt_WriteOptions& options) {
  if (options.encoding == fmt_Encoding::Compressed)
    throw nex_TextException(output.Name() + ": a file of this format has no compressed form");
}

/// Where a node stands, in single precision unless the mesh is placed: passed on as three floats or doubles.
template<class Take> void Place(const srf_Surface& surface, std::size_t node, Take take) {
  const std::span<const float> local = surface.Coordinates().subspan(3 * node, 3);
  const std::array<double, 3>& shift = surface.Shift();
  if (shift == std::array<double, 3>{})
    take(std::array{local[0], local[1], local[2]});
  else
    take(std::array{static_cast<double>(local[0]) + shift[0], static_cast<double>(local[1]) + shift[1],
                    static_cast<double>(local[2]) + shift[2]});
}

/// One word, as names of OBJ and STL files are.
cow_String InOneLine(cow_String name, bool isWord) {
  for (char& c : name)
    if (static_cast<unsigned char>(c) < ' ' || (isWord && c == ' ')) c = isWord ? '_' : ' ';
  return name;
}

/// Text or bytes for the nodes that are used, in order.
template<class Each> void ForEachUsed(const srf_Surface& surface, std::span<const int> number, Each each) {
  for (std::size_t node = 0; node < number.size(); ++node)
    if (number[node] >= 0) Place(surface, node, each);
}
} // namespace

fmt_Ledger srf_WriteStl(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options) {
  RefuseCompressed(output, options);
  const srf_Surface surface(mesh, sets, options.surface, output.Name());
  const std::span<const float> xyz = surface.Coordinates();
  fmt_Ledger ledger = surface.Ledger();
  ledger.push_back({"labels of nodes and elements", mesh.NodeData().NumNodes(), {}});
  fmt_Output out(output);
  if (options.encoding == fmt_Encoding::Ascii) {
    int group = -1;
    const auto end = [&] {
      if (group >= 0)
        out.Text("endsolid ", InOneLine(surface.Groups()[static_cast<std::size_t>(group)], false), '\n');
    };
    surface.ForEach(false, [&](const srf_Polygon& triangle) {
      if (triangle.group != group) {
        end();
        group = triangle.group;
        out.Text("solid ", InOneLine(surface.Groups()[static_cast<std::size_t>(group)], false), '\n');
      }
      const std::array<float, 3> normal = srf_Normal(triangle.nodes, xyz);
      out.Text("facet normal ", normal[0], ' ', normal[1], ' ', normal[2], "\nouter loop\n");
      for (const int node : triangle.nodes)
        Place(surface, static_cast<std::size_t>(node),
              [&](const auto& at) { out.Text("vertex ", at[0], ' ', at[1], ' ', at[2], '\n'); });
      out.Text("endloop\nendfacet\n");
    });
    end();
  } else {
    constexpr std::size_t kHeader = 80;
    if (surface.Groups().size() > 1)
      ledger.push_back(
          {"groups", static_cast<long long>(surface.Groups().size()), "an ascii file has them as solids"});
    if (surface.Shift() != std::array<double, 3>{})
      ledger.push_back(
          {"coordinates in double precision", mesh.NodeData().NumNodes(), "an ascii file has them"});
    std::uint32_t count = 0;
    surface.ForEach(false, [&](const srf_Polygon&) { ++count; });
    cow_String header = "binary, from coregeometry";
    header.resize(kHeader, ' ');
    out.Text(header);
    out.Raw(count);
    surface.ForEach(false, [&](const srf_Polygon& triangle) {
      out.Raw<float>(srf_Normal(triangle.nodes, xyz));
      for (const int node : triangle.nodes)
        Place(surface, static_cast<std::size_t>(node), [&](const auto& at) {
          for (const auto x : at) out.Raw(static_cast<float>(x));
        });
      out.Raw(std::uint16_t{0});
    });
  }
  out.Finish();
  return ledger;
}

fmt_Ledger srf_WriteObj(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options) {
  const srf_Surface surface(mesh, sets, options.surface, output.Name());
  fmt_Ledger ledger = surface.Ledger();
  ledger.push_back({"labels of nodes and elements", mesh.NodeData().NumNodes(), {}});
  const std::vector<int> number = surface.UsedNodes();
  fmt_Output out(output);
  ForEachUsed(surface, number, [&](const auto& at) { out.Text("v ", at[0], ' ', at[1], ' ', at[2], '\n'); });
  int group = -1;
  surface.ForEach(true, [&](const srf_Polygon& polygon) {
    if (polygon.group != group)
      out.Text("g ", InOneLine(surface.Groups()[static_cast<std::size_t>(group = polygon.group)], true),
               '\n');
    out.Text('f');
    for (const int node : polygon.nodes) out.Text(' ', number[static_cast<std::size_t>(node)] + 1);
    out.Text('\n');
  });
  out.Finish();
  return ledger;
}

fmt_Ledger srf_WritePly(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options) {
  RefuseCompressed(output, options);
  const srf_Surface surface(mesh, sets, options.surface, output.Name());
  fmt_Ledger ledger = surface.Ledger();
  ledger.push_back({"labels of nodes and elements", mesh.NodeData().NumNodes(), {}});
  if (surface.Groups().size() > 1)
    ledger.push_back({"groups", static_cast<long long>(surface.Groups().size()), {}});
  const std::vector<int> number = surface.UsedNodes();
  const bool isText = options.encoding == fmt_Encoding::Ascii;
  std::size_t numFaces = 0;
  surface.ForEach(true, [&](const srf_Polygon&) { ++numFaces; });
  const char* const real = surface.Shift() == std::array<double, 3>{} ? "float" : "double";
  fmt_Output out(output);
  out.Text("ply\nformat ", isText ? "ascii" : "binary_little_endian", " 1.0\nelement vertex ",
           number.size() - static_cast<std::size_t>(std::ranges::count(number, -1)), "\nproperty ", real,
           " x\nproperty ", real, " y\nproperty ", real, " z\nelement face ", numFaces,
           "\nproperty list uchar int vertex_indices\nend_header\n");
  ForEachUsed(surface, number, [&](const auto& at) {
    for (std::size_t axis = 0; axis < 3; ++axis)
      isText ? out.Text(at[axis], axis < 2 ? ' ' : '\n') : out.Raw(at[axis]);
  });
  surface.ForEach(true, [&](const srf_Polygon& polygon) {
    isText ? out.Text(polygon.nodes.size()) : out.Raw(static_cast<std::uint8_t>(polygon.nodes.size()));
    for (const int node : polygon.nodes) {
      const int index = number[static_cast<std::size_t>(node)];
      isText ? out.Text(' ', index) : out.Raw(index);
    }
    if (isText) out.Text('\n');
  });
  out.Finish();
  return ledger;
}
