// exo_Write.h: an Exodus II file written at once
#pragma once

#include "exo_File.h"

#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/bme_Placement.h>
#include <optional>

/// One element block as it is to stand in the file.
struct exo_OutBlock {
  std::int64_t id = 0;
  cow_String type, name;
  int nodesPerElement = 0;
  std::int64_t numElements = 0;
  std::vector<int> nodes;                   ///< whole rows in the order of the format, counted from 1
  std::span<const double> attributes{};     ///< a row for each element
  std::vector<cow_String> attributeNames{}; ///< one for each column; may be empty texts
};

struct exo_OutSet {
  exo_SetKind kind = exo_SetKind::Nodes;
  std::int64_t id = 0;
  cow_String name;
  std::vector<int> entries, sides; ///< counted from 1; sides in side sets only
  std::vector<double> factors{};   ///< of distribution; may be empty
};

/// A number with a name for every block, or every set of a kind.
struct exo_OutProperty {
  std::optional<exo_SetKind> of; ///< none of blocks
  cow_String name;
  std::vector<int> values;
};

/// One more number for every element.
struct exo_OutMap {
  cow_String name;
  std::vector<int> numbers;
};

/// What values of a file belong to.
enum class exo_ValueKind { Nodes, Blocks, NodeSets, SideSets, ElementSets };
inline constexpr int exo_kNumValueKinds = 5;

/// Scalars of one object that are read together: a row for each of its entities.
struct exo_OutField {
  exo_ValueKind kind = exo_ValueKind::Nodes;
  std::int64_t id = 0; ///< of the block or set
  std::int64_t numEntities = 0;
  std::vector<int> scalars; ///< numbers of the scalars of this kind, from 0, in the order of a row
};

/// Values of several times, asked for in the order in which they are written.
class exo_OutResults {
public:
  virtual ~exo_OutResults() = default;
  std::vector<double> times;
  std::vector<cow_String> globals;
  std::vector<cow_String> names[exo_kNumValueKinds];
  std::vector<exo_OutField> fields;
  bool isDouble = false;

  virtual double Global(std::size_t frame, std::size_t global) = 0;
  /// Whether the field has values in the frame.
  virtual bool Begin(std::size_t frame, std::size_t field) = 0;
  /// Rows of entities in the order of the file, of what was begun last; not a number where there is no value.
  virtual void Read(std::int64_t first, std::int64_t count, std::span<double> rows) = 0;
};

/// What a part has in common with another one: numbers counted from 1.
struct exo_OutNeighbour {
  int part = 0;
  std::vector<int> nodes, elements, sides;
};

/// What makes a file one of several.
struct exo_OutPart {
  int number = 0, count = 1;
  std::int64_t numNodes = 0, numElements = 0; ///< of the whole, as the sizes that follow
  std::vector<std::int64_t> blockSizes, setSizes, factorCounts;
  std::vector<int> insideNodes, borderNodes, insideElements, borderElements;
  std::vector<exo_OutNeighbour> neighbours;
};

/// Everything that is to stand in a file. Labels that are empty are not written.
struct exo_OutMesh {
  cow_String title;
  int numDims = 3;
  std::span<const float> xyz; ///< three a node, whatever the dimensions
  bme_Placement
      placement; ///< of these nodes: written as they are placed, in double precision unless it is none
  std::span<const int> nodeLabels;
  std::vector<int> elementLabels;
  std::vector<exo_OutBlock> blocks;
  std::vector<exo_OutSet> sets;
  std::vector<exo_OutMap> nodeMaps, elementMaps;
  std::vector<cow_String> coordinateNames; ///< one a dimension, or none
  std::vector<cow_String> programs;        ///< four for each: name, version, date, time
  std::vector<cow_String> information;     ///< lines
  std::vector<exo_OutProperty> properties;
  exo_OutResults* results = nullptr;
  const exo_OutPart* part = nullptr;
};

inline constexpr std::size_t exo_kLongestTitle = 80, exo_kLongestType = 32, exo_kLongestName = 255,
                             exo_kLongestRecord = 32, exo_kLongestLine = 80;

/// Writes and commits the file. The second is within the plug-in, for the first.
/// Errors     nex_TextException naming the file and what was written; see uti_OutputFile.
void exo_WriteFile(uti_OutputFile& output, const exo_OutMesh& mesh);
void exo_Write(uti_OutputFile& output, const exo_OutMesh& mesh);
