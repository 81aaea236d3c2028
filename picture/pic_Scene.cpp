#include <CoreGeometry/pic_Scene.h>

#include "pic_Datums.h"
#include "pic_Text.h"

#include <BasicUtils/wip_Poll.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace {
struct Named {
  pic_Colour colour;
  const char* name;
};
constexpr Named kPalette[] = {{{0.42, 0.62, 0.84}, "blue"},   {{0.95, 0.68, 0.36}, "orange"},
                              {{0.52, 0.75, 0.46}, "green"},  {{0.86, 0.44, 0.42}, "red"},
                              {{0.66, 0.56, 0.80}, "purple"}, {{0.90, 0.80, 0.40}, "yellow"},
                              {{0.40, 0.74, 0.74}, "teal"},   {{0.90, 0.60, 0.74}, "pink"},
                              {{0.68, 0.58, 0.50}, "brown"},  {{0.70, 0.73, 0.76}, "grey"}};
constexpr pic_Colour kBelow{0.82, 0.86, 0.91}, kAbove{0.99, 0.99, 1.0}, kFeature{0.10, 0.12, 0.16},
    kMeshEdge{0.30, 0.34, 0.40};
constexpr pic_Colour kWhite{1, 1, 1};
constexpr double kFront = 1e30; ///< before everything
constexpr double kMargin = 0.07, kCosOfSmooth = 0.8660254037844386;

const Named& PaletteOf(int group) { return kPalette[static_cast<std::size_t>(group) % std::size(kPalette)]; }

double Dot(const pic_Vector& a, const pic_Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
pic_Vector Cross(const pic_Vector& a, const pic_Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
pic_Vector Scaled(const pic_Vector& v, double factor) {
  return {v[0] * factor, v[1] * factor, v[2] * factor};
}
pic_Vector Sum(const pic_Vector& a, const pic_Vector& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
pic_Vector Normalised(const pic_Vector& v) {
  const double length = std::sqrt(Dot(v, v));
  return length > 0 ? Scaled(v, 1 / length) : v;
}

/// Model space to the picture: rows are to the right, up and to the viewer.
class Camera {
public:
  Camera(const pic_View& view) {
    const pic_Vector toViewer = Normalised(view.direction);
    const bool isFromAbove = std::abs(toViewer[2]) > 0.999;
    const pic_Vector up = isFromAbove ? pic_Vector{0, 1, 0} : pic_Vector{0, 0, 1};
    const pic_Vector right = Normalised(Cross(up, toViewer));
    rows_ = {right, Cross(toViewer, right), toViewer};
  }
  pic_Vector Turn(const pic_Vector& v) const {
    return {Dot(rows_[0], v), Dot(rows_[1], v), Dot(rows_[2], v)};
  }

private:
  std::array<pic_Vector, 3> rows_;
};

class Painter {
public:
  Painter(const bme_Outside& outside, std::span<const float> xyz, const pic_View& view,
          std::span<const dtu_Datum* const> datums)
      : outside_(outside), xyz_(xyz), view_(view), camera_(view),
        canvas_(view.width, view.height, view.background == pic_Background::Shaded ? kBelow : kWhite,
                view.background == pic_Background::Shaded ? kAbove : kWhite),
        lineWidth_(std::max(1.0, std::min(view.width, view.height) / 450.0)),
        datumLines_(datums.empty() ? std::vector<pic_DatumLine>()
                                   : pic_LinesOf(datums, BoxOf(outside, xyz))) {
    canvas_.SetTransparent(view.background == pic_Background::Transparent);
  }

  pic_Canvas Run() {
    Fit();
    FindFacesOfNodes();
    for (std::size_t f = 0; f < outside_.faces.size(); ++f) DrawFace(f);
    if (view_.hasMeshEdges)
      for (const bme_OuterEdge& edge : outside_.edges)
        if (!edge.isFeature) DrawEdge(edge, 0.5 * lineWidth_, kMeshEdge);
    for (const bme_OuterEdge& edge : outside_.edges)
      if (edge.isFeature) DrawEdge(edge, lineWidth_, kFeature);
    for (const bme_OuterLine& line : outside_.lines) {
      const std::span<const int> nodes = line.nodes.Nodes();
      for (std::size_t k = 1; k < nodes.size(); ++k) {
        pic_Colour colour = pic_GroupColour(line.group);
        colour = {0.75 * colour.red, 0.75 * colour.green, 0.75 * colour.blue};
        canvas_.Line(At(nodes[k - 1]), At(nodes[k]), 2.2 * lineWidth_, colour, 3 * lineWidth_);
      }
    }
    DrawPoints();
    DrawDatums();
    if (view_.hasAxes) DrawAxes();
    DrawTitle();
    if (view_.hasLegend) {
      DrawLegend();
      DrawScaleBar();
    }
    return std::move(canvas_);
  }

private:
  static gsl_BBox BoxOf(const bme_Outside& outside, std::span<const float> xyz) {
    gsl_BBox box;
    const auto add = [&](std::span<const int> nodes) {
      for (const int node : nodes) box.Add(xyz.subspan(3 * static_cast<std::size_t>(node), 3));
    };
    for (const bme_OuterFace& face : outside.faces) add(face.nodes.Nodes());
    for (const bme_OuterLine& line : outside.lines) add(line.nodes.Nodes());
    return box;
  }
  pic_Vector Model(int node) const {
    const std::size_t i = 3 * static_cast<std::size_t>(node);
    return {xyz_[i], xyz_[i + 1], xyz_[i + 2]};
  }
  pic_Vector ToPicture(const pic_Vector& v) const {
    const pic_Vector turned = camera_.Turn(v);
    return {middle_[0] + scale_ * (turned[0] - centre_[0]), middle_[1] + scale_ * (turned[1] - centre_[1]),
            scale_ * (turned[2] - centre_[2])};
  }
  pic_Vector At(int node) const { return ToPicture(Model(node)); }

  void Fit() {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    pic_Vector low{kFar, kFar, kFar}, high{-kFar, -kFar, -kFar};
    const auto addPoint = [&](const pic_Vector& point) {
      const pic_Vector turned = camera_.Turn(point);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], turned[axis]);
        high[axis] = std::max(high[axis], turned[axis]);
      }
    };
    const auto add = [&](std::span<const int> nodes) {
      poll_.Advance(nodes.size());
      for (const int node : nodes) addPoint(Model(node));
    };
    for (const bme_OuterFace& face : outside_.faces) add(face.nodes.Nodes());
    for (const bme_OuterLine& line : outside_.lines) add(line.nodes.Nodes());
    for (const bme_OuterPoint& point : outside_.points) addPoint(Model(static_cast<int>(point.node)));
    for (const pic_DatumLine& line : datumLines_) {
      addPoint(line.from);
      addPoint(line.to);
    }
    centre_ = Scaled(Sum(low, high), 0.5);
    // what is written has its own strips; the axes have either the left or the bottom one, whichever costs less
    Strips best;
    double bestScale = -1;
    for (const bool areLeft : {true, false}) {
      const Strips strips = StripsWith(areLeft);
      const double width = view_.width - strips.left - strips.right,
                   height = view_.height - strips.bottom - strips.top;
      const double fits = std::min((1 - 2 * kMargin) * width / std::max(high[0] - low[0], 1e-300),
                                   (1 - 2 * kMargin) * height / std::max(high[1] - low[1], 1e-300));
      if (fits <= bestScale) continue;
      bestScale = fits;
      best = strips;
    }
    scale_ = std::isfinite(bestScale) && bestScale < 1e290 && bestScale > 0 ? bestScale : 1; // of one point
    middle_ = {(view_.width + best.left - best.right) / 2, (view_.height + best.bottom - best.top) / 2};
  }

  struct Strips {
    double left = 0, right = 0, bottom = 0, top = 0;
  };
  Strips StripsWith(bool areAxesLeft) const {
    Strips strips;
    if (view_.hasAxes) (areAxesLeft ? strips.left : strips.bottom) = 2.9 * AxisLength();
    if (!view_.title.empty()) strips.top = 3 * TextHeight();
    if (view_.hasLegend) {
      strips.right = LegendWidth();
      strips.bottom = std::max(strips.bottom, 5 * TextHeight());
    }
    return strips;
  }
  double AxisLength() const { return 0.055 * std::min(view_.width, view_.height); }
  double TextHeight() const { return std::max(7.0, 0.018 * std::min(view_.width, view_.height)); }

  /// Groups that something is seen of, in order.
  std::vector<std::size_t> SeenGroups() const {
    std::vector<char> isSeen(outside_.groups.size());
    for (const auto& face : outside_.faces) isSeen[static_cast<std::size_t>(face.group)] = 1;
    for (const auto& line : outside_.lines) isSeen[static_cast<std::size_t>(line.group)] = 1;
    for (const auto& point : outside_.points) isSeen[static_cast<std::size_t>(point.group)] = 1;
    std::vector<std::size_t> seen;
    for (std::size_t i = 0; i < isSeen.size(); ++i)
      if (isSeen[i] != 0) seen.push_back(i);
    return seen;
  }
  /// C3D8 "plate" of C3D8 "Angle bracket/plate": the legend is narrow.
  cow_String LegendText(std::size_t group) const {
    const cow_String& name = outside_.groups[group];
    const std::size_t quote = name.find('"'), slash = name.rfind('/');
    if (quote == cow_String::npos || slash == cow_String::npos || slash < quote) return name;
    return name.substr(0, quote + 1) + name.substr(slash + 1);
  }
  double LegendWidth() const {
    double widest = 0;
    for (const std::size_t group : SeenGroups())
      widest = std::max(widest, pic_TextWidth(LegendText(group), TextHeight()));
    return std::min(widest + 5 * TextHeight(), 0.35 * view_.width);
  }

  void DrawTitle() {
    const double height = 1.25 * TextHeight();
    if (view_.title.empty()) return;
    pic_DrawText(canvas_, 1.2 * height, view_.height - 2.4 * height, height,
                 pic_FittingText(view_.title, height, view_.width - 2.4 * height), kFeature);
  }

  /// As many groups as there is room for, and how many more there are.
  void DrawLegend() {
    const double height = TextHeight(), line = 2 * height, left = view_.width - LegendWidth() + height;
    const std::vector<std::size_t> groups = SeenGroups();
    double y = view_.height - (view_.title.empty() ? line : 3 * height + line);
    const auto room = static_cast<std::size_t>(std::max(1.0, (y - 5 * height) / line));
    const std::size_t shown = groups.size() > room ? room - 1 : groups.size();
    const double width = view_.width - left - 3 * height;
    for (std::size_t i = 0; i < shown; ++i, y -= line) {
      canvas_.Line({left, y + height / 2, kFront}, {left + height, y + height / 2, kFront}, height,
                   pic_GroupColour(static_cast<int>(groups[i])), kFront);
      pic_DrawText(canvas_, left + 2.2 * height, y, height,
                   pic_FittingText(LegendText(groups[i]), height, width), kFeature);
    }
    if (shown < groups.size())
      pic_DrawText(canvas_, left + 2.2 * height, y, height,
                   pic_FittingText("and " + std::to_string(groups.size() - shown) + " more", height, width),
                   kFeature);
  }

  /// A length of 1, 2 or 5 times a power of ten, about a fifth of the picture, in the lower right corner.
  void DrawScaleBar() {
    const double most = 0.22 * view_.width / scale_;
    if (!(most > 1e-300 && most < 1e300)) return;
    double length = 1;
    while (length > most) length /= 10;
    while (10 * length <= most) length *= 10;
    for (const double factor : {5.0, 2.0})
      if (factor * length <= most) {
        length *= factor;
        break;
      }
    char text[32];
    std::snprintf(text, sizeof text, "%g", length);
    const double height = TextHeight(), right = view_.width - 2 * height, y = 1.5 * height,
                 left = right - length * scale_;
    const auto draw = [&](double x0, double y0, double x1, double y1) {
      canvas_.Line({x0, y0, kFront}, {x1, y1, kFront}, 1.2 * lineWidth_, kFeature, kFront);
    };
    draw(left, y, right, y);
    for (const double x : {left, right}) draw(x, y - height / 3, x, y + height / 3);
    pic_DrawText(canvas_, (left + right - pic_TextWidth(text, height)) / 2, y + 0.8 * height, height, text,
                 kFeature);
  }

  void DrawPoints() {
    for (const bme_OuterPoint& point : outside_.points) {
      poll_.Advance();
      const pic_Vector at = At(static_cast<int>(point.node));
      pic_Colour rim = pic_GroupColour(point.group);
      rim = {0.5 * rim.red, 0.5 * rim.green, 0.5 * rim.blue};
      canvas_.Line(at, at, 5.5 * lineWidth_, rim, kFront);
      canvas_.Line(at, at, 4 * lineWidth_, pic_GroupColour(point.group), kFront);
    }
  }

  /// Compressed rows: the faces of each node.
  void FindFacesOfNodes() {
    firstFace_.assign(xyz_.size() / 3 + 1, 0);
    for (const bme_OuterFace& face : outside_.faces) {
      poll_.Advance();
      for (const int node : face.nodes.Nodes()) ++firstFace_[static_cast<std::size_t>(node) + 1];
    }
    std::partial_sum(firstFace_.begin(), firstFace_.end(), firstFace_.begin());
    facesOfNodes_.resize(firstFace_.back());
    std::vector<unsigned> next(firstFace_.begin(), firstFace_.end() - 1);
    for (unsigned f = 0; f < outside_.faces.size(); ++f) {
      poll_.Advance();
      for (const int node : outside_.faces[f].nodes.Nodes())
        facesOfNodes_[next[static_cast<std::size_t>(node)]++] = f;
    }
  }

  /// The mean of the faces around the node that turn away little from this one.
  pic_Vector NormalAt(const bme_OuterFace& face, int node) const {
    pic_Vector sum{};
    const pic_Vector own = Normalised(face.normal);
    const auto at = static_cast<std::size_t>(node);
    poll_.Advance(firstFace_[at + 1] - firstFace_[at]);
    for (unsigned i = firstFace_[at]; i < firstFace_[at + 1]; ++i) {
      const pic_Vector& other = outside_.faces[facesOfNodes_[i]].normal;
      const double cosine = Dot(own, other), length = std::sqrt(Dot(other, other));
      if (std::abs(cosine) >= kCosOfSmooth * length) sum = Sum(sum, Scaled(other, cosine < 0 ? -1 : 1));
    }
    return camera_.Turn(Dot(sum, sum) > 0 ? sum : face.normal);
  }

  void DrawFace(std::size_t f) {
    const bme_OuterFace& face = outside_.faces[f];
    const unsigned corners = face.nodes.corners;
    std::vector<pic_Canvas::Corner>& rim = rim_;
    rim.clear();
    const auto add = [&](int node) { rim.push_back({At(node), NormalAt(face, node)}); };
    for (unsigned k = 0; k < corners; ++k) {
      add(face.nodes.nodes[k]);
      if (face.HasMidNodes()) add(face.nodes.nodes[corners + k]);
    }
    const pic_Colour colour = pic_GroupColour(face.group);
    if (rim.size() == 3) {
      canvas_.Triangle({rim[0], rim[1], rim[2]}, colour);
      return;
    }
    const pic_Canvas::Corner centre = Centre(face);
    for (std::size_t k = 0; k < rim.size(); ++k)
      canvas_.Triangle({centre, rim[k], rim[(k + 1) % rim.size()]}, colour);
  }

  /// Of quadratic faces where the shape functions put it.
  pic_Canvas::Corner Centre(const bme_OuterFace& face) const {
    const unsigned corners = face.nodes.corners;
    const bool isOwn = face.HasMidNodes() && face.nodes.count > 2 * corners;
    pic_Vector place{}, normal{};
    double ofCorner = 1.0 / corners, ofMiddle = 0;
    if (face.HasMidNodes()) {
      ofCorner = corners == 3 ? -1.0 / 9 : -1.0 / 4;
      ofMiddle = corners == 3 ? 4.0 / 9 : 1.0 / 2;
    }
    for (unsigned k = 0; k < corners; ++k) {
      place = Sum(place, Scaled(Model(face.nodes.nodes[k]), ofCorner));
      if (face.HasMidNodes()) place = Sum(place, Scaled(Model(face.nodes.nodes[corners + k]), ofMiddle));
      normal = Sum(normal, Normalised(NormalAt(face, face.nodes.nodes[k])));
    }
    if (isOwn) place = Model(face.nodes.nodes[2 * corners]);
    return {ToPicture(place), Scaled(normal, 1.0 / corners)};
  }

  void DrawEdge(const bme_OuterEdge& edge, double width, const pic_Colour& colour) {
    const double lift = 1.5 * width + 0.5;
    const pic_Vector from = At(edge.ends[0]), to = At(edge.ends[1]);
    if (edge.middle < 0) {
      canvas_.Line(from, to, width, colour, lift);
      return;
    }
    // the parabola through the three nodes
    constexpr int kPieces = 6;
    const pic_Vector middle = At(edge.middle);
    pic_Vector last = from;
    for (int i = 1; i <= kPieces; ++i) {
      const double t = static_cast<double>(i) / kPieces;
      const pic_Vector here = Sum(Sum(Scaled(from, (1 - t) * (1 - 2 * t)), Scaled(middle, 4 * t * (1 - t))),
                                  Scaled(to, t * (2 * t - 1)));
      canvas_.Line(last, here, width, colour, lift);
      last = here;
    }
  }

  /// Thin over everything, then wide where nothing is before it.
  void DrawDatums() {
    for (const double width : {0.8 * lineWidth_, 2 * lineWidth_})
      for (const pic_DatumLine& line : datumLines_)
        canvas_.Line(ToPicture(line.from), ToPicture(line.to), width, line.colour,
                     width < lineWidth_ ? kFront : width);
  }

  void DrawAxes() {
    struct Axis {
      pic_Vector direction;
      pic_Colour colour;
      std::vector<std::array<double, 4>> letter; ///< strokes in a box from -1 to 1
    };
    const Axis axes[] = {
        {{1, 0, 0}, pic_kAxisColours[0], {{-0.7, -1, 0.7, 1}, {-0.7, 1, 0.7, -1}}},
        {{0, 1, 0}, pic_kAxisColours[1], {{-0.7, 1, 0, 0}, {0.7, 1, 0, 0}, {0, 0, 0, -1}}},
        {{0, 0, 1}, pic_kAxisColours[2], {{-0.7, 1, 0.7, 1}, {0.7, 1, -0.7, -1}, {-0.7, -1, 0.7, -1}}}};
    const double length = AxisLength(), front = kFront;
    const pic_Vector origin{1.5 * length, 1.5 * length, front};
    std::array<int, 3> order{0, 1, 2};
    const auto depth = [&](int i) { return camera_.Turn(axes[i].direction)[2]; };
    std::ranges::sort(order, {}, depth);
    for (const int i : order) {
      const pic_Vector turned = camera_.Turn(axes[i].direction);
      const pic_Vector tip{origin[0] + length * turned[0], origin[1] + length * turned[1], front};
      canvas_.Line(origin, tip, 1.8 * lineWidth_, axes[i].colour, front);
      const double flat = std::sqrt(turned[0] * turned[0] + turned[1] * turned[1]);
      if (flat < 0.15) continue; // it points at the viewer: no room for its letter
      const double beyond = length * (1 + 0.22 / flat), size = 0.11 * length;
      for (const auto& stroke : axes[i].letter) {
        const auto end = [&](std::size_t k) {
          return pic_Vector{origin[0] + beyond * turned[0] + size * stroke[k],
                            origin[1] + beyond * turned[1] + size * stroke[k + 1], front};
        };
        canvas_.Line(end(0), end(2), 0.9 * lineWidth_, axes[i].colour, front);
      }
    }
  }

  const bme_Outside& outside_;
  std::span<const float> xyz_;
  const pic_View& view_;
  Camera camera_;
  pic_Canvas canvas_;
  mutable wip_Poll poll_{1U << 16U}; ///< of nodes and faces
  double lineWidth_, scale_ = 1;
  pic_Vector centre_{};
  std::array<double, 2> middle_{}; ///< of what the mesh has of the picture
  std::vector<unsigned> firstFace_, facesOfNodes_;
  std::vector<pic_Canvas::Corner> rim_;
  std::vector<pic_DatumLine> datumLines_;
};
} // namespace

pic_Colour pic_GroupColour(int group) { return PaletteOf(group).colour; }

cow_String pic_ColourName(int group) { return PaletteOf(group).name; }

pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates, const pic_View& view,
                    std::span<const dtu_Datum* const> datums) {
  return Painter(outside, coordinates, view, datums).Run();
}
