#include <CoreGeometry/pic_Scene.h>

#include "pic_Camera.h"
#include "pic_ContourLegend.h"
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
    kMeshEdge{0.30, 0.34, 0.40}, kUndeformed{0.55, 0.57, 0.60}, kWithoutValues{0.6, 0.6, 0.6};
constexpr pic_Colour kWhite{1, 1, 1};
constexpr double kFront = 1e30; ///< before everything
constexpr double kMargin = 0.07, kCosOfSmooth = 0.8660254037844386;

const Named& PaletteOf(int group) { return kPalette[static_cast<std::size_t>(group) % std::size(kPalette)]; }

class Painter {
public:
  Painter(const bme_Outside& outside, std::span<const float> xyz, const pic_View& view,
          const pic_Results& results, std::span<const dtu_Datum* const> datums)
      : outside_(outside), results_(results), field_(results.field), undeformed_(xyz),
        displaced_(results.displacement.empty() ? std::vector<float>()
                                                : pic_Displaced(xyz, results.displacement, results.factor)),
        xyz_(displaced_.empty() ? xyz : displaced_), view_(view), camera_(view),
        canvas_(view.width, view.height, view.background == pic_Background::Shaded ? kBelow : kWhite,
                view.background == pic_Background::Shaded ? kAbove : kWhite),
        lineWidth_(std::max(1.0, std::min(view.width, view.height) / 450.0)),
        datumLines_(datums.empty() ? std::vector<pic_DatumLine>()
                                   : pic_LinesOf(datums, BoxOf(outside, xyz))) {
    canvas_.SetTransparent(view.background == pic_Background::Transparent);
  }

  pic_Canvas Run() {
    canvas_.BeginTogether();
    Fit();
    FindNormals();
    FindFacesOfNodes();
    if (HasOutline())
      for (const bme_OuterEdge& edge : outside_.edges)
        if (edge.isFeature) DrawEdge(edge, lineWidth_, kUndeformed, undeformed_);
    for (std::size_t f = 0; f < outside_.faces.size(); ++f) DrawFace(f);
    if (view_.hasMeshEdges)
      for (const bme_OuterEdge& edge : outside_.edges)
        if (!edge.isFeature) DrawEdge(edge, 0.5 * lineWidth_, kMeshEdge, xyz_);
    for (const bme_OuterEdge& edge : outside_.edges)
      if (edge.isFeature) DrawEdge(edge, lineWidth_, kFeature, xyz_);
    for (std::size_t i = 0; i < outside_.lines.size(); ++i) DrawLine(i);
    DrawPoints();
    DrawDatums();
    if (view_.hasAxes) DrawAxes();
    DrawTitle();
    if (view_.hasLegend) {
      if (field_) {
        const double height = TextHeight();
        pic_DrawContourLegend(canvas_, results_,
                              {view_.width - LegendWidth() + height, 5 * height, view_.width - height,
                               view_.height - (view_.title.empty() ? height : 4 * height)},
                              height);
      } else
        DrawLegend();
      DrawScaleBar();
    }
    canvas_.EndTogether();
    return std::move(canvas_);
  }

  /// Of the mesh.
  pic_Extent Extent() const {
    pic_Extent extent;
    const auto add = [&](std::span<const int> nodes) {
      poll_.Advance(nodes.size());
      for (const int node : nodes) {
        pic_AddTo(extent, camera_.Turn(pic_At(xyz_, node)));
        if (HasOutline()) pic_AddTo(extent, camera_.Turn(pic_At(undeformed_, node)));
      }
    };
    for (const bme_OuterFace& face : outside_.faces) add(face.nodes.Nodes());
    for (const bme_OuterLine& line : outside_.lines) add(line.nodes.Nodes());
    for (const bme_OuterPoint& point : outside_.points)
      pic_AddTo(extent, camera_.Turn(pic_At(xyz_, static_cast<int>(point.node))));
    return extent;
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
  bool HasOutline() const { return results_.hasUndeformed && !displaced_.empty(); }
  pic_Vector ToPicture(const pic_Vector& v) const {
    const pic_Vector turned = camera_.Turn(v);
    return {middle_[0] + scale_ * (turned[0] - centre_[0]), middle_[1] + scale_ * (turned[1] - centre_[1]),
            scale_ * (turned[2] - centre_[2])};
  }
  pic_Vector At(int node) const { return ToPicture(pic_At(xyz_, node)); }

  void Fit() {
    pic_Extent extent = view_.extent ? *view_.extent : Extent();
    for (const pic_DatumLine& line : datumLines_) {
      pic_AddTo(extent, camera_.Turn(line.from));
      pic_AddTo(extent, camera_.Turn(line.to));
    }
    const pic_Vector &low = extent.low, &high = extent.high;
    centre_ = pic_Scaled(pic_Sum(low, high), 0.5);
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
    if (field_) return std::min(pic_ContourLegendWidth(results_, TextHeight()), 0.35 * view_.width);
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
    const std::string factor = pic_FactorText(results_);
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
    if (!factor.empty())
      pic_DrawText(canvas_, left, y - line / 2, height, pic_FittingText(factor, height, view_.width - left),
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

  /// Values, if there are any, or the colour of the group a little darker.
  void DrawLine(std::size_t i) {
    const bme_OuterLine& line = outside_.lines[i];
    const std::span<const int> nodes = line.nodes.Nodes();
    const std::span<const double> values = field_ ? field_->OfLine(i) : std::span<const double>();
    const double width = 2.2 * lineWidth_, lift = 3 * lineWidth_;
    for (std::size_t k = 1; k < nodes.size(); ++k) {
      const pic_Vector from = At(nodes[k - 1]), to = At(nodes[k]);
      if (!field_) {
        const pic_Colour colour = pic_GroupColour(line.group);
        canvas_.Line(from, to, width, {0.75 * colour.red, 0.75 * colour.green, 0.75 * colour.blue}, lift);
        continue;
      }
      // the pieces have the value of their middle
      const int pieces = values.size() == 1 ? 1 : 32;
      for (int piece = 0; piece < pieces; ++piece) {
        const auto mix = [&](double t, double a, double b) { return a + t * (b - a); };
        const auto place = [&](int end) {
          const double t = static_cast<double>(end) / pieces;
          return pic_Vector{mix(t, from[0], to[0]), mix(t, from[1], to[1]), mix(t, from[2], to[2])};
        };
        const double value =
            values.size() == 1 ? values[0] : mix((piece + 0.5) / pieces, values[k - 1], values[k]);
        canvas_.Line(place(piece), place(piece + 1), width, results_.scale.At(value), lift);
      }
    }
  }

  void DrawPoints() {
    for (std::size_t i = 0; i < outside_.points.size(); ++i) {
      const bme_OuterPoint& point = outside_.points[i];
      poll_.Advance();
      const pic_Vector at = At(static_cast<int>(point.node));
      const pic_Colour colour = !field_               ? pic_GroupColour(point.group)
                                : field_->IsOfNodes() ? results_.scale.At(field_->OfPoint(i))
                                                      : kWithoutValues;
      const pic_Colour rim{0.5 * colour.red, 0.5 * colour.green, 0.5 * colour.blue};
      canvas_.Line(at, at, 5.5 * lineWidth_, rim, kFront);
      canvas_.Line(at, at, 4 * lineWidth_, colour, kFront);
    }
  }

  /// Of displaced faces: those of the others are known.
  void FindNormals() {
    if (displaced_.empty()) return;
    normals_.reserve(outside_.faces.size());
    for (const bme_OuterFace& face : outside_.faces) normals_.push_back(pic_NormalOf(face, xyz_));
  }
  const pic_Vector& FaceNormal(std::size_t f) const {
    return normals_.empty() ? outside_.faces[f].normal : normals_[f];
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
  pic_Vector NormalAt(std::size_t f, int node) const {
    pic_Vector sum{};
    const pic_Vector own = pic_Normalised(FaceNormal(f));
    const auto at = static_cast<std::size_t>(node);
    poll_.Advance(firstFace_[at + 1] - firstFace_[at]);
    for (unsigned i = firstFace_[at]; i < firstFace_[at + 1]; ++i) {
      const pic_Vector& other = FaceNormal(facesOfNodes_[i]);
      const double cosine = pic_Dot(own, other), length = std::sqrt(pic_Dot(other, other));
      if (std::abs(cosine) >= kCosOfSmooth * length)
        sum = pic_Sum(sum, pic_Scaled(other, cosine < 0 ? -1 : 1));
    }
    return camera_.Turn(pic_Dot(sum, sum) > 0 ? sum : FaceNormal(f));
  }

  void DrawFace(std::size_t f) {
    const bme_OuterFace& face = outside_.faces[f];
    const unsigned corners = face.nodes.corners;
    std::vector<pic_Canvas::Corner>& rim = rim_;
    rim.clear();
    values_.clear();
    const std::span<const double> values = field_ ? field_->OfFace(f) : std::span<const double>();
    const auto add = [&](unsigned place) {
      const int node = face.nodes.nodes[place];
      rim.push_back({At(node), NormalAt(f, node)});
      if (field_) values_.push_back(values[values.size() == 1 ? 0 : place]);
    };
    for (unsigned k = 0; k < corners; ++k) {
      add(k);
      if (face.HasMidNodes()) add(corners + k);
    }
    const pic_Colour colour = pic_GroupColour(face.group);
    const auto triangle = [&](std::size_t a, std::size_t b, std::size_t c) {
      if (field_)
        canvas_.Triangle({rim[a], rim[b], rim[c]}, {values_[a], values_[b], values_[c]}, results_.scale);
      else
        canvas_.Triangle({rim[a], rim[b], rim[c]}, colour);
    };
    if (rim.size() == 3) return triangle(0, 1, 2);
    if (rim.size() == 6 && corners == 3 && field_) {
      for (const std::size_t k : {0U, 2U, 4U}) triangle(k, k + 1, (k + 5) % 6);
      return triangle(1, 3, 5);
    }
    const std::size_t size = rim.size();
    rim.push_back(Centre(f));
    if (field_)
      values_.push_back(values.size() == 1 ? values[0]
                                           : CentreOf<double>(
                                               face, [&](unsigned k) { return values[k]; },
                                               [](double a, double b) { return a + b; },
                                               [](double a, double b) { return a * b; }));
    for (std::size_t k = 0; k < size; ++k) triangle(size, k, (k + 1) % size);
  }

  /// What the shape functions make of values at the nodes, in the middle of a face.
  template<class Value, class At, class Add, class Times>
  static Value CentreOf(const bme_OuterFace& face, At&& at, Add&& sum, Times&& scaled) {
    const unsigned corners = face.nodes.corners;
    if (face.HasMidNodes() && face.nodes.count > 2 * corners) return at(2 * corners);
    double ofCorner = 1.0 / corners, ofMiddle = 0;
    if (face.HasMidNodes()) {
      ofCorner = corners == 3 ? -1.0 / 9 : -1.0 / 4;
      ofMiddle = corners == 3 ? 4.0 / 9 : 1.0 / 2;
    }
    Value value{};
    for (unsigned k = 0; k < corners; ++k) {
      value = sum(value, scaled(at(k), ofCorner));
      if (face.HasMidNodes()) value = sum(value, scaled(at(corners + k), ofMiddle));
    }
    return value;
  }
  pic_Canvas::Corner Centre(std::size_t f) const {
    const bme_OuterFace& face = outside_.faces[f];
    pic_Vector normal{};
    for (const int node : face.nodes.Corners()) normal = pic_Sum(normal, pic_Normalised(NormalAt(f, node)));
    const auto model = [&](unsigned k) { return pic_At(xyz_, face.nodes.nodes[k]); };
    return {ToPicture(CentreOf<pic_Vector>(face, model, pic_Sum, pic_Scaled)),
            pic_Scaled(normal, 1.0 / face.nodes.corners)};
  }

  void DrawEdge(const bme_OuterEdge& edge, double width, const pic_Colour& colour,
                std::span<const float> xyz) {
    const double lift = 1.5 * width + 0.5;
    const pic_Vector from = ToPicture(pic_At(xyz, edge.ends[0])), to = ToPicture(pic_At(xyz, edge.ends[1]));
    if (edge.middle < 0) {
      canvas_.Line(from, to, width, colour, lift);
      return;
    }
    // the parabola through the three nodes
    constexpr int kPieces = 6;
    const pic_Vector middle = ToPicture(pic_At(xyz, edge.middle));
    pic_Vector last = from;
    for (int i = 1; i <= kPieces; ++i) {
      const double t = static_cast<double>(i) / kPieces;
      const pic_Vector here =
          pic_Sum(pic_Sum(pic_Scaled(from, (1 - t) * (1 - 2 * t)), pic_Scaled(middle, 4 * t * (1 - t))),
                  pic_Scaled(to, t * (2 * t - 1)));
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
  const pic_Results& results_;
  const pic_Field* field_;
  std::span<const float> undeformed_;
  std::vector<float> displaced_; ///< empty when nothing is displaced
  std::span<const float> xyz_;
  const pic_View& view_;
  pic_Camera camera_;
  pic_Canvas canvas_;
  mutable wip_Poll poll_{1U << 16U}; ///< of nodes and faces
  double lineWidth_, scale_ = 1;
  pic_Vector centre_{};
  std::array<double, 2> middle_{}; ///< of what the mesh has of the picture
  std::vector<unsigned> firstFace_, facesOfNodes_;
  std::vector<pic_Vector> normals_; ///< of displaced faces
  std::vector<pic_Canvas::Corner> rim_;
  std::vector<double> values_; ///< of the rim
  std::vector<pic_DatumLine> datumLines_;
};
} // namespace

pic_Colour pic_GroupColour(int group) { return PaletteOf(group).colour; }

cow_String pic_ColourName(int group) { return PaletteOf(group).name; }

pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates, const pic_View& view,
                    std::span<const dtu_Datum* const> datums) {
  return pic_Draw(outside, coordinates, view, pic_Results(), datums);
}

pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates, const pic_View& view,
                    const pic_Results& results, std::span<const dtu_Datum* const> datums) {
  return Painter(outside, coordinates, view, results, datums).Run();
}

pic_Extent pic_ExtentOf(const bme_Outside& outside, std::span<const float> coordinates, const pic_View& view,
                        const pic_Results& results) {
  pic_View small = view; // no need for a canvas
  small.width = small.height = 1;
  return Painter(outside, coordinates, small, results, {}).Extent();
}

void pic_Extent::Add(const pic_Extent& other) {
  pic_AddTo(*this, other.low);
  pic_AddTo(*this, other.high);
}
