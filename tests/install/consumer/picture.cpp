// Draws a triangle and writes it as a PNG file.
#include <CoreGeometry/pic_Canvas.h>
#include <fstream>

int main(int, char** arguments) {
  pic_Canvas canvas(16, 16, {0, 0, 0}, {0, 0, 0});
  canvas.Triangle({{{{0, 0, 0}, {0, 0, 1}}, {{16, 0, 0}, {0, 0, 1}}, {{0, 16, 0}, {0, 0, 1}}}}, {1, 0, 0});
  const std::vector<unsigned char> pixels = canvas.Pixels();
  const size_t inside = 3 * (12 * 16 + 2), outside = 3 * (2 * 16 + 13);

  const cow_String name = cow_String(arguments[0]) + ".png";
  uti_OutputFile output(name, {.force = true});
  canvas.WritePng(output);
  std::ifstream file(name.c_str(), std::ios::binary);
  char start[4] = {};
  file.read(start, 4);
  return pixels[inside] > 0 && pixels[outside] == 0 && std::string(start + 1, 3) == "PNG" ? 0 : 1;
}
