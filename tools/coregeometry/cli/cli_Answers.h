// cli_Answers.h: which elements of a mesh hold points
#pragma once

#include "cli_Points.h"

#include <CoreGeometry/bme_ElementLocator.h>
#include <functional>
#include <optional>

/// One element of a mesh as a mesh of its own, and where it stands in the whole.
struct cli_Alone {
  bme_Mesh mesh{};
  std::uint64_t index = 0;
  unsigned classIndex = 0;
};
/// An element of a stored mesh, of which nothing else is read.
cli_Alone cli_ReadAlone(const cls_Database& model, const cow_String& root, unsigned element);
/// Throws nex_TextException for an element label that the mesh, "file, root", does not have.
[[noreturn]] void cli_RefuseElement(const cow_String& mesh, int label);
void cli_AddAloneOption(cli_Command command, std::optional<int>& element); ///< --element

class cli_Answers {
public:
  explicit cli_Answers(const bme_Mesh& mesh) : cli_Answers(mesh, nullptr) {}
  explicit cli_Answers(const cli_Alone& alone) : cli_Answers(alone.mesh, &alone) {}

  /// Calls take(answer) for each point.
  void ForEach(std::span<const double> points, const std::function<void(const cli_PointAnswer&)>& take) const;

private:
  cli_Answers(const bme_Mesh& mesh, const cli_Alone* alone)
      : elements_(mesh.ElementData()), placement_(mesh), locator_(mesh), alone_(alone) {}
  cli_PointAnswer Answer(const bme_ElementLocator::Point& placed, const bme_ElementLocator::Point& point,
                         const bme_ElementHit& first) const;
  cli_Json Element(unsigned element) const;

  const bme_ElementData& elements_;
  bme_Placement placement_;
  bme_ElementLocator locator_;
  const cli_Alone* alone_;
};
