#include <CoreGeometry/dst_Split.h>

#include "dst_Assign.h"
#include "dst_ChunkGraph.h"
#include "dst_Hash.h"

#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
constexpr std::uint64_t kElementsPerPart = 4000000;
constexpr std::size_t kLeastMemory = std::size_t{32} << 20;

const char* NameOf(dst_Method method) {
  return method == dst_Method::Auto ? "auto" : method == dst_Method::Metis ? "metis" : "curve";
}

/// What a stopped run left: the words of its steps.
class State {
public:
  explicit State(const fs::path& work) : file_(work / "state") {
    std::ifstream in(file_);
    for (cow_String key, value; in >> key >> value;) values_[key] = value;
  }
  cow_String Of(const cow_String& key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? cow_String() : found->second;
  }
  void Store(const cow_String& key, const cow_String& value) {
    values_[key] = value;
    const fs::path next = file_.string() + ".new";
    std::ofstream out(next);
    for (const auto& [name, text] : values_) out << name << ' ' << text << '\n';
    out.close();
    if (!out) throw nex_TextException(next.string() + ": cannot be written");
    fs::rename(next, file_);
  }

private:
  fs::path file_;
  std::map<cow_String, cow_String> values_;
};

class Splitter {
public:
  Splitter(const dst_Source& source, cow_String folder, const dst_SplitOptions& options)
      : source_(source), facts_(source.Facts()), folder_(std::move(folder)),
        work_(fs::path(folder_) / ".work"), options_(options) {
    if (options_.parts == 0)
      options_.parts = static_cast<unsigned>(
          std::max<std::uint64_t>(1, (facts_.NumElements() + kElementsPerPart - 1) / kElementsPerPart));
    if (options_.memory == 0)
      options_.memory = static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES))
                        * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 4;
  }

  dst_SplitReport Run() {
    CheckSizes();
    const double begun = dst_ProcessorSeconds();
    const dst_Survey survey = dst_SurveyOf(source_);
    dst_SplitSeconds seconds{.survey = dst_ProcessorSeconds() - begun};
    CheckFolder(survey.fingerprint);
    CheckSpace();
    fs::create_directories(work_);
    State state(work_);
    if (state.Of("identity").empty()) {
      state.Store("fingerprint", survey.fingerprint);
      state.Store("identity", Identity(survey.fingerprint));
    }
    dst_WorkFile parts((work_ / "parts").string(), true);
    dst_Assigned assigned;
    const cow_String before = state.Of("assigned");
    if (!before.empty() && before == HashOf(parts)) {
      assigned.numChunks = static_cast<unsigned>(std::stoul("0" + state.Of("chunks")));
      assigned.numPieces = std::stoull("0" + state.Of("pieces"));
    } else {
      assigned = dst_Assign(source_, survey, options_, work_.string(), parts);
      state.Store("chunks", std::to_string(assigned.numChunks));
      state.Store("pieces", std::to_string(assigned.numPieces));
      state.Store("assigned", HashOf(parts));
    }
    const double assignedAt = dst_ProcessorSeconds();
    seconds.graph = assigned.graphSeconds;
    seconds.metis = assigned.metisSeconds;
    seconds.curve = assignedAt - begun - seconds.survey - seconds.graph - seconds.metis;
    unsigned numKept = 0;
    const dst_WriteOptions writing{.memory = MemoryForBuckets(),
                                   .origin = {.identity = Identity(survey.fingerprint),
                                              .fingerprint = survey.fingerprint,
                                              .method = NameOf(options_.method),
                                              .seed = options_.seed},
                                   .doContinue = true,
                                   .onPart = [&](unsigned, bool isKept) { numKept += isKept ? 1U : 0U; }};
    const dst_Index index = dst_WriteSplit(
        source_, [&](std::uint64_t first, std::span<unsigned> to) { parts.Read<unsigned>(first, to); },
        options_.parts, folder_, writing);
    dst_SplitReport report = dst_ReportOn(index);
    report.numChunks = assigned.numChunks;
    report.numPieces = assigned.numPieces;
    report.numKept = numKept;
    seconds.parts = dst_ProcessorSeconds() - assignedAt;
    report.seconds = seconds;
    return report;
  }

  dst_SplitPlan Plan() const {
    CheckSizes();
    const unsigned chunks =
        options_.method == dst_Method::Curve ? 0 : dst_NumChunks(facts_.NumElements(), options_);
    return {options_.parts, chunks, options_.memory, Space()};
  }

private:
  cow_String Identity(const cow_String& fingerprint) const {
    dst_Hash hash;
    hash.Add(fingerprint);
    hash.Add(options_.parts);
    hash.Add(cow_String(NameOf(options_.method)));
    hash.Add(dst_NumChunks(facts_.NumElements(), options_));
    hash.Add(options_.weightNodes ? 1U : 0U);
    hash.Add(static_cast<unsigned>(options_.seed));
    return hash.Text();
  }

  void CheckSizes() const {
    const std::uint64_t elements = facts_.NumElements();
    if (options_.parts > elements)
      throw nex_TextException(std::to_string(options_.parts) + " parts: the mesh \"" + facts_.mesh
                              + "\" has only " + std::to_string(elements) + " elements");
    const std::uint64_t size = (elements + options_.parts - 1) / options_.parts;
    if (size > bme_kMaxWordElements)
      throw nex_TextException(std::to_string(options_.parts) + " parts: part size " + std::to_string(size)
                              + " is above " + std::to_string(bme_kMaxWordElements) + " elements; use "
                              + std::to_string((elements + bme_kMaxWordElements - 1) / bme_kMaxWordElements)
                              + " parts or more");
  }

  void CheckFolder(const cow_String& fingerprint) const {
    if (!dst_SplitFolder::IsOne(folder_)) {
      if (std::error_code ignored; fs::exists(folder_, ignored) && !fs::is_empty(folder_, ignored))
        throw nex_TextException(folder_ + ": exists and is no split model; give another name");
      return;
    }
    cow_String identity, before;
    try {
      const dst_Origin origin = dst_SplitFolder(folder_).Index().Origin();
      identity = origin.identity;
      before = origin.fingerprint;
    } catch (const nex_TextException&) { // not finished
      const State state(work_);
      identity = state.Of("identity");
      before = state.Of("fingerprint");
    }
    if (identity == Identity(fingerprint)) return;
    if (identity.empty()) return; // nothing but parts, each of which says what split it is of
    if (!options_.doForce)
      throw nex_TextException(folder_
                              + (before == fingerprint ? ": was split, or begun, with other options"
                                                       : ": the source changed since it was split, or begun")
                              + "; force replaces it");
    fs::remove_all(folder_);
  }

  /// Bytes of the mesh as it is stored.
  std::uint64_t SourceBytes() const {
    std::uint64_t bytes = 16 * facts_.numNodes;
    for (const dst_ClassRange& range : facts_.classes)
      bytes += range.NumElements() * (4 * static_cast<std::uint64_t>(range.NodesPerElement()) + 4);
    return bytes;
  }

  std::uint64_t Space() const { return 3 * SourceBytes() + 65536 * std::uint64_t{options_.parts}; }

  void CheckSpace() const {
    std::error_code failed;
    const fs::path at = fs::absolute(folder_).parent_path();
    const fs::space_info space = fs::space(at, failed);
    const std::uint64_t needed = Space();
    if (failed || space.available >= needed) return;
    throw nex_TextException("not enough space: needs " + std::to_string(needed / 1000000) + " MB in "
                            + work_.string() + ", " + std::to_string(space.available / 1000000) + " MB free");
  }

  /// The whole less one part, twice while it is sorted.
  std::size_t MemoryForBuckets() const {
    const std::uint64_t part = 4 * SourceBytes() / options_.parts;
    return options_.memory > part + kLeastMemory ? options_.memory - static_cast<std::size_t>(part)
                                                 : kLeastMemory;
  }

  /// Of the file of parts, empty when it is not as long as it must be.
  cow_String HashOf(const dst_WorkFile& parts) const {
    std::error_code failed;
    if (fs::file_size(parts.Name(), failed) != 4 * facts_.NumElements() || failed) return {};
    dst_Hash hash;
    std::vector<unsigned> window;
    for (std::uint64_t first = 0; first < facts_.NumElements(); first += window.size()) {
      window.resize(std::min<std::uint64_t>(1 << 20, facts_.NumElements() - first));
      parts.Read<unsigned>(first, window);
      hash.Add(std::span<const unsigned>(window));
    }
    return hash.Text();
  }

  const dst_Source& source_;
  const dst_SourceFacts& facts_;
  cow_String folder_;
  fs::path work_;
  dst_SplitOptions options_;
};
} // namespace

dst_SplitReport dst_Split(const dst_Source& source, const cow_String& folder,
                          const dst_SplitOptions& options) {
  return Splitter(source, folder, options).Run();
}

dst_SplitPlan dst_PlanOf(const dst_Source& source, const dst_SplitOptions& options) {
  return Splitter(source, {}, options).Plan();
}

dst_SplitReport dst_ReportOn(const dst_Index& index) {
  dst_SplitReport report{.index = index};
  std::uint64_t held = 0, largest = 0;
  for (unsigned part = 0; part < index.NumParts(); ++part) {
    const dst_PartFacts facts = index.Part(part);
    held += facts.numNodes;
    largest = std::max(largest, facts.numElements);
    report.mostNeighbours = std::max(report.mostNeighbours, static_cast<unsigned>(facts.neighbours.size()));
  }
  if (index.NumElements() > 0)
    report.balance =
        static_cast<double>(largest) * index.NumParts() / static_cast<double>(index.NumElements());
  if (index.NumNodes() > 0)
    report.copies = static_cast<double>(held - index.NumNodes()) / static_cast<double>(index.NumNodes());
  return report;
}
