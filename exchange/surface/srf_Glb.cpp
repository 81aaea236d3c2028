#include "srf_Surface.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
/// For groups in turn: far apart in hue, and in brightness for who does not see hues.
constexpr double kColours[][3] = {{0.45, 0.60, 0.80}, {0.90, 0.60, 0.25}, {0.40, 0.70, 0.45},
                                  {0.85, 0.75, 0.35}, {0.65, 0.45, 0.70}, {0.80, 0.40, 0.35},
                                  {0.35, 0.70, 0.75}, {0.60, 0.60, 0.60}};

cow_String JsonText(const cow_String& text) {
  cow_String quoted = "\"";
  for (const char c : fmt_PlainText(text)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

cow_String NumberText(double value) {
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}
template<class Numbers> cow_String ListText(const Numbers& numbers) {
  cow_String list = "[";
  for (const auto number : numbers)
    list += (list.size() > 1 ? "," : "") + NumberText(static_cast<double>(number));
  return list + "]";
}

/// Vertices of one group; each flat piece has its own, since they carry its normal.
struct Primitive {
  std::vector<float> places, normals;
  std::vector<std::uint32_t> indices;
};

/// The middle of the box around what is drawn, when that is farther out than the box is large; else the origin.
std::array<double, 3> FindOrigin(const srf_Surface& surface) {
  std::array<double, 3> least, most, middle{};
  least.fill(std::numeric_limits<double>::max());
  most.fill(std::numeric_limits<double>::lowest());
  surface.ForEach(true, [&](const srf_Polygon& polygon) {
    for (const int node : polygon.nodes)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const double at =
            static_cast<double>(surface.Coordinates()[3 * static_cast<std::size_t>(node) + axis]);
        least[axis] = std::min(least[axis], at);
        most[axis] = std::max(most[axis], at);
      }
  });
  double size = 0, distance = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    middle[axis] = (least[axis] + most[axis]) / 2;
    size = std::max(size, most[axis] - least[axis]);
    distance = std::max(distance, std::abs(middle[axis]));
  }
  return distance > size ? middle : std::array<double, 3>{};
}

std::vector<Primitive> FindPrimitives(const srf_Surface& surface, const std::array<double, 3>& origin) {
  std::vector<Primitive> primitives(surface.Groups().size());
  const std::span<const float> xyz = surface.Coordinates();
  surface.ForEach(true, [&](const srf_Polygon& polygon) {
    Primitive& to = primitives[static_cast<std::size_t>(polygon.group)];
    const std::array<float, 3> normal = srf_Normal(polygon.nodes, xyz);
    if (normal == std::array<float, 3>{})
      return; // what has no area shows nothing, and normals must have a length
    const auto first = static_cast<std::uint32_t>(to.places.size() / 3);
    for (const int node : polygon.nodes)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const double at = static_cast<double>(xyz[3 * static_cast<std::size_t>(node) + axis]) - origin[axis];
        to.places.push_back(static_cast<float>(at));
        to.normals.push_back(normal[axis]);
      }
    for (std::uint32_t k = 1; k + 1 < polygon.nodes.size(); ++k)
      to.indices.insert(to.indices.end(), {first, first + k, first + k + 1});
  });
  return primitives;
}

/// The part of the file in JSON, padded with blanks.
class Description {
public:
  cow_String Make(const srf_Surface& surface, std::span<const Primitive> primitives,
                  const std::array<double, 3>& origin, const cow_String& name) {
    cow_String materials, parts;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
      const Primitive& part = primitives[i];
      if (part.indices.empty()) continue;
      const auto& colour = kColours[i % std::size(kColours)];
      const char* const comma = numParts_ == 0 ? "" : ",";
      const auto append = [](cow_String& to, std::initializer_list<cow_String> texts) {
        for (const cow_String& text : texts) to.append(text);
      };
      append(materials, {comma, "{\"name\":", JsonText(surface.Groups()[i]),
                         ",\"doubleSided\":true,\"pbrMetallicRoughness\":{\"baseColorFactor\":[",
                         NumberText(colour[0]), ",", NumberText(colour[1]), ",", NumberText(colour[2]),
                         ",1],\"metallicFactor\":0.1,\"roughnessFactor\":0.7}}"});
      const cow_String places = Accessor(part.places, true), normals = Accessor(part.normals, false),
                       indices = IndexAccessor(part.indices); // in the order of the bytes
      append(parts, {comma, "{\"attributes\":{\"POSITION\":", places, ",\"NORMAL\":", normals,
                     "},\"indices\":", indices, ",\"material\":", std::to_string(numParts_), "}"});
      ++numParts_;
    }
    cow_String node = "{\"mesh\":0,\"name\":" + JsonText(name);
    if (origin != std::array<double, 3>{}) node += ",\"translation\":" + ListText(origin);
    cow_String json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"coregeometry\"},\"scene\":0,"
                      "\"scenes\":[{\"nodes\":[0]}],\"nodes\":["
                      + node + "}],\"meshes\":[{\"name\":" + JsonText(name) + ",\"primitives\":[" + parts
                      + "]}],\"materials\":[" + materials + "],\"accessors\":[" + accessors_
                      + "],\"bufferViews\":[" + views_
                      + "],\"buffers\":[{\"byteLength\":" + std::to_string(bytes_) + "}]}";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    return json;
  }
  std::size_t Bytes() const { return bytes_; }

private:
  cow_String View(std::size_t bytes, int target) {
    views_ += cow_String(numAccessors_ == 0 ? "" : ",")
              + "{\"buffer\":0,\"byteOffset\":" + std::to_string(bytes_)
              + ",\"byteLength\":" + std::to_string(bytes) + ",\"target\":" + std::to_string(target) + "}";
    bytes_ += bytes;
    return std::to_string(numAccessors_);
  }

  cow_String Accessor(std::span<const float> numbers, bool hasBounds) {
    constexpr int kFloat = 5126, kVertices = 34962;
    cow_String bounds;
    if (hasBounds) {
      std::array<float, 3> least{numbers[0], numbers[1], numbers[2]}, most = least;
      for (std::size_t i = 0; i < numbers.size(); ++i) {
        least[i % 3] = std::min(least[i % 3], numbers[i]);
        most[i % 3] = std::max(most[i % 3], numbers[i]);
      }
      bounds = ",\"min\":" + ListText(least) + ",\"max\":" + ListText(most);
    }
    return Add(View(numbers.size_bytes(), kVertices), kFloat, numbers.size() / 3, "VEC3", bounds);
  }
  cow_String IndexAccessor(std::span<const std::uint32_t> indices) {
    constexpr int kUnsigned = 5125, kIndices = 34963;
    return Add(View(indices.size_bytes(), kIndices), kUnsigned, indices.size(), "SCALAR", {});
  }
  cow_String Add(const cow_String& view, int type, std::size_t count, const char* form,
                 const cow_String& bounds) {
    accessors_ += cow_String(numAccessors_ == 0 ? "" : ",") + "{\"bufferView\":" + view
                  + ",\"componentType\":" + std::to_string(type) + ",\"count\":" + std::to_string(count)
                  + ",\"type\":\"" + form + "\"" + bounds + "}";
    return std::to_string(numAccessors_++);
  }

  cow_String accessors_, views_;
  std::size_t bytes_ = 0;
  int numAccessors_ = 0, numParts_ = 0;
};
} // namespace

fmt_Ledger srf_WriteGlb(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                        const fmt_WriteOptions& options) {
  const srf_Surface surface(mesh, sets, options.surface, output.Name());
  fmt_Ledger ledger = surface.Ledger();
  ledger.push_back({"labels of nodes and elements", mesh.NodeData().NumNodes(), {}});
  const std::array<double, 3> origin = FindOrigin(surface);
  const std::vector<Primitive> primitives = FindPrimitives(surface, origin);
  std::array<double, 3> translation = surface.Shift();
  for (std::size_t axis = 0; axis < 3; ++axis) translation[axis] += origin[axis];
  if (std::ranges::all_of(primitives, [](const Primitive& part) { return part.indices.empty(); }))
    throw nex_TextException(output.Name() + ": no face has an area");
  Description description;
  const cow_String json =
      description.Make(surface, primitives, translation, options.surface.empty() ? "mesh" : options.surface);
  constexpr std::size_t kHeader = 12, kChunk = 8;
  const std::size_t length = kHeader + 2 * kChunk + json.size() + description.Bytes();
  if (length > std::numeric_limits<std::uint32_t>::max())
    throw nex_TextException(output.Name() + ": " + std::to_string(length)
                            + " bytes are more than the 4 GiB of the format");
  constexpr std::uint32_t kMagic = 0x46546C67, kJson = 0x4E4F534A,
                          kBinary = 0x004E4942; // "glTF", "JSON", "BIN"
  fmt_Output out(output);
  for (const std::uint32_t word : {kMagic, std::uint32_t{2}, static_cast<std::uint32_t>(length),
                                   static_cast<std::uint32_t>(json.size()), kJson})
    out.Raw(word);
  out.Text(json);
  for (const std::uint32_t word : {static_cast<std::uint32_t>(description.Bytes()), kBinary}) out.Raw(word);
  for (const Primitive& part : primitives) {
    out.Raw<float>(part.places);
    out.Raw<float>(part.normals);
    out.Raw<std::uint32_t>(part.indices);
  }
  out.Finish();
  return ledger;
}
