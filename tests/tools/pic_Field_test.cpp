// Colours of values, contours, displacements and animations, as bytes.
#include "Picture.h"
#include "ThrownBy.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/pic_Animation.h>
#include <CoreGeometry/pic_Page.h>
#include <CoreGeometry/pic_Scene.h>
#include <ThreadExecutor.h>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <zlib.h>

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN(),
                 kInf = std::numeric_limits<double>::infinity();

std::array<int, 3> Bytes(const pic_Colour& colour) {
  const auto byte = [](double part) { return static_cast<int>(std::lround(255 * part)); };
  return {byte(colour.red), byte(colour.green), byte(colour.blue)};
}
std::array<int, 3> Entry(pic_ColourTable table, double place) {
  const auto bytes = pic_ColoursOf(table);
  const auto first = static_cast<std::size_t>(place);
  std::array<int, 3> entry{};
  for (std::size_t k = 0; k < 3; ++k) {
    const double a = bytes[3 * first + k], b = bytes[std::min<std::size_t>(767, 3 * first + 3 + k)];
    entry[k] = static_cast<int>(std::lround(a + (place - static_cast<double>(first)) * (b - a)));
  }
  return entry;
}

int Distance(const std::array<int, 3>& a, const std::array<int, 3>& b) {
  return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

/// Flat, from -1 to 1 in x and y, seen from above: a picture of 100 x 100 pixels has 43 a unit.
struct Plate {
  explicit Plate(bme_Block block, const std::vector<std::array<float, 2>>& nodes) {
    std::vector<float> xyz;
    for (const auto& [x, y] : nodes) xyz.insert(xyz.end(), {x, y, 0});
    mesh = bme_MeshBuilder(xyz).Add(std::move(block)).Build();
    outside = bme_FindOutside(mesh, {}, {}, "plate");
  }
  std::span<const float> Coordinates() const { return mesh.NodeData().Coordinates().Const(); }
  static pic_View View(int size) {
    return {.direction = {0, 0, 1},
            .width = size,
            .height = size,
            .background = pic_Background::White,
            .hasAxes = false};
  }
  std::vector<unsigned char> Draw(const pic_Values& values, pic_Results results = {}) const {
    const pic_Field field(mesh, outside, values);
    results.field = &field;
    return pic_Draw(outside, Coordinates(), View(100), results).Pixels();
  }
  bme_Mesh mesh;
  bme_Outside outside;
};
std::array<int, 3> PixelAt(const std::vector<unsigned char>& pixels, double x, double y) {
  const auto column = static_cast<std::size_t>(50 + 43 * x), row = static_cast<std::size_t>(50 - 43 * y);
  const unsigned char* p = &pixels[3 * (row * 100 + column)];
  return {p[0], p[1], p[2]};
}
const std::vector<std::array<float, 2>> kSquare{{-1, -1}, {1, -1}, {1, 1},  {-1, 1}, {0, -1},
                                                {1, 0},   {0, 1},  {-1, 0}, {0, 0}};
pic_Scale Smooth(double low, double high) { return {.low = low, .high = high, .bands = 0}; }

class Fields : public testing::Test {
protected:
  DDB_CoreGeometry library_;
};
} // namespace

TEST(pic_Scale_, GivesTheColoursOfTheTableBandByBand) {
  using enum pic_ColourTable;
  EXPECT_EQ(Entry(Viridis, 0), (std::array{68, 1, 84}));
  EXPECT_EQ(Entry(Viridis, 128), (std::array{33, 145, 140}));
  EXPECT_EQ(Entry(Viridis, 255), (std::array{253, 231, 37}));
  EXPECT_EQ(Entry(Inferno, 0), (std::array{0, 0, 4}));
  EXPECT_EQ(Entry(Inferno, 255), (std::array{252, 255, 164}));
  for (const auto table : {Viridis, Inferno, Grey})
    for (const double t : {0.0, 0.1, 0.5, 0.999, 1.0})
      EXPECT_EQ(Bytes(pic_Scale{.low = -2, .high = 6, .bands = 0, .table = table}.At(-2 + 8 * t)),
                Entry(table, 255 * t));
  for (int bands = 1; bands < 60; ++bands) {
    const pic_Scale scale{.low = 0, .high = 1, .bands = bands};
    for (int k = 0; k < bands; ++k) {
      const auto colour = Entry(Viridis, 255 * (k + 0.5) / bands);
      const double border = static_cast<double>(k) / bands;
      EXPECT_LE(Distance(Bytes(scale.At(border)), colour), 1) << k << " of " << bands;
      EXPECT_LE(
          Distance(Bytes(scale.At(std::nextafter(static_cast<double>(k + 1) / bands, k + 1 < bands ? 0 : 2))),
                   colour),
          1);
    }
  }
  const std::array<int, 3> low{89, 89, 89}, high{217, 217, 217}, first = Entry(Viridis, 255 * 0.5 / 12),
                                                                 last = Entry(Viridis, 255 * 11.5 / 12);
  for (const auto& [clamps, below, above] : {std::tuple{res_NO_CLAMPS, first, last},
                                             {res_MINIMUM_CLAMP, low, last},
                                             {res_MAXIMUM_CLAMP, first, high},
                                             {res_BOTH_CLAMPS, low, high}}) {
    const pic_Scale scale{.low = 1, .high = 2, .clamps = clamps};
    for (const double value : {0.99, -kInf}) EXPECT_EQ(Bytes(scale.At(value)), below);
    for (const double value : {2.01, kInf}) EXPECT_EQ(Bytes(scale.At(value)), above);
    EXPECT_EQ(Bytes(scale.At(1)), first);
    EXPECT_EQ(Bytes(scale.At(2)), last);
    EXPECT_EQ(Bytes(scale.At(kNaN)), (std::array{153, 153, 153}));
  }
  EXPECT_EQ(Bytes(pic_Scale{.low = 3, .high = 3}.At(3)), Entry(Viridis, 127.5));
  EXPECT_EQ(Bytes(Smooth(-1.5e308, 1.5e308).At(0)), Entry(Viridis, 127.5));
}

TEST(pic_Scale_, FactorsAndNumbersAreRoundedAsStated) {
  for (const auto& [diagonal, largest, factor] : {std::tuple{10.0, 1.0, 1.0},
                                                  {10.0, 0.5, 2.0},
                                                  {10.0, 0.51, 1.0},
                                                  {1.0, 1e-5, 1e4},
                                                  {5.0, 1e-5, 5e4},
                                                  {4.9, 1e-5, 2e4},
                                                  {1.0, 1e30, 1e-30},
                                                  {1.0, 1e20, 1e-21},
                                                  {1.0, 0.0, 0.0},
                                                  {0.0, 1.0, 1e-30},
                                                  {3.0, 1.0, 0.2},
                                                  {1e300, 1e-300, 1e300}})
    EXPECT_EQ(pic_AutoScale(diagonal, largest), factor) << diagonal << ' ' << largest;
  for (const auto& [value, text] : {std::pair{0.0, "0"},
                                    {1.0, "1.00"},
                                    {-1234.5, "-1230"},
                                    {0.0012345, "0.00123"},
                                    {999.6, "1000"},
                                    {1.5e-7, "1.50e-07"},
                                    {2e9, "2.00e+09"},
                                    {kInf, "inf"}})
    EXPECT_EQ(pic_NumberText(value), text);
}

TEST_F(Fields, ValuesAreLinearInTrianglesAndFollowTheShapeFunctions) {
  const std::vector<double> x{-1, 1, 1, -1, 0, 1, 0, -1, 0};
  const auto check = [](const Plate& plate, const pic_Values& values, const auto& wanted, const char* what) {
    const auto pixels = plate.Draw(values, {.scale = Smooth(-2, 2)});
    for (const double px : {-0.8, -0.31, 0.17, 0.6})
      for (const double py : {-0.7, -0.2, 0.33, 0.85})
        EXPECT_LE(Distance(PixelAt(pixels, px, py), Bytes(Smooth(-2, 2).At(wanted(px, py)))), 3)
            << what << ' ' << px << ' ' << py;
  };
  for (const auto& [type, count] : {std::pair{"S4R", 4}, {"S8R", 8}, {"S9R5", 9}}) {
    std::vector<int> row;
    for (int k = 0; k < count; ++k) row.push_back(k);
    const Plate plate({.type = type, .connectivity = row}, {kSquare.begin(), kSquare.begin() + count});
    const auto ofNodes = std::span(x).first(static_cast<std::size_t>(count));
    check(
        plate, {.ofNodes = ofNodes}, [](double px, double) { return px; }, type);
    check(
        plate, {pic_Values::Place::ElementNodes, {}, {ofNodes}}, [](double px, double) { return px; }, type);
    check(
        plate, {pic_Values::Place::Elements, {}, {ofNodes.first(1)}}, [](double, double) { return -1; },
        type);
    std::vector<double> squares;
    for (int k = 0; k < count; ++k)
      squares.push_back(4 * x[static_cast<std::size_t>(k)] * x[static_cast<std::size_t>(k)] - 2);
    const auto pixels = plate.Draw({.ofNodes = squares}, {.scale = Smooth(-2, 2)});
    const auto middle = Bytes(Smooth(-2, 2).At(count == 4 ? 2 : -2));
    EXPECT_LE(Distance(PixelAt(pixels, 0, 0), middle), 8) << type;
  }
  // a triangle of six nodes in four pieces: that in the middle has the values of its middle nodes alone
  const Plate triangle({.type = "STRI65", .connectivity = {0, 1, 2, 3, 4, 5}},
                       {{-1, -1}, {1, -1}, {0, 1}, {0, -1}, {0.5F, 0}, {-0.5F, 0}});
  const auto pixels =
      triangle.Draw({.ofNodes = std::vector<double>{0, 0, 0, 1, 1, 1}}, {.scale = Smooth(0, 2)});
  for (const auto& [px, py] : {std::pair{0.0, -0.1}, {0.1, -0.5}, {-0.2, -0.2}})
    EXPECT_LE(Distance(PixelAt(pixels, px, py), Bytes(Smooth(0, 2).At(1))), 2);
}

TEST_F(Fields, JumpsStayAndWhatIsMissingIsGrey) {
  const Plate two({.type = "S4R", .connectivity = {0, 1, 4, 5, 1, 2, 3, 4}},
                  {{-1, -1}, {0, -1}, {1, -1}, {1, 1}, {0, 1}, {-1, 1}});
  std::vector<double> corners{0, 0, 0, 0, 1, 1, 1, 1};
  const std::vector<double> flat{0.25, kNaN}, ones(6, 7);
  const auto jump = two.Draw({pic_Values::Place::ElementNodes, {}, {corners}}, {.scale = Smooth(0, 1)});
  EXPECT_EQ(PixelAt(jump, -0.1, 0.1), Entry(pic_ColourTable::Viridis, 0));
  EXPECT_EQ(PixelAt(jump, 0.1, 0.1), Entry(pic_ColourTable::Viridis, 255));
  corners.back() = kNaN;
  const auto missing = two.Draw({pic_Values::Place::ElementNodes, {}, {corners}}, {.scale = Smooth(0, 1)});
  EXPECT_EQ(PixelAt(missing, 0.2, 0.6), (std::array{153, 153, 153}));
  EXPECT_EQ(PixelAt(missing, -0.1, 0.1), Entry(pic_ColourTable::Viridis, 0));
  const auto cells = two.Draw({pic_Values::Place::Elements, {}, {flat}}, {.scale = Smooth(0, 1)});
  EXPECT_EQ(PixelAt(cells, -0.5, 0), Bytes(Smooth(0, 1).At(0.25)));
  EXPECT_EQ(PixelAt(cells, 0.5, 0), (std::array{153, 153, 153}));
  const pic_Field field(two.mesh, two.outside, {pic_Values::Place::ElementNodes, {}, {corners}}),
      none(two.mesh, two.outside, {pic_Values::Place::Elements, {}, {{}}}),
      same(two.mesh, two.outside, {.ofNodes = ones});
  EXPECT_TRUE(field.Low() == 0 && field.High() == 1 && field.HasMissing());
  EXPECT_TRUE(none.Low() > none.High() && none.HasMissing());
  EXPECT_FALSE(same.HasMissing());
  EXPECT_LE(Distance(PixelAt(two.Draw({.ofNodes = ones}, {.scale = {.low = 7, .high = 7}}), 0.4, 0.3),
                     Entry(pic_ColourTable::Viridis, 127.5)),
            1);
  const auto told = [&](const pic_Values& values) {
    return ThrownBy([&] { pic_Field(two.mesh, two.outside, values); });
  };
  EXPECT_EQ(told({.ofNodes = corners}), "nodes: there are 8 values for a picture, not 6");
  EXPECT_EQ(told({pic_Values::Place::Elements, {}, {corners}}),
            "S4R \"\": there are 8 values for a picture, not 2");
}

TEST_F(Fields, AnimatedPicturesAreReadBackAndPinned) {
  const Plate plate({.type = "S4R", .connectivity = {0, 1, 2, 3}}, {kSquare.begin(), kSquare.begin() + 4});
  const std::vector<double> values{0, 1, 2, kNaN}, moved{0, 0, 0, 0.1, 0, 0, 0.2, 0.3, 0, kNaN, 0, 0};
  const pic_Field field(plate.mesh, plate.outside, {.ofNodes = values});
  pic_Results results{.field = &field, .scale = {.low = 0, .high = 1.5, .clamps = res_MAXIMUM_CLAMP}};
  results.legend = {.name = "S",
                    .invariant = "Mises",
                    .unit = "MPa",
                    .frame = "Pull\n0.25",
                    .lowest = {{0, "node 1"}},
                    .highest = {{2, "node 3"}}};
  results.displacement = moved;
  results.hasUndeformed = true;
  pic_View view = Plate::View(160);
  view.width = 300;
  view.hasLegend = true;
  pic_Extent extent;
  for (const double factor : {1.0, -1.0}) {
    results.factor = factor;
    extent.Add(pic_ExtentOf(plate.outside, plate.Coordinates(), view, results));
  }
  view.extent = extent;
  std::vector<pic_Canvas> pictures;
  for (const double factor : {1.0, 0.0, -1.0}) {
    results.factor = factor;
    pictures.push_back(pic_Draw(plate.outside, plate.Coordinates(), view, results));
  }
  const auto crc = [](std::span<const unsigned char> bytes) {
    return crc32(0, bytes.data(), static_cast<unsigned>(bytes.size()));
  };
  EXPECT_EQ(crc(pictures[0].Pixels()), 0x59c8bdc5U) << "the bytes of a picture have changed";
  EXPECT_EQ(crc(pictures[2].Pixels()), 0xb674e40eU);
  for (const unsigned numThreads : {2U, 3U}) {
    ThreadExecutor executor(numThreads);
    const wip_ExecutorScope lent(&executor);
    const pic_Canvas same = pic_Draw(plate.outside, plate.Coordinates(), view, results);
    EXPECT_TRUE(same.Pixels() == pictures[2].Pixels()) << numThreads << " threads";
  }

  const std::filesystem::path folder = testing::TempDir() + "Fields";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const cow_String name = (folder / "a.png").string();
  {
    uti_OutputFile output(name);
    pic_Animation animation(output, 3, 12.5);
    for (const pic_Canvas& picture : pictures) {
      EXPECT_FALSE(std::filesystem::exists(name.c_str()));
      animation.Add(picture);
    }
    EXPECT_THROW(animation.Add(pictures[0]), nex_AssertionException);
  }
  // taken apart: each frame is a picture of its own, with the header and its data
  std::ifstream in(name.c_str(), std::ios::binary);
  const std::string file(std::istreambuf_iterator<char>(in), {});
  const auto number = [&](std::size_t at) {
    unsigned value = 0;
    for (std::size_t k = 0; k < 4; ++k) value = value << 8U | static_cast<unsigned char>(file[at + k]);
    return value;
  };
  std::string header, chunks;
  std::vector<std::string> frames;
  unsigned sequence = 0;
  const auto chunk = [](const std::string& nameAndData) {
    std::string text;
    const auto put = [&](unsigned long value) {
      for (int shift = 24; shift >= 0; shift -= 8) text.push_back(static_cast<char>(value >> shift & 255U));
    };
    put(nameAndData.size() - 4);
    text += nameAndData;
    put(crc32(0, reinterpret_cast<const unsigned char*>(nameAndData.data()),
              static_cast<unsigned>(nameAndData.size())));
    return text;
  };
  for (std::size_t at = 8; at < file.size(); at += number(at) + 12) {
    const std::string type = file.substr(at + 4, 4), data = file.substr(at + 8, number(at));
    EXPECT_EQ(chunk(type + data), file.substr(at, number(at) + 12)) << type;
    if (chunks.find(type) == std::string::npos || type == "fcTL") chunks += type + ' ';
    if (type == "IHDR") header = file.substr(0, 8) + file.substr(at, 25);
    if (type == "acTL") {
      EXPECT_EQ(number(at + 8), 3U);
    }
    if (type == "fcTL" || type == "fdAT") {
      EXPECT_EQ(number(at + 8), sequence++);
    }
    if (type == "fcTL") {
      frames.push_back(header);
      EXPECT_EQ(number(at + 28), 80U << 16U | 1000U) << "milliseconds";
    }
    if (type == "IDAT") frames.back() += chunk(type + data);
    if (type == "fdAT") frames.back() += chunk("IDAT" + data.substr(4));
  }
  EXPECT_EQ(chunks, "IHDR sRGB acTL fcTL IDAT fcTL fdAT fcTL IEND ");
  ASSERT_EQ(frames.size(), 3U);
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const std::string one = folder / "one.png";
    std::ofstream(one, std::ios::binary) << frames[i] + chunk("IEND");
    EXPECT_TRUE(Picture(one).rgb == pictures[i].Pixels()) << i;
  }
  // a file each
  const cow_String pattern = (folder / "p%03d.png").string();
  std::ofstream(folder / "p001.png") << "of the user";
  EXPECT_THROW(pic_Animation(pattern, {}, 3), uti_FileExistsException);
  EXPECT_FALSE(std::filesystem::exists(folder / "p000.png"));
  pic_Animation series(pattern, {.force = true}, 3);
  for (const pic_Canvas& picture : pictures) series.Add(picture);
  EXPECT_TRUE(Picture(folder / "p002.png").rgb == pictures[2].Pixels());
  uti_OutputFile other((folder / "b.png").string());
  for (const double rate : {0.0, -1.0, 0.05, 1001.0, kNaN})
    EXPECT_NE(ThrownBy([&] { pic_Animation(other, 2, rate); }).find("0.1 to 1000"), cow_String::npos) << rate;
}

TEST_F(Fields, PagesAreOneFileWithAllThatIsShown) {
  const Plate two({.type = "S4R", .connectivity = {0, 1, 4, 5, 1, 2, 3, 4}},
                  {{-1, -1}, {0, -1}, {1, -1}, {1, 1}, {0, 1}, {-1, 1}});
  const std::string file = testing::TempDir() + "page.html";
  uti_OutputFile output(file, {.force = true});
  if (!pic_Page::IsBuilt()) {
    EXPECT_NE(ThrownBy([&] { pic_Page(output, two.mesh, two.outside); }).find("without three.js"),
              cow_String::npos);
    return;
  }
  pic_Page page(output, two.mesh, two.outside);
  const std::vector<double> corners{1, 2, 3, 4, 5, 6, 7, kNaN}, moved(18, 0.5);
  const pic_Field field(two.mesh, two.outside, {pic_Values::Place::ElementNodes, {}, {corners}});
  bme_Outside sets;
  sets.groups = {"</script>\\\n\xC3\xA9"};
  sets.faces = {two.outside.faces[1]};
  page.AddSets(sets, 0, true);
  page.AddFrame("0.5", &field, moved);
  EXPECT_NE(ThrownBy([&] { page.AddFrame("1", &field, corners); }).find("three numbers"), cow_String::npos);
  EXPECT_THROW(page.AddSets({}, 0, true), nex_AssertionException);
  page.End({.title = "T"});
  std::ifstream in(file, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(in), {});
  const auto holds = [&](const std::string& part) { return text.find(part) != std::string::npos; };
  // 1 to 6 as integers; 1 to 7 and no number in single precision, by another program
  EXPECT_TRUE(holds("data-kind=\"i\" id=\"nodeLabels\">AQAAAAIAAAAFAAAABgAAAAMAAAAEAAAA</script>"));
  EXPECT_TRUE(
      holds("data-kind=\"f\" id=\"f0.values\">AACAPwAAAEAAAEBAAACAQAAAoEAAAMBAAADgQAAAwH8=</script>"));
  EXPECT_TRUE(holds("data-kind=\"u\" id=\"sets.nodes\">AQAAAAQAAAAFAAAAAgAAAA==</script>"));
  EXPECT_TRUE(holds("\"name\":\"\\u003c/script>\\u005c\\u000a\xC3\xA9\""));
  EXPECT_TRUE(holds("\"low\":1,\"high\":7,")) << "of the values in it";
  EXPECT_TRUE(holds("Permission is hereby granted"));
  for (const char* mark :
       {"@LICENCE@", "@THREE@", "@CONTROLS@", "@DATA@", "@VIEWER@", "<script src", "<link"})
    EXPECT_FALSE(holds(mark)) << mark;
}
