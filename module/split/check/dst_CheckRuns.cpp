#include "dst_CheckRuns.h"

#include "dst_Runs.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/uti_Fingerprint.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <array>
#include <optional>

namespace {
/// A hash of all values of a variable at a shared node.
struct Record {
  unsigned node, variable, part;
  std::array<unsigned, 2> hash;
  auto operator<=>(const Record&) const = default;
};

class Checker {
public:
  Checker(const dst_SplitFolder& split, const dst_Referees& referees, const dst_AddToRuns& add)
      : split_(split), index_(split.OpenIndexFile()), add_(add), referees_(referees) {
    for (const cow_String& root : index_.RootsOf({odiC_Results::TypeId()})) {
      runs_.push_back(odiC_Run::Open(index_, root));
      firstVariables_.push_back(static_cast<unsigned>(names_.size()));
      const cow_String own = root.substr(cow_String(dst_kSplitFolder).size());
      for (const odiC_Variable& variable : runs_.back().Header().variables)
        names_.push_back(variable.name + " of " + own);
    }
  }

  bool IsEmpty() const noexcept { return runs_.empty(); }

  void CheckPart(unsigned part, dst_Exchange& exchange) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    const cls_Database model = split_.OpenPartFile(part);
    const auto facts = model.Get<dst_Part>(dst_kPartRoot);
    records_.assign(split_.NumParts(), {});
    for (std::size_t run = 0; run < runs_.size(); ++run) try {
        CheckRun(model, *facts, run);
      } catch (const cls_BusyException&) {
        throw;
      } catch (const nex_Exception& failure) {
        add_(part, part, false, failure.Message());
      }
    for (unsigned to = 0; to < records_.size(); ++to) exchange.SendRecords(part, to, records_[to]);
  }

  void Compare(unsigned referee, std::vector<Record> records) const {
    std::ranges::sort(records);
    for (std::size_t i = 1; i < records.size(); ++i) {
      const Record &one = records[i - 1], &other = records[i];
      if (one.node == other.node && one.variable == other.variable && one.hash != other.hash)
        add_(referee, other.part, true,
             "node " + std::to_string(one.node) + " has other values of " + names_[one.variable] + " in part "
                 + std::to_string(one.part) + " than in part " + std::to_string(other.part));
    }
  }

private:
  void CheckRun(const cls_Database& model, const dst_Part& part, std::size_t number) {
    const odiC_Run& whole = runs_[number];
    const odiC_Run run = odiC_Run::Open(model, whole.Root().substr(cow_String(dst_kSplitFolder).size()));
    const odiC_Results& header = whole.Header();
    std::map<int, std::size_t> numRows; // of the layouts of the whole
    for (unsigned v = 0; v < header.variables.size(); ++v) {
      std::vector<std::uint64_t> hashes(part.NumShared());
      for (int s = 0; s < static_cast<int>(header.steps.size()); ++s)
        for (int f = 0; f < header.steps[static_cast<std::size_t>(s)].NumFrames(); ++f) {
          const int variable = static_cast<int>(v);
          if (!whole.HasField(s, f, variable)) continue;
          const int layout = whole.LayoutOf(s, f, variable);
          if (!numRows.contains(layout))
            numRows[layout] = dst_Cut(*whole.Layout(layout), split_.Index(), part).rows.size();
          if (numRows[layout] > 0)
            AddField(run, s, f, variable, numRows[layout], part, hashes);
          else if (run.HasField(s, f, variable))
            Fail(run, s, f, variable, 0);
        }
      for (unsigned shared = 0; shared < hashes.size(); ++shared) {
        if (hashes[shared] == 0) continue; // it has no values
        const unsigned node = part.NodeNumbers()[part.SharedNodes()[shared]];
        records_[referees_.Of(node)].push_back(
            {node,
             firstVariables_[number] + v,
             part.Number(),
             {static_cast<unsigned>(hashes[shared] >> 32), static_cast<unsigned>(hashes[shared])}});
      }
    }
  }

  [[noreturn]] void Fail(const odiC_Run& run, int step, int frame, int variable, std::size_t numRows) const {
    const odiC_Results& header = run.Header();
    const auto v = static_cast<std::size_t>(variable);
    throw nex_TextException(
        run.Model().File() + ", " + run.Root() + ", step " + std::to_string(step + 1) + ", frame "
        + std::to_string(frame) + ": "
        + (v < header.variables.size() ? header.variables[v].name : "variable " + std::to_string(variable))
        + " must have " + std::to_string(numRows) + " rows in this part");
  }

  /// Joins the values at shared nodes to their hashes.
  void AddField(const odiC_Run& run, int step, int frame, int variable, std::size_t numRows,
                const dst_Part& part, std::span<std::uint64_t> hashes) const {
    if (!run.HasField(step, frame, variable)) Fail(run, step, frame, variable, numRows);
    odiC_FieldReader field = run.Field(step, frame, variable);
    const odiC_Layout& layout = field.Layout();
    if (static_cast<std::size_t>(layout.numRows) != numRows) Fail(run, step, frame, variable, numRows);
    std::vector<int> rows;
    std::vector<unsigned> of;
    std::vector<std::uint64_t> places;
    for (const odiC_LayoutBlock& block : layout.blocks) {
      if (!block.IsNodal()) continue;
      const std::uint64_t place = Bits(block.region + "," + std::to_string(block.sectionPoint));
      for (unsigned shared = 0; shared < part.NumShared(); ++shared)
        if (const int at = block.Find(static_cast<int>(part.SharedNodes()[shared])); at >= 0) {
          rows.push_back(block.firstRow + at);
          of.push_back(shared);
          places.push_back(place + static_cast<std::uint64_t>(frame) * 1000003
                           + static_cast<std::uint64_t>(step) * 8191);
        }
    }
    const auto join = [&](const auto& values) {
      const auto all = values.Const();
      const std::size_t planes = layout.numRows == 0 ? 0
                                                     : static_cast<std::size_t>(field.NumRows())
                                                           / static_cast<std::size_t>(layout.numRows),
                        width = static_cast<std::size_t>(field.NumComponents());
      for (std::size_t plane = 0; plane < planes; ++plane)
        for (std::size_t i = 0; i < rows.size(); ++i)
          hashes[of[i]] = Mixed(hashes[of[i]], places[i],
                                std::as_bytes(all.subspan((plane * rows.size() + i) * width, width)));
    };
    std::visit(join, dst_ReadRows(field, rows));
  }

  static std::uint64_t Bits(const cow_String& text) {
    return Mixed(0, 0, std::as_bytes(std::span<const char>(text.data(), text.size())));
  }
  /// Never 0.
  static std::uint64_t Mixed(std::uint64_t hash, std::uint64_t place, std::span<const std::byte> bytes) {
    const auto own = uti_Fingerprint(bytes);
    const std::array<std::uint64_t, 4> words{hash, place, own[0], own[1]};
    return uti_Fingerprint(std::as_bytes(std::span(words)))[0] | 1;
  }

  const dst_SplitFolder& split_;
  cls_Database index_;
  const dst_AddToRuns& add_;
  dst_Referees referees_;
  std::vector<std::vector<Record>> records_; ///< of the part at hand, to each referee
  std::vector<odiC_Run> runs_;               ///< of the whole, in the index
  std::vector<unsigned> firstVariables_;
  std::vector<cow_String> names_; ///< of the variables of all runs
};
} // namespace

void dst_CheckRuns(const dst_SplitFolder& split, dst_Exchange& exchange, const dst_Referees& referees,
                   const dst_AddToRuns& add) {
  std::optional<Checker> checker;
  exchange.OnEachRank([&] { checker.emplace(split, referees, add); });
  exchange.Agree();
  if (checker->IsEmpty()) return;
  exchange.ForEachPart([&](unsigned part) { checker->CheckPart(part, exchange); });
  exchange.Deliver();
  exchange.ForEachPart(
      [&](unsigned referee) { checker->Compare(referee, exchange.ReceivedRecords<Record>(referee)); });
}
