#include <BasicUtils/cls_Dump.h>

#include "db_Value.h"

#include <charconv>
#include <ostream>

namespace {
/// Prints one root after the other; what roots share is printed once.
class Dump {
public:
  Dump(db_File& file, std::ostream& out) : reader_(file), out_(out) {}

  void Root(const cow_String& name) {
    out_ << Escaped(name) << ": ";
    const long long row = reader_.File().Root(name);
    Object(
        row, [&] { return reader_.LoadObject(row, 0); }, 1);
  }

private:
  struct Place {
    const db_Object& parent;
    bool isEnum;
    int level;
  };

  template<class Load> void Object(long long row, const Load& load, int level) {
    if (const auto known = numbers_.find(row); known != numbers_.end()) {
      out_ << "= #" << known->second << '\n';
      return;
    }
    reader_.Enter(row);
    const auto object = load();
    out_ << object->record->Name();
    if (object->owner == 0) {
      numbers_.emplace(row, numbers_.size() + 1);
      out_ << " #" << numbers_.size();
    }
    out_ << '\n';
    const auto& attributes = object->record->Attributes();
    for (std::size_t field = 0; field < attributes.size(); ++field) {
      if (object->record->IsTimeStamp(attributes[field].name)) continue;
      Indent(level) << attributes[field].name << ": ";
      const Place place{*object, attributes[field].type == cls_AttributeType::Enum, level};
      std::visit([&](const auto& value) { Print(value, place); }, db_ValueOf(reader_, object, field));
    }
    reader_.Leave();
  }

  std::ostream& Indent(int level) {
    for (int i = 0; i < level; ++i) out_ << "  ";
    return out_;
  }

  void Print(std::monostate, const Place&) { out_ << "none\n"; }
  void Print(long long value, const Place&) { out_ << value << '\n'; }
  void Print(double value, const Place&) {
    Number(value);
    out_ << '\n';
  }
  void Print(const cow_String& text, const Place& place) {
    out_ << (place.isEnum ? Escaped(text) : Quoted(text)) << '\n';
  }
  void Print(const std::vector<cow_String>& texts, const Place& place) {
    out_ << texts.size() << (texts.size() == 1 ? " text\n" : " texts\n");
    for (const cow_String& text : texts) Indent(place.level + 1) << Quoted(text) << '\n';
  }
  void Print(const db_Numbers& numbers, const Place& place) {
    out_ << numbers.Size() << (numbers.Size() == 1 ? " number" : " numbers") << " in rows of "
         << numbers.width << '\n';
    numbers.Visit([&](const auto& values) {
      for (std::size_t i = 0; i < values.size(); ++i) {
        if (i % numbers.width == 0)
          Indent(place.level + 1);
        else
          out_ << ' ';
        Number(values[i]);
        if (i % numbers.width == numbers.width - 1) out_ << '\n';
      }
    });
  }
  void Print(const db_Children& children, const Place& place) {
    const auto child = [&](long long row, int below) {
      Object(
          row, [&] { return reader_.LoadChild(row, place.parent); }, below);
    };
    if (children.shape == db_Children::Shape::One) {
      child(children.entries.front().second, place.level + 1);
      return;
    }
    out_ << children.entries.size() << (children.entries.size() == 1 ? " object\n" : " objects\n");
    for (const auto& [key, row] : children.entries) {
      Indent(place.level + 1) << key << ": ";
      child(row, place.level + 2);
    }
  }

  template<class T> void Number(T value) {
    char text[40];
    out_.write(text, std::to_chars(text, text + sizeof text, value).ptr - text);
  }

  static cow_String Quoted(const cow_String& text) { return '"' + Escaped(text, true) + '"'; }

  /// The text with its control characters visible, and what would end its quotes.
  static cow_String Escaped(const cow_String& text, bool isQuoted = false) {
    constexpr const char* kDigits = "0123456789abcdef";
    cow_String result;
    for (const char c : text) {
      const auto code = static_cast<unsigned char>(c);
      if (isQuoted && (c == '"' || c == '\\'))
        result += {'\\', c};
      else if (c == '\n')
        result += "\\n";
      else if (code < 32 || code == 127)
        result += {'\\', 'x', kDigits[code / 16], kDigits[code % 16]};
      else
        result += c;
    }
    return result;
  }

  db_Reader reader_;
  std::ostream& out_;
  std::map<long long, std::size_t> numbers_; ///< of the objects printed so far, by row
};
} // namespace

void cls_Dump(const cls_Database& database, std::ostream& out) {
  if (database.IsOutdated()) return cls_Dump(database.Converted(), out);
  Dump dump(db_Access::FileOf(database), out);
  for (const cow_String& root : database.Roots()) dump.Root(root);
}
