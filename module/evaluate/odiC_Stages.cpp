#include "odiC_Stages.h"

#include "odiC_BlockMap.h"

#include <CoreGeometry/odiC_Selection.h>
#include <algorithm>
#include <cmath>
#include <tuple>

namespace {
class AsStored final : public odiC_Source {
public:
  AsStored(odiC_FieldReader reader, odiC_Places places)
      : odiC_Source(std::move(places), reader.NumComponents()), reader_(std::move(reader)) {}
  void Read(int firstRow, std::span<double> values) override { reader_.Read(firstRow, values); }

private:
  odiC_FieldReader reader_;
};

/// Both planes of a complex field, and what is made of them.
template<class Make> class Complex final : public odiC_Source {
public:
  Complex(odiC_FieldReader reader, odiC_Places places, int width, Make make)
      : odiC_Source(std::move(places), width), reader_(reader), other_(std::move(reader)),
        make_(std::move(make)) {}
  void Read(int firstRow, std::span<double> values) override {
    const std::size_t rows = values.size() / static_cast<std::size_t>(NumComponents());
    first_.resize(rows * static_cast<std::size_t>(reader_.NumComponents()));
    second_.resize(first_.size());
    reader_.Read(firstRow, first_);
    other_.Read(static_cast<long long>(firstRow) + Layout().numRows, second_);
    make_(first_, second_, values);
  }

private:
  odiC_FieldReader reader_, other_; ///< each keeps a chunk of its plane
  Make make_;
  std::vector<double> first_, second_;
};
template<class Make>
odiC_SourcePointer MakeComplex(odiC_FieldReader reader, odiC_Places places, int width, Make make) {
  return std::make_unique<Complex<Make>>(std::move(reader), std::move(places), width, std::move(make));
}

class Restricted final : public odiC_Source {
public:
  Restricted(odiC_SourcePointer from, odiC_Places places)
      : odiC_Source(std::move(places), from->NumComponents()), from_(std::move(from)) {}
  void Read(int firstRow, std::span<double> values) override { from_->Read(firstRow, values); }
  int SectionPointOf(int row) override { return from_->SectionPointOf(row); }

private:
  odiC_SourcePointer from_;
};

/// Whether two blocks hold values of the same places at different section points.
bool AreOfOneSection(const odiC_LayoutBlock& a, const odiC_LayoutBlock& b) {
  return a.position == b.position && a.classIndex == b.classIndex && a.region == b.region
         && a.valuesPerEntity == b.valuesPerEntity && a.classIndex >= 0;
}

/// Blocks that differ in their section point only become one, with the entities of all of them.
class Envelope final : public odiC_Source {
public:
  struct Member {
    odiC_BlockMap map;
    int sectionPoint;
  };
  using Members = std::vector<std::vector<Member>>; ///< of each block, from the bottom to the top
  Envelope(odiC_SourcePointer from, odiC_Places places, Members members)
      : odiC_Source(std::move(places), 1), from_(std::move(from)), members_(std::move(members)) {}

  void Read(int firstRow, std::span<double> values) override {
    std::ranges::fill(values, std::nan(""));
    below_.resize(values.size());
    for (Member& member : members_[static_cast<std::size_t>(odiC_BlockOf(Layout(), firstRow))]) {
      member.map.Read(*from_, firstRow, below_);
      for (std::size_t i = 0; i < values.size(); ++i)
        if (IsBetter(below_[i], values[i])) values[i] = below_[i];
    }
  }
  int SectionPointOf(int row) override {
    const auto block = static_cast<std::size_t>(odiC_BlockOf(Layout(), row));
    const int each = Layout().blocks[block].valuesPerEntity;
    const int within = (row - Layout().blocks[block].firstRow) % each;
    std::vector<double> values(static_cast<std::size_t>(each));
    double best = std::nan("");
    int point = -1;
    for (Member& member : members_[block]) {
      member.map.Read(*from_, row - within, values);
      if (const double value = values[static_cast<std::size_t>(within)]; IsBetter(value, best)) {
        best = value;
        point = member.sectionPoint;
      }
    }
    return point;
  }

private:
  static bool IsBetter(double value, double best) {
    return !std::isnan(value) && (std::isnan(best) || std::abs(value) > std::abs(best));
  }
  odiC_SourcePointer from_;
  Members members_;
  std::vector<double> below_;
};

} // namespace

bool odiC_AreOfOneKind(const odiC_LayoutBlock& a, const odiC_LayoutBlock& b) {
  return a.position == b.position && a.classIndex == b.classIndex && a.sectionPoint == b.sectionPoint
         && a.region == b.region && a.valuesPerEntity == b.valuesPerEntity;
}

odiC_LayoutBlock odiC_UnionBlock(std::span<const odiC_LayoutBlock* const> blocks) {
  odiC_LayoutBlock all = *blocks.front();
  std::vector<std::pair<int, int>> entities; // with the face
  for (const odiC_LayoutBlock* block : blocks)
    for (int at = 0; at < block->numEntities; ++at)
      entities.emplace_back(block->Entity(at),
                            block->HasFaces() ? block->faces.Const()[static_cast<std::size_t>(at)] : 0);
  std::ranges::sort(entities);
  entities.erase(std::unique(entities.begin(), entities.end()), entities.end());
  all.numEntities = static_cast<int>(entities.size());
  std::vector<int> ids, faces;
  for (const auto& [entity, face] : entities) {
    ids.push_back(entity);
    faces.push_back(face);
  }
  all.entities = {};
  all.entities.Append(std::span<const int>(ids));
  if (all.HasFaces()) {
    all.faces = {};
    all.faces.Append(std::span<const int>(faces));
  }
  return all;
}

odiC_Places::Layout odiC_UnionLayout(std::span<const odiC_Places::Layout> layouts) {
  if (std::ranges::all_of(layouts, [&](const auto& one) { return one == layouts[0]; })) return layouts[0];
  std::vector<std::vector<const odiC_LayoutBlock*>> groups;
  for (const odiC_Places::Layout& layout : layouts)
    for (const odiC_LayoutBlock& block : layout->blocks) {
      const auto same = std::ranges::find_if(
          groups, [&](const auto& group) { return odiC_AreOfOneKind(*group[0], block); });
      if (same == groups.end())
        groups.push_back({&block});
      else
        same->push_back(&block);
    }
  const auto order = [](const odiC_LayoutBlock* block) {
    return std::tuple(static_cast<int>(block->position), block->classIndex, block->sectionPoint,
                      block->region);
  };
  std::ranges::stable_sort(groups, {}, [&](const auto& group) { return order(group[0]); });
  auto all = std::make_shared<odiC_Layout>();
  for (const auto& group : groups) all->Add(odiC_UnionBlock(group));
  all->completeness = res_PARTIAL_FIELD;
  return all;
}

odiC_SourcePointer odiC_AsStored(odiC_FieldReader reader, odiC_Places places) {
  return std::make_unique<AsStored>(std::move(reader), std::move(places));
}
odiC_SourcePointer odiC_Shown(odiC_FieldReader reader, odiC_Places places, odiC_ComplexDisplay display) {
  const int width = reader.NumComponents();
  return MakeComplex(std::move(reader), std::move(places), width,
                     [display](const auto& first, const auto& second, std::span<double> shown) {
                       display.Apply(first, second, shown);
                     });
}
odiC_SourcePointer odiC_PeakOf(odiC_FieldReader reader, odiC_Places places, odiC_Peak peak) {
  return MakeComplex(std::move(reader), std::move(places), 1,
                     [peak](const auto& first, const auto& second, std::span<double> peaks) {
                       peak.Apply(first, second, peaks);
                     });
}

odiC_SourcePointer odiC_Restricted(odiC_SourcePointer from, odiC_Places places) {
  return std::make_unique<Restricted>(std::move(from), std::move(places));
}

bool odiC_HasSeveralSectionPoints(const odiC_Places& places) {
  std::vector<const odiC_LayoutBlock*> seen;
  int last = -1;
  for (const odiC_RowRun& run : places.Runs())
    for (int at = std::max(last, odiC_BlockOf(*places.SharedLayout(), run.first));
         at <= odiC_BlockOf(*places.SharedLayout(), run.End() - 1); ++at) {
      const odiC_LayoutBlock& block = places.SharedLayout()->blocks[static_cast<std::size_t>(at)];
      if (at == last || block.sectionPoint < 0) continue;
      if (std::ranges::any_of(seen, [&](const auto* one) {
            return AreOfOneSection(*one, block) && one->sectionPoint != block.sectionPoint;
          }))
        return true;
      seen.push_back(&block);
      last = at;
    }
  return false;
}

odiC_SourcePointer odiC_Envelope(const odiC_Run& run, odiC_SourcePointer from) {
  const std::vector<odiC_LayoutBlock>& blocks = from->Layout().blocks;
  auto layout = std::make_shared<odiC_Layout>();
  std::vector<std::vector<const odiC_LayoutBlock*>> groups;
  for (const odiC_LayoutBlock& block : blocks) {
    const auto same =
        std::ranges::find_if(groups, [&](const auto& group) { return AreOfOneSection(*group[0], block); });
    if (same == groups.end())
      groups.push_back({&block});
    else
      same->push_back(&block);
  }
  for (std::vector<const odiC_LayoutBlock*>& group : groups) {
    // unknown offsets leave the order of the points as it is
    std::ranges::stable_sort(group, [&](const auto* a, const auto* b) {
      return odiC_SectionOffset(run, *a) < odiC_SectionOffset(run, *b);
    });
    odiC_LayoutBlock block = group.size() == 1 ? *group[0] : odiC_UnionBlock(group);
    if (group.size() > 1) block.sectionPoint = -1;
    layout->Add(std::move(block));
  }
  layout->completeness = from->Layout().completeness;
  const odiC_Places::Layout shared = std::move(layout);
  odiC_Places places(shared);
  Envelope::Members members(groups.size());
  for (std::size_t i = 0; i < groups.size(); ++i) {
    odiC_Places ofBlock(shared);
    for (const odiC_LayoutBlock* block : groups[i]) {
      members[i].push_back({odiC_BlockMap(shared->blocks[i], *block), block->sectionPoint});
      odiC_Places rows(shared);
      members[i].back().map.AddPlaces(*from, rows);
      ofBlock = ofBlock.Or(rows);
    }
    for (const odiC_RowRun& rows : ofBlock.Runs()) places.Add(rows.first, rows.count);
  }
  return std::make_unique<Envelope>(std::move(from), std::move(places), std::move(members));
}

odiC_SourcePointer odiC_Interpolated(odiC_SourcePointer a, odiC_SourcePointer b, double share,
                                     odiC_Between how) {
  const int width = a->NumComponents();
  std::vector<odiC_SourcePointer> frames;
  frames.push_back(std::move(a));
  frames.push_back(std::move(b));
  return odiC_Combined(
      std::move(frames), width,
      [share, how, width](int, std::span<const double> both, std::span<double> made) {
        const std::span<const double> first = both.first(made.size()), second = both.subspan(made.size());
        if (how == odiC_Between::Nearer) {
          std::ranges::copy(share <= 0.5 ? first : second, made.begin());
          return;
        }
        const auto step = static_cast<std::size_t>(width);
        for (std::size_t row = 0; row < made.size(); row += step) {
          double sign = 1;
          if (how == odiC_Between::Quaternions) { // q and -q are the same turn: take the nearer one
            double dot = 0;
            for (std::size_t k = 0; k < step; ++k) dot += first[row + k] * second[row + k];
            sign = dot < 0 ? -1 : 1;
          }
          double square = 0;
          for (std::size_t k = 0; k < step; ++k) {
            const double from = first[row + k];
            made[row + k] = from + share * (sign * second[row + k] - from);
            square += made[row + k] * made[row + k];
          }
          if (how == odiC_Between::Quaternions && square > 0)
            for (std::size_t k = 0; k < step; ++k) made[row + k] /= std::sqrt(square);
        }
      });
}
