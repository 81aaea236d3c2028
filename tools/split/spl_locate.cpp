// locate in a split model: the elements that hold points
#include "cli_Answers.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Locate.h>
#include <algorithm>
#include <memory>

namespace {
struct Arguments : spl_Arguments {
  cli_PointArguments points;
  std::optional<int> element; ///< label of the only one that is asked
};

/// What is told about the elements at places.
std::vector<cli_Json> ElementsAt(const dst_Mesh& mesh, std::span<const dst_Place> places) {
  return spl_Describe(mesh, places, [&](const dst_OpenPart& part, const dst_Place& place) -> cli_Json {
    const spl_ElementOfPart element(part, place.index);
    return {{"label", mesh.ElementLabel(part, place.index)},
            {"index", place.number},
            {"class", element.classIndex},
            {"type", element.type->ElemTypeLabel()}};
  });
}

/// Those of the points, three values each.
std::vector<double> Some(std::span<const double> points, std::span<const std::size_t> which) {
  std::vector<double> some;
  some.reserve(3 * which.size());
  for (const std::size_t i : which) some.insert(some.end(), &points[3 * i], &points[3 * i] + 3);
  return some;
}

/// All elements with points on their boundary; of other points what contains them, and the nearest to those outside.
std::vector<cli_PointAnswer> Ask(const dst_Mesh& mesh, std::span<const double> placed,
                                 std::span<const double> points) {
  const std::vector<dst_Hit> hits = dst_Locate(mesh, points);
  std::vector<std::size_t> onBoundary, outside;
  for (std::size_t i = 0; i < hits.size(); ++i) {
    if (hits[i].location == shp_Location::OnBoundary) onBoundary.push_back(i);
    if (hits[i].location == shp_Location::Outside) outside.push_back(i);
  }
  const std::vector<std::vector<dst_Hit>> all = dst_LocateAll(mesh, Some(points, onBoundary));
  const std::vector<dst_Nearest> nearest = dst_FindNearest(mesh, Some(points, outside));
  std::vector<cli_PointAnswer> answers;
  std::vector<std::pair<std::size_t, cli_ElementAt>> owners, near; // by point
  std::vector<dst_Place> places;
  answers.reserve(hits.size());
  for (std::size_t i = 0; i < hits.size(); ++i)
    answers.push_back({{placed[3 * i], placed[3 * i + 1], placed[3 * i + 2]}, hits[i].location});
  const auto own = [&](std::size_t point, const dst_Hit& hit) {
    owners.push_back({point, {.element = {}, .location = hit.location, .iso = hit.iso}});
    places.push_back(hit.element);
  };
  for (std::size_t i = 0; i < hits.size(); ++i)
    if (hits[i].element.IsFound() && hits[i].location != shp_Location::OnBoundary) own(i, hits[i]);
  for (std::size_t k = 0; k < all.size(); ++k)
    for (const dst_Hit& hit : all[k]) own(onBoundary[k], hit);
  for (std::size_t k = 0; k < nearest.size(); ++k) {
    if (!nearest[k].element.IsFound()) continue;
    near.push_back({outside[k], {.element = {}, .iso = nearest[k].iso, .distance = nearest[k].distance}});
    places.push_back(nearest[k].element);
  }
  std::vector<cli_Json> elements = ElementsAt(mesh, places);
  for (std::size_t k = 0; k < owners.size(); ++k) {
    owners[k].second.element = std::move(elements[k]);
    answers[owners[k].first].owners.push_back(std::move(owners[k].second));
  }
  for (std::size_t k = 0; k < near.size(); ++k) {
    near[k].second.element = std::move(elements[owners.size() + k]);
    answers[near[k].first].nearest = std::move(near[k].second);
  }
  return answers;
}

/// The file of points, which may be the standard input, is read by the first rank.
std::vector<double> PointsOf(const cli_PointArguments& arguments, dst_Exchange& exchange) {
  std::vector<double> points = arguments.Given();
  std::vector<std::byte> bytes;
  exchange.OnFirstRank([&] {
    const std::vector<double> more = arguments.OfFile();
    const std::span<const std::byte> view = std::as_bytes(std::span(more));
    bytes.assign(view.begin(), view.end());
  });
  exchange.Broadcast(bytes);
  const std::size_t numGiven = points.size();
  points.resize(numGiven + bytes.size() / sizeof(double));
  std::ranges::copy(bytes, std::as_writable_bytes(std::span(points).subspan(numGiven)).begin());
  cli_PointArguments::ExpectSome(points);
  return points;
}

/// The first rank, which prints, reads the only element that is asked.
void AskOne(const Arguments& arguments, const spl_Split& split, std::span<const double> placed) {
  const dst_Place place = dst_FindElements(split.Mesh(), std::span(&*arguments.element, 1))[0];
  split.Exchange().OnFirstRank([&] {
    const cow_String root = split.Folder().MeshRoot();
    if (!place.IsFound()) cli_RefuseElement(arguments.folder + ", " + root, *arguments.element);
    cli_Alone alone = cli_ReadAlone(split.Folder().OpenPartFile(place.part), root, place.index);
    alone.index = place.number;
    cli_PointReport report(arguments.folder, root, cli_NumNotFinite(alone.mesh),
                           cli_NumWithoutShape(alone.mesh), arguments.json);
    cli_Answers(alone).ForEach(placed, [&](const cli_PointAnswer& answer) { report.Add(answer); });
    report.End();
  });
  split.Exchange().Agree();
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  const std::vector<double> placed = PointsOf(arguments.points, exchange);
  const spl_Split split(arguments, exchange);
  if (arguments.element) return AskOne(arguments, split, placed);
  std::vector<double> local = placed;
  if (!split.Placement().IsNone()) split.Placement().ToLocal().Transform(local);
  std::array<std::int64_t, 2> leftOut{};
  exchange.ForEachPart([&](unsigned part) {
    const bme_Mesh& mesh = *split.Mesh().Part(part).mesh;
    leftOut[0] += cli_NumNotFinite(mesh);
    leftOut[1] += cli_NumWithoutShape(mesh);
  });
  exchange.Sum(leftOut);
  const std::vector<cli_PointAnswer> answers = Ask(split.Mesh(), placed, local);
  cli_PointReport report(arguments.folder, split.Folder().MeshRoot(), leftOut[0], leftOut[1], arguments.json);
  for (const cli_PointAnswer& answer : answers) report.Add(answer);
  report.End();
}
} // namespace

void spl_AddLocate(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command = program.AddCommand("locate", "Find the elements of a split mesh that hold points");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  arguments->points.AddTo(command);
  cli_AddAloneOption(command, arguments->element);
  command.Footer("Only parts with boxes at the points are opened for them.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry locate wing.split 0.01,0.02,0.002");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
