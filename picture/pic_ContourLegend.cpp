#include "pic_ContourLegend.h"

#include "pic_Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {
constexpr pic_Colour kInk{0.10, 0.12, 0.16};
constexpr double kFront = 1e30; ///< before everything

void AddLines(std::vector<std::string>& lines, const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.size(), text.find('\n', at));
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
}

/// Above the colours.
std::vector<std::string> Head(const pic_Results& results) {
  const pic_Legend& legend = results.legend;
  std::string name = legend.name;
  for (const auto& [before, part, behind] : {std::array<std::string, 3>{", ", legend.invariant, ""},
                                             std::array<std::string, 3>{" (", legend.unit, ")"}})
    if (!part.empty()) name.append(before).append(part).append(behind);
  std::vector<std::string> lines;
  AddLines(lines, name);
  AddLines(lines, legend.frame);
  const auto add = [&](const char* what, const std::optional<pic_Legend::Extreme>& extreme) {
    if (!extreme) return;
    lines.push_back(what + pic_NumberText(extreme->value));
    if (!extreme->place.empty()) lines.push_back("  " + extreme->place);
  };
  add("max ", legend.highest);
  add("min ", legend.lowest);
  AddLines(lines, pic_FactorText(results));
  return lines;
}

/// The bounds from below, with as many digits as tell them apart.
std::vector<std::string> Bounds(const pic_Scale& scale, int pieces) {
  std::vector<std::string> texts;
  if (!(scale.low <= scale.high)) return texts;
  if (scale.low == scale.high) return {pic_NumberText(scale.low)};
  for (int digits = 3; digits <= 17; ++digits) {
    texts.clear();
    for (int i = 0; i <= pieces; ++i) {
      const double t = static_cast<double>(i) / pieces;
      texts.push_back(pic_NumberText(scale.low * (1 - t) + scale.high * t, digits));
    }
    if (std::ranges::adjacent_find(texts) == texts.end()) break;
  }
  return texts;
}

std::string Shortest(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

struct Grey {
  pic_Colour colour;
  const char* text;
};
std::vector<Grey> GreysBelow(const pic_Results& results) {
  std::vector<Grey> greys;
  if (results.scale.HasFixedLow()) greys.push_back({pic_kTooLow, "below"});
  if (results.field->HasMissing()) greys.push_back({pic_kMissing, "no value"});
  return greys;
}
} // namespace

std::string pic_FactorText(const pic_Results& results) {
  return results.displacement.empty() ? std::string() : "deformed x " + Shortest(results.factor);
}

double pic_ContourLegendWidth(const pic_Results& results, double height) {
  double widest = 0;
  for (const std::string& line : Head(results)) widest = std::max(widest, pic_TextWidth(line, height));
  for (const std::string& bound : Bounds(results.scale, std::max(1, results.scale.bands)))
    widest = std::max(widest, 3 * height + pic_TextWidth(bound, height));
  widest = std::max(widest, 3 * height + pic_TextWidth("no value", height));
  return widest + 3 * height;
}

void pic_DrawContourLegend(pic_Canvas& canvas, const pic_Results& results, const pic_Area& area,
                           double height) {
  const double line = 1.7 * height, room = area.right - area.left, behind = area.left + 3 * height;
  const auto write = [&](double x, double y, const std::string& text) {
    pic_DrawText(canvas, x, y, height, pic_FittingText(text, height, area.right - x), kInk);
  };
  double top = area.top;
  for (const std::string& text : Head(results)) {
    write(area.left, top - height, text);
    top -= line;
  }
  const auto bar = [&](double low, double high, const pic_Scale& scale) {
    const double v0 = scale.low, v1 = scale.high;
    const auto corner = [&](double x, double y) { return pic_Canvas::Corner{{x, y, kFront}, {0, 0, 1}}; };
    const double left = area.left, right = area.left + 1.6 * height;
    canvas.Triangle({corner(left, low), corner(right, low), corner(right, high)}, {v0, v0, v1}, scale);
    canvas.Triangle({corner(left, low), corner(right, high), corner(left, high)}, {v0, v1, v1}, scale);
    for (const auto& [x0, y0, x1, y1] : {std::array{left, low, right, low},
                                         {right, low, right, high},
                                         {right, high, left, high},
                                         {left, high, left, low}})
      canvas.Line({x0, y0, kFront}, {x1, y1, kFront}, std::max(1.0, 0.08 * height), kInk, kFront);
  };
  const auto grey = [&](double low, const Grey& one) {
    const double y = low + height / 2;
    canvas.Line({area.left + height / 2, y, kFront}, {area.left + 1.1 * height, y, kFront}, height,
                one.colour, kFront);
    write(behind - 0.6 * height, low, one.text);
  };
  top -= 0.6 * height;
  if (results.scale.HasFixedHigh()) {
    grey(top - height, {pic_kTooHigh, "above"});
    top -= 2.1 * height;
  }
  const std::vector<Grey> greys = GreysBelow(results);
  const double ofGreys = 1.7 * height * static_cast<double>(greys.size()) + 0.6 * height;
  const double bottom = std::max(area.bottom + ofGreys, top - 26 * height); // no longer than it need be
  double below = bottom - 2 * height;
  for (const Grey& one : greys) {
    grey(below, one);
    below -= 1.7 * height;
  }
  const pic_Scale& scale = results.scale;
  if (!(top - bottom > 2 * height) || room < 2 * height || !(scale.low <= scale.high))
    return; // no values at all
  bar(bottom, top, scale);
  const int pieces = scale.bands > 0 ? scale.bands : 8;
  const std::vector<std::string> bounds = Bounds(scale, pieces);
  const auto fits = static_cast<std::size_t>((top - bottom) / (1.5 * height));
  std::size_t stride = 1;
  while (bounds.size() > 1 && ((bounds.size() - 1) % stride != 0 || (bounds.size() - 1) / stride > fits)
         && stride + 1 < bounds.size())
    ++stride;
  for (std::size_t i = 0; i < bounds.size(); i += stride) {
    const double t =
        bounds.size() == 1 ? 0.5 : static_cast<double>(i) / static_cast<double>(bounds.size() - 1);
    write(behind - 0.6 * height, bottom + t * (top - bottom) - 0.5 * height, bounds[i]);
  }
}
