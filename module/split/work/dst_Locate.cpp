#include <CoreGeometry/dst_Locate.h>

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <cmath>

namespace {
using Point = bme_ElementLocator::Point;

/// What a part answers about a point.
struct Answer {
  std::uint64_t point; ///< its position in the list
  dst_Place element;
  double distance;
  shp_Location location;
  shp_IsoPoint iso;
};

std::size_t NumPoints(std::span<const double> points) {
  if (points.size() % 3 != 0)
    throw nex_TextException(std::to_string(points.size())
                            + " coordinates of points: not a multiple of three");
  return points.size() / 3;
}

Point At(std::span<const double> points, std::size_t i) {
  return {points[3 * i], points[3 * i + 1], points[3 * i + 2]};
}

/// Squared distance of a point from the box of a part; infinite for a part without nodes. Not larger than that of
/// anything in the box, as the locator computes it.
double SquaredDistance(const dst_PartFacts& facts, const Point& point) {
  double sum = 0;
  for (std::size_t a = 0; a < 3; ++a) {
    const double low = static_cast<double>(facts.box[a]), high = static_cast<double>(facts.box[a + 3]);
    if (low > high) return std::numeric_limits<double>::infinity();
    const double gap = std::max({low - point[a], point[a] - high, 0.0});
    sum += gap * gap;
  }
  return sum;
}

dst_Place PlaceOf(const dst_OpenPart& part, unsigned element) {
  return {part.part->ElementNumber(element), part.part->Number(), element};
}

/// Asks parts about points and gathers the answers by point and element: isFor(part, point) chooses, ask(locator, part,
/// point, answers) answers.
template<class IsFor, class Ask>
std::vector<Answer> AskParts(const dst_Mesh& mesh, std::span<const double> points, IsFor isFor, Ask ask) {
  dst_Exchange& exchange = mesh.Exchange();
  std::vector<std::vector<Answer>> answers(exchange.MyParts().Count());
  exchange.ForEachPart([&](unsigned number) {
    std::vector<std::size_t> asked;
    for (std::size_t i = 0; i < points.size() / 3; ++i)
      if (isFor(number, i)) asked.push_back(i);
    if (asked.empty()) return;
    const dst_OpenPart& part = mesh.Part(number);
    const bme_ElementLocator locator(*part.mesh);
    ask(locator, part, asked, answers[number - exchange.MyParts().first]);
  });
  std::vector<Answer> all;
  for (const std::vector<Answer>& ofPart : exchange.GatherRecords(answers))
    all.insert(all.end(), ofPart.begin(), ofPart.end());
  std::ranges::sort(all, [](const Answer& a, const Answer& b) {
    return a.point != b.point ? a.point < b.point : a.element.number < b.element.number;
  });
  return all;
}

/// Boxes of all parts, which every rank has.
class PartBoxes {
public:
  explicit PartBoxes(const dst_Mesh& mesh) {
    for (unsigned part = 0; part < mesh.NumParts(); ++part) parts_.push_back(mesh.Index().Part(part));
  }
  double SquaredDistanceOf(unsigned part, const Point& point) const {
    return SquaredDistance(parts_[part], point);
  }
  bool Holds(unsigned part, const Point& point) const { return SquaredDistanceOf(part, point) == 0; }
  unsigned NearestTo(const Point& point) const {
    unsigned nearest = 0;
    for (unsigned part = 1; part < parts_.size(); ++part)
      if (SquaredDistanceOf(part, point) < SquaredDistanceOf(nearest, point)) nearest = part;
    return nearest;
  }

private:
  std::vector<dst_PartFacts> parts_;
};

void AskNearest(std::span<const double> points, const bme_ElementLocator& locator, const dst_OpenPart& part,
                std::span<const std::size_t> asked, std::vector<Answer>& answers) {
  for (const std::size_t i : asked) {
    const bme_NearestElement nearest = locator.FindNearest(At(points, i));
    if (nearest.element != bme_kNotFound)
      answers.push_back(
          {i, PlaceOf(part, nearest.element), nearest.distance, shp_Location::Outside, nearest.iso});
  }
}

void TakeNearer(std::span<const Answer> answers, std::vector<dst_Nearest>& nearest) {
  for (const Answer& answer : answers) {
    dst_Nearest& best = nearest[answer.point];
    if (answer.distance < best.distance
        || (answer.distance == best.distance && answer.element.number < best.element.number))
      best = {answer.element, answer.distance, answer.iso};
  }
}
} // namespace

std::vector<dst_Hit> dst_Locate(const dst_Mesh& mesh, std::span<const double> points) {
  std::vector<dst_Hit> hits(NumPoints(points));
  const PartBoxes boxes(mesh);
  const std::vector<Answer> answers = AskParts(
      mesh, points, [&](unsigned part, std::size_t i) { return boxes.Holds(part, At(points, i)); },
      [&](const bme_ElementLocator& locator, const dst_OpenPart& part, std::span<const std::size_t> asked,
          std::vector<Answer>& own) {
        std::vector<double> some;
        for (const std::size_t i : asked) some.insert(some.end(), &points[3 * i], &points[3 * i] + 3);
        std::vector<bme_ElementHit> found(asked.size());
        locator.FindEach(some, found);
        for (std::size_t k = 0; k < asked.size(); ++k)
          if (found[k].element != bme_kNotFound)
            own.push_back({asked[k], PlaceOf(part, found[k].element), 0, found[k].location, found[k].iso});
      });
  for (const Answer& answer : answers) {
    dst_Hit& hit =
        hits[answer.point]; // the first of those that contain the point, else the first degenerate one
    if (!hit.element.IsFound() || (shp_IsHeld(answer.location) && !shp_IsHeld(hit.location)))
      hit = {answer.element, answer.location, answer.iso};
  }
  return hits;
}

std::vector<std::vector<dst_Hit>> dst_LocateAll(const dst_Mesh& mesh, std::span<const double> points) {
  std::vector<std::vector<dst_Hit>> hits(NumPoints(points));
  const PartBoxes boxes(mesh);
  const std::vector<Answer> answers = AskParts(
      mesh, points, [&](unsigned part, std::size_t i) { return boxes.Holds(part, At(points, i)); },
      [&](const bme_ElementLocator& locator, const dst_OpenPart& part, std::span<const std::size_t> asked,
          std::vector<Answer>& own) {
        std::vector<bme_ElementHit> owners;
        for (const std::size_t i : asked) {
          locator.FindAll(At(points, i), owners);
          for (const bme_ElementHit& owner : owners)
            own.push_back({i, PlaceOf(part, owner.element), 0, owner.location, owner.iso});
        }
      });
  for (const Answer& answer : answers)
    hits[answer.point].push_back({answer.element, answer.location, answer.iso});
  return hits;
}

std::vector<dst_Nearest> dst_FindNearest(const dst_Mesh& mesh, std::span<const double> points) {
  std::vector<dst_Nearest> nearest(NumPoints(points));
  const PartBoxes boxes(mesh);
  const auto ask = [&](const bme_ElementLocator& locator, const dst_OpenPart& part,
                       std::span<const std::size_t> asked,
                       std::vector<Answer>& own) { AskNearest(points, locator, part, asked, own); };
  std::vector<unsigned> first(nearest.size());
  for (std::size_t i = 0; i < nearest.size(); ++i) first[i] = boxes.NearestTo(At(points, i));
  TakeNearer(AskParts(
                 mesh, points, [&](unsigned part, std::size_t i) { return part == first[i]; }, ask),
             nearest);
  const std::vector<dst_Nearest> sofar = nearest;
  const auto isNear = [&](unsigned part, std::size_t i) {
    const double most = sofar[i].distance * sofar[i].distance;
    return part != first[i] && boxes.SquaredDistanceOf(part, At(points, i)) <= most;
  };
  TakeNearer(AskParts(mesh, points, isNear, ask), nearest);
  return nearest;
}
