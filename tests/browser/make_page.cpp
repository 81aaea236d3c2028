// Writes a page for the browser test: make_page PAGE.html nodes|corners|elements
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/pic_Page.h>
#include <iostream>
#include <limits>

/// A plate of 3 x 3 elements with labels 101 to 109 row by row, and a beam; the nodes are 1000 + 10 x + y. The
/// values are 10 x + y + 100 in frame 0, twice that in frame 1, and missing at the node 1000 or in element 101.
int main(int, char** arguments) try {
  const DDB_CoreGeometry library;
  const std::string kind = arguments[2];
  std::vector<float> xyz;
  std::vector<int> nodeLabels, quads, labels;
  std::vector<double> ofNodes, moved;
  for (int x = 0; x < 4; ++x)
    for (int y = 0; y < 4; ++y) {
      xyz.insert(xyz.end(), {static_cast<float>(x), static_cast<float>(y), 0});
      nodeLabels.push_back(1000 + 10 * x + y);
      ofNodes.push_back(100 + 10 * x + y);
      moved.insert(moved.end(), {0, 0, 0.01 * x});
    }
  const auto node = [](int x, int y) { return 4 * x + y; };
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) {
      quads.insert(quads.end(), {node(x, y), node(x + 1, y), node(x + 1, y + 1), node(x, y + 1)});
      labels.push_back(101 + 3 * y + x);
    }
  bme_MeshBuilder builder(xyz, nodeLabels);
  builder.Add({.type = "S4R", .connectivity = quads, .labels = labels, .category = "</script>\"plate"});
  builder.Add({.type = "B31", .connectivity = {node(0, 0), node(3, 3)}, .labels = {200}, .category = "beam"});
  const bme_Mesh mesh = builder.Build();
  const bme_Outside outside = bme_FindOutside(mesh, {}, {}, "plate");
  uti_OutputFile output(arguments[1], {.force = true});
  pic_Page page(output, mesh, outside);
  pic_Results results{.scale = {.high = 250, .clamps = res_MAXIMUM_CLAMP}, .factor = 10};
  results.legend = {.name = "S", .invariant = "Mises", .unit = "MPa", .frame = "Pull"};
  for (int frame = 0; frame < 2; ++frame) {
    std::vector<double> values, beam;
    if (kind == "nodes") values = ofNodes;
    for (std::size_t i = 0; i < quads.size() && kind != "nodes"; i += kind == "corners" ? 1 : 4)
      values.push_back(ofNodes[static_cast<std::size_t>(quads[i])]);
    for (double& value : values) value *= frame + 1;
    values[0] = std::numeric_limits<double>::quiet_NaN();
    const pic_Field field(mesh, outside,
                          kind == "nodes"     ? pic_Values{.ofNodes = values}
                          : kind == "corners" ? pic_Values{pic_Values::Place::ElementNodes, {}, {values, {}}}
                                              : pic_Values{pic_Values::Place::Elements, {}, {values, {}}});
    page.AddFrame("frame " + std::to_string(frame), &field, moved);
  }
  page.End({.title = "A plate & <b>more</b>", .direction = {0, 0, 1}}, results);
} catch (const std::exception& failure) {
  std::cerr << failure.what() << '\n';
  return 1;
}
