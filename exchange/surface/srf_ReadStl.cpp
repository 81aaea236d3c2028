#include "srf_Surface.h"

#include "fmt_Chunks.h"
#include "fmt_Coordinates.h"
#include "fmt_Input.h"
#include "fmt_Sets.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>

namespace {
constexpr std::size_t kHeader = 80, kStart = kHeader + sizeof(std::uint32_t), kRecord = 50;

/// Numbers for points as they come: those that are the same in all three numbers are one.
template<class Real> class Points {
public:
  using Point = std::array<Real, 3>;

  /// Memory for so many points in all is made at once.
  void Reserve(std::size_t count) {
    if (5 * count > 4 * tableSize_) MakeTable(std::bit_ceil(std::max<std::size_t>(1024, 5 * count / 4 + 1)));
  }
  /// The number of each point. Most corners stand in one of the triangles before: these are found among the
  /// points that were met last. For the others the table, which is larger than the cache, is read twice ahead
  /// of its use: the slot of a point, then the point that stands there.
  void Find(std::span<Point> points, std::span<int> found) {
    constexpr std::size_t kFar = 24, kNear = 12;
    Reserve(size_ + points.size());
    hashes_.resize(points.size());
    isFar_.assign(points.size() + kFar, 0);
    for (std::size_t i = 0; i < points.size(); ++i) {
      for (Real& x : points[i]) x += Real{0}; // -0 is 0
      hashes_[i] = Hash(points[i]);
    }
    const std::size_t mask = tableSize_ - 1;
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (const std::size_t far = i + kFar; far < points.size()) {
        isFar_[far] = !AreSame(recent_[hashes_[far] % kRecent].point, points[far]);
        if (isFar_[far]) __builtin_prefetch(&table_[hashes_[far] & mask]);
      }
      if (isFar_[i + kNear])
        if (const int index = table_[hashes_[i + kNear] & mask]; index >= 0) __builtin_prefetch(&At(index));
      Recent& recent = recent_[hashes_[i] % kRecent];
      if (!AreSame(recent.point, points[i])) recent = {points[i], Find(points[i], hashes_[i])};
      found[i] = recent.index;
    }
  }
  std::size_t Size() const { return size_; }

  /// All in order. Empty afterwards.
  void DrainTo(fmt_Coordinates& coordinates) {
    table_.reset();
    for (fmt_Piece<Point>& block : blocks_) {
      const std::size_t count = std::min(size_, kBlock);
      coordinates.Add(std::span<const Real>(block[0].data(), 3 * count));
      block.reset();
      size_ -= count;
    }
    blocks_.clear();
  }

private:
  static constexpr std::size_t kBlock = std::size_t{1} << 13, kRecent = std::size_t{1} << 13;
  static_assert(sizeof(Point) == 3 * sizeof(Real));

  const Point& At(int index) const {
    const auto at = static_cast<std::size_t>(index);
    return blocks_[at / kBlock][at % kBlock];
  }
  static bool AreSame(const Point& a, const Point& b) { // with one branch
    bool areSame = a[0] == b[0];
    areSame &= a[1] == b[1];
    areSame &= a[2] == b[2];
    return areSame;
  }
  static std::size_t Hash(const Point& point) {
    std::uint64_t mixed = 0;
    for (const Real x : point) {
      std::uint64_t bits = 0;
      std::memcpy(&bits, &x, sizeof x);
      mixed = (mixed ^ bits) * 0x9E3779B97F4A7C15U;
      mixed ^= mixed >> 29U;
    }
    return static_cast<std::size_t>(mixed);
  }
  int Find(const Point& point, std::size_t hash) {
    for (std::size_t slot = hash & (tableSize_ - 1);; slot = (slot + 1) & (tableSize_ - 1)) {
      if (table_[slot] < 0) {
        if (size_ % kBlock == 0) blocks_.push_back(fmt_MakePiece<Point>(kBlock));
        blocks_.back()[size_ % kBlock] = point;
        return table_[slot] = static_cast<int>(size_++);
      }
      if (AreSame(At(table_[slot]), point)) return table_[slot];
    }
  }
  void MakeTable(std::size_t size) {
    tableSize_ = size;
    table_.reset(); // it is made anew from the points
    table_ = fmt_MakePiece<int>(tableSize_);
    std::fill_n(table_.get(), tableSize_, -1);
    for (std::size_t i = 0; i < size_; ++i) {
      std::size_t slot = Hash(At(static_cast<int>(i))) & (tableSize_ - 1);
      while (table_[slot] >= 0) slot = (slot + 1) & (tableSize_ - 1);
      table_[slot] = static_cast<int>(i);
    }
  }

  /// A point that was found, at the place of its hash; no coordinate is a NaN.
  struct Recent {
    Point point{std::numeric_limits<Real>::quiet_NaN()};
    int index = -1;
  };

  std::vector<Recent> recent_ = std::vector<Recent>(kRecent);
  std::vector<fmt_Piece<Point>> blocks_; ///< points in order
  std::size_t size_ = 0;
  fmt_Piece<int> table_;             ///< of indices, -1 where there is none
  std::size_t tableSize_ = 0;        ///< a power of two
  std::vector<std::size_t> hashes_;  ///< of the points that are being found
  std::vector<unsigned char> isFar_; ///< for each of them whether it was not met lately
};

/// A named piece of an ascii file.
struct Solid {
  cow_String name;
  std::int64_t firstTriangle;
};

template<class Real> class Reader {
public:
  explicit Reader(fmt_Input& in) : in_(in) {}

  void ReadBinary() {
    in_.At("header", false);
    in_.Skip(kHeader);
    const auto count = in_.ReadOne<std::uint32_t>();
    points_.Reserve(count / 2); // as many as a closed surface has
    whole_.ResizeUninitialised(3 * std::size_t{count});
    room_ = whole_.Modify();
    for (std::size_t done = 0; done < count;) {
      in_.At("triangles from " + std::to_string(done + 1), false);
      const std::size_t now = std::min(kAtOnce, count - done);
      const std::string_view records = in_.Peek(kRecord * now);
      if (records.size() < kRecord * now) in_.Skip(kRecord * now); // says what is missing
      for (std::size_t at = 0; at < records.size(); at += kRecord) {
        std::array<Real, 12> numbers; // normal and corners
        std::uint16_t attribute = 0;
        std::memcpy(numbers.data(), &records[at], sizeof numbers);
        std::memcpy(&attribute, &records[at] + sizeof numbers, sizeof attribute);
        numAttributes_ += attribute != 0;
        AddTriangle(numbers);
      }
      in_.Skip(records.size());
      done += now;
    }
    AddWaiting();
    numLeft_ = static_cast<long long>(in_.Left());
  }

  void ReadAscii() {
    in_.At({});
    while (in_.SkipBlanks()) {
      Expect("solid");
      cow_String name(in_.Line());
      name.erase(0, name.find_first_not_of(" \t"));
      name.erase(name.find_last_not_of(" \t") + 1);
      solids_.push_back({name, numTriangles_});
      while (!IsNext("endsolid")) ReadFacet();
      in_.Line();
      AddWaiting();
    }
  }

  fmt_Import Build(const fmt_ReadOptions& options) {
    fmt_Import result;
    const auto meshId = static_cast<int>(options.meshId);
    fmt_Coordinates coordinates(in_.Name(), points_.Size(), options);
    points_.DrainTo(coordinates);
    auto nodes = std::make_unique<bme_NodeData>(coordinates.Take());
    result.rounding = coordinates.Rounding({});
    const exo_ElementType type = options.types.Find("TRI", 3, 3);
    cow_ArrayCOW<int> rows = std::move(whole_);
    rows.ResizeUninitialised(3 * static_cast<std::size_t>(numTriangles_)); // of a binary file all are there
    if (room_.empty()) rows_.DrainTo(rows.Modify());
    auto* elements = new bme_ElementClass(type.label, cls_xp2DArrayInt(3, std::move(rows)));
    auto* all = new bme_ElementData(&elements, 1);
    result.mesh = std::make_unique<bme_Mesh>(options.meshId, nodes.release(), all, bme_ORPHAN_MESH,
                                             coordinates.Transform());
    bme_ElementClass& made = result.mesh->ElementDataToModify().GetClassToModify(0);
    made.SetMeshIndex(meshId);
    if (solids_.size() == 1) result.title = solids_[0].name;
    made.SetCategoryLabel(result.title);
    result.blocks.push_back({1, "TRI3", type.label, type.supported, numTriangles_});
    if (solids_.size() > 1) AddSets(meshId, result.sets);
    const auto note = [&](const char* what, long long count, const char* detail = "") {
      if (count > 0) result.ledger.push_back({what, count, detail});
    };
    note("triangles with two corners at one place", numDegenerate_, "left out");
    note("normals against the order of the corners", numDisagreeing_, "the order of the corners holds");
    note("attributes of triangles", numAttributes_, "colours, in most files");
    note("bytes behind the triangles", numLeft_);
    return result;
  }

private:
  using Point = typename Points<Real>::Point;
  static constexpr std::size_t kAtOnce = 512; ///< triangles whose corners are found together

  static bool IsFinite(Real x) { return std::abs(x) <= Real{std::numeric_limits<float>::max()}; }

  bool IsNext(std::string_view word) {
    in_.SkipBlanks();
    if (!in_.Peek(word.size()).starts_with(word)) return false;
    in_.Word();
    return true;
  }
  void Expect(std::string_view word) {
    if (const cow_String found(in_.Word()); found != word)
      in_.Fail(found.empty() ? "the file ends where \"" + cow_String(word) + "\" should be"
                             : "there is no \"" + cow_String(word) + "\" where it should be");
  }

  void ReadFacet() {
    std::array<Real, 12> numbers;
    std::size_t next = 0;
    const auto readThree = [&](const char* what) {
      for (const std::size_t end = next + 3; next < end; ++next) numbers[next] = in_.Number<Real>(what);
    };
    Expect("facet");
    Expect("normal");
    ReadNormal(numbers);
    next = 3;
    Expect("outer");
    Expect("loop");
    for (int corner = 0; corner < 3; ++corner) {
      Expect("vertex");
      readThree("a coordinate");
    }
    Expect("endloop");
    Expect("endfacet");
    AddTriangle(numbers);
  }

  /// Of triangles without area some programs write what is no number.
  void ReadNormal(std::array<Real, 12>& numbers) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::string_view word = in_.Word();
      numbers[axis] = 0;
      const std::size_t sign = word.starts_with('+') ? 1 : 0;
      std::from_chars(word.data() + sign, word.data() + word.size(), numbers[axis]);
    }
  }

  /// A normal and three corners.
  void AddTriangle(const std::array<Real, 12>& numbers) {
    bool areFinite = true;
    for (std::size_t k = 3; k < numbers.size(); ++k) areFinite &= IsFinite(numbers[k]);
    if (!areFinite) RefuseTriangle(numbers);
    const std::size_t at = waiting_.size();
    waiting_.resize(at + 3);
    std::memcpy(&waiting_[at], &numbers[3], 3 * sizeof(Point));
    normals_.push_back({numbers[0], numbers[1], numbers[2]});
    if (normals_.size() == kAtOnce) AddWaiting();
  }

  [[noreturn]] void RefuseTriangle(const std::array<Real, 12>& numbers) const {
    const auto* const wrong = std::find_if_not(numbers.begin() + 3, numbers.end(), &IsFinite);
    in_.Fail("triangle " + std::to_string(numTriangles_ + numDegenerate_ + normals_.size() + 1) + ": "
             + std::to_string(*wrong) + " is no coordinate in single precision");
  }

  /// Numbers the corners of the triangles that wait for it, and adds them.
  void AddWaiting() {
    numbers_.resize(waiting_.size());
    points_.Find(waiting_, numbers_);
    for (std::size_t i = 0; i < normals_.size(); ++i) {
      const std::span<const int, 3> nodes(&numbers_[3 * i], 3);
      if (nodes[0] == nodes[1] || nodes[1] == nodes[2] || nodes[0] == nodes[2]) {
        ++numDegenerate_;
        continue;
      }
      numDisagreeing_ += Disagrees(normals_[i], std::span<const Point, 3>(&waiting_[3 * i], 3));
      const auto at = 3 * static_cast<std::size_t>(numTriangles_++);
      std::ranges::copy(nodes, (room_.empty() ? rows_.Add(3) : room_.subspan(at, 3)).begin());
    }
    waiting_.clear();
    normals_.clear();
  }

  /// True when the file's normal points against that of the corners.
  static bool Disagrees(const Point& normal, std::span<const Point, 3> corners) {
    const auto along = [&](std::size_t k, std::size_t axis) {
      return static_cast<double>(corners[k][axis]) - static_cast<double>(corners[0][axis]);
    };
    double product = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t b = (axis + 1) % 3, c = (axis + 2) % 3;
      product += static_cast<double>(normal[axis]) * (along(1, b) * along(2, c) - along(1, c) * along(2, b));
    }
    return product < 0;
  }

  /// Solids of one name are one set.
  void AddSets(int meshId, std::vector<bme_NamedSet>& sets) const {
    std::vector<std::pair<cow_String, fmt_SetPart>> found;
    std::map<cow_String, std::size_t> placeOf;
    for (std::size_t i = 0; i < solids_.size(); ++i) {
      const cow_String name = solids_[i].name.empty() ? "solid " + std::to_string(i + 1) : solids_[i].name;
      const auto [at, isNew] = placeOf.try_emplace(name, found.size());
      if (isNew) found.push_back({name, {0}});
      std::vector<int>& ids = found[at->second].second.ids;
      const std::int64_t end = i + 1 < solids_.size() ? solids_[i + 1].firstTriangle : numTriangles_;
      for (std::int64_t id = solids_[i].firstTriangle; id < end; ++id) ids.push_back(static_cast<int>(id));
    }
    for (const auto& [name, part] : found)
      sets.push_back(fmt_MakeSet(name, false, static_cast<int>(sets.size()) + 1, meshId, {&part, 1}));
  }

  fmt_Input& in_;
  Points<Real> points_;
  std::vector<Point> waiting_, normals_; ///< corners and normals of triangles that are not numbered yet
  std::vector<int> numbers_;             ///< of their corners
  fmt_Chunks<int> rows_;                 ///< of an ascii file, which does not say how many there are
  cow_ArrayCOW<int> whole_;              ///< of a binary one
  std::span<int> room_;                  ///< all of `whole_`
  std::vector<Solid> solids_;
  std::int64_t numTriangles_ = 0;
  long long numDegenerate_ = 0, numDisagreeing_ = 0, numAttributes_ = 0, numLeft_ = 0;
};

/// What the number of triangles after the header makes of the length; 0 for a file that is shorter.
std::uint64_t BinaryLength(std::string_view start) {
  if (start.size() < kStart) return 0;
  std::uint32_t count = 0;
  std::memcpy(&count, start.data() + kHeader, sizeof count);
  return kStart + kRecord * std::uint64_t{count};
}
} // namespace

bool srf_RecognisesStl(std::string_view start) {
  constexpr std::size_t kMost = 4096; // a shorter file is here whole
  if (start.size() < kMost && start.size() >= kStart && BinaryLength(start) == start.size()) return true;
  const std::size_t first = start.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || !start.substr(first).starts_with("solid")) return false;
  return start.find("facet") != std::string_view::npos || start.find("endsolid") != std::string_view::npos;
}

fmt_Import srf_ReadStl(const cow_String& file, const fmt_ReadOptions& options) {
  fmt_Input in(file);
  const std::string_view start = in.Peek(kStart);
  const std::uint64_t length = BinaryLength(start);
  const std::size_t first = std::min(start.size(), start.find_first_not_of(" \t\r\n"));
  const bool isText = length != in.Size() && start.substr(first).starts_with("solid");
  if (isText) {
    Reader<double> reader(in);
    reader.ReadAscii();
    return reader.Build(options);
  }
  if (length == 0 || length > in.Size())
    throw nex_TextException(file
                            + ": is neither ascii, which begins with \"solid\", nor binary, which would have "
                            + std::to_string(std::max<std::uint64_t>(length, kStart)) + " bytes, not "
                            + std::to_string(in.Size()));
  Reader<float> reader(in);
  reader.ReadBinary();
  return reader.Build(options);
}
