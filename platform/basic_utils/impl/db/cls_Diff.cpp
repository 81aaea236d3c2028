#include <BasicUtils/cls_Diff.h>

#include "db_Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>

namespace {
template<class T> cow_String TextOf(T value) {
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

class Diff {
public:
  Diff(db_File& first, db_File& second, double tolerance)
      : readers_{db_Reader(first), db_Reader(second)}, tolerance_(tolerance) {}

  std::vector<cls_Difference> Run(const cow_List<cow_String>& first, const cow_List<cow_String>& second) {
    std::set<cow_String> names(first.begin(), first.end());
    names.insert(second.begin(), second.end());
    for (const cow_String& name : names) {
      const auto has = [&](int side) { return readers_[side].File().FindRoot(name); };
      const auto a = has(0), b = has(1);
      if (a && b)
        Objects(name, {readers_[0].LoadObject(*a, 0), readers_[1].LoadObject(*b, 0)});
      else
        found_.push_back({name, a ? "present" : "absent", b ? "present" : "absent"});
    }
    return std::move(found_);
  }

private:
  struct Pair {
    std::shared_ptr<db_Object> first, second;
  };

  void Objects(const cow_String& place, const Pair& pair) {
    if (!compared_.emplace(pair.first->id, pair.second->id).second) return;
    const cls_ClassMetadata& record = *pair.first->record;
    if (&record != pair.second->record) {
      found_.push_back({place, record.Name(), pair.second->record->Name()});
      return;
    }
    readers_[0].Enter(pair.first->id);
    for (std::size_t field = 0; field < record.Attributes().size(); ++field) {
      const cow_String& name = record.Attributes()[field].name;
      if (record.IsTimeStamp(name)) continue;
      const db_Value a = db_ValueOf(readers_[0], pair.first, field),
                     b = db_ValueOf(readers_[1], pair.second, field);
      cow_String here = place;
      here.append(".").append(name);
      if (a.index() != b.index())
        found_.push_back({here, Brief(a), Brief(b)});
      else
        std::visit([&]<class Value>(const Value& value) { Values(here, value, std::get<Value>(b), pair); },
                   a);
    }
    readers_[0].Leave();
  }

  void Values(const cow_String&, std::monostate, std::monostate, const Pair&) {}
  void Values(const cow_String& place, double a, double b, const Pair&) {
    if (!Same(a, b)) found_.push_back({place, TextOf(a), TextOf(b), 1, std::fabs(a - b)});
  }
  template<class Value> void Values(const cow_String& place, const Value& a, const Value& b, const Pair&) {
    if (a != b) found_.push_back({place, Brief(a), Brief(b)});
  }
  void Values(const cow_String& place, const std::vector<cow_String>& a, const std::vector<cow_String>& b,
              const Pair&) {
    if (a.size() != b.size()) found_.push_back({place, Brief(a), Brief(b)});
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
      if (a[i] != b[i]) found_.push_back({place + "[" + std::to_string(i) + "]", Brief(a[i]), Brief(b[i])});
  }
  void Values(const cow_String& place, const db_Numbers& a, const db_Numbers& b, const Pair&) {
    if (a.Size() != b.Size() || a.width != b.width) {
      found_.push_back({place, Brief(a), Brief(b)});
      return;
    }
    a.Visit([&]<class T>(std::span<const T> values) {
      const T* const others = reinterpret_cast<const T*>(b.bytes.data());
      cls_Difference difference;
      for (std::size_t i = 0; i < values.size(); ++i) {
        if (Same(values[i], others[i])) continue;
        if (difference.numbers++ == 0)
          difference = {place + "[" + std::to_string(i) + "]", TextOf(values[i]), TextOf(others[i]), 1, 0};
        difference.largest = std::max(
            difference.largest, std::fabs(static_cast<double>(values[i]) - static_cast<double>(others[i])));
      }
      if (difference.numbers > 0) found_.push_back(std::move(difference));
    });
  }
  void Values(const cow_String& place, const db_Children& a, const db_Children& b, const Pair& parents) {
    const auto at = [&](long long key) {
      return a.shape == db_Children::Shape::One ? place : place + "[" + std::to_string(key) + "]";
    };
    auto first = a.entries.begin(), second = b.entries.begin();
    while (first != a.entries.end() || second != b.entries.end()) {
      if (second == b.entries.end() || (first != a.entries.end() && first->first < second->first)) {
        found_.push_back({at(first++->first), "present", "absent"});
      } else if (first == a.entries.end() || second->first < first->first) {
        found_.push_back({at(second++->first), "absent", "present"});
      } else {
        Objects(at(first->first), {readers_[0].LoadChild(first->second, *parents.first),
                                   readers_[1].LoadChild(second->second, *parents.second)});
        ++first, ++second;
      }
    }
  }

  template<class T> bool Same(T a, T b) const {
    if constexpr (std::is_integral_v<T>) {
      return a == b;
    } else {
      const auto x = static_cast<double>(a), y = static_cast<double>(b);
      if (x == y || (std::isnan(x) && std::isnan(y))) return true;
      return std::fabs(x - y) <= tolerance_ * std::max({1.0, std::fabs(x), std::fabs(y)});
    }
  }

  static cow_String Brief(std::monostate) { return "none"; }
  static cow_String Brief(long long value) { return TextOf(value); }
  static cow_String Brief(double value) { return TextOf(value); }
  static cow_String Brief(const cow_String& text) { return "\"" + text + "\""; }
  static cow_String Brief(const std::vector<cow_String>& texts) {
    return std::to_string(texts.size()) + " texts";
  }
  static cow_String Brief(const db_Numbers& numbers) {
    return std::to_string(numbers.Size()) + " numbers in rows of " + std::to_string(numbers.width);
  }
  static cow_String Brief(const db_Children& children) {
    return std::to_string(children.entries.size()) + " objects";
  }
  static cow_String Brief(const db_Value& value) {
    return std::visit([](const auto& alternative) { return Brief(alternative); }, value);
  }

  db_Reader readers_[2];
  double tolerance_;
  std::set<std::pair<long long, long long>> compared_;
  std::vector<cls_Difference> found_;
};
} // namespace

std::vector<cls_Difference> cls_Diff(const cls_Database& first, const cls_Database& second,
                                     double tolerance) {
  if (first.IsOutdated()) return cls_Diff(first.Converted(), second, tolerance);
  if (second.IsOutdated()) return cls_Diff(first, second.Converted(), tolerance);
  return Diff(db_Access::FileOf(first), db_Access::FileOf(second), tolerance)
      .Run(first.Roots(), second.Roots());
}
