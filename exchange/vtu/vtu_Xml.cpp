#include "vtu_Xml.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <algorithm>
#include <expat.h>

namespace {
constexpr std::size_t kBuffer = std::size_t{1} << 18;

class Parser {
public:
  Parser(const cow_String& file, const vtu_XmlHandler& handler)
      : file_(file), handler_(handler), parser_(XML_ParserCreate(nullptr)) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, &Parser::Begin, &Parser::End);
    XML_SetStartDoctypeDeclHandler(parser_, &Parser::Doctype);
  }
  ~Parser() { XML_ParserFree(parser_); }
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  void Run() {
    std::ifstream in(file_, std::ios::binary);
    if (!in) throw nex_TextException(file_ + ": cannot be opened");
    std::vector<char> buffer(kBuffer);
    for (bool isLast = false; !isLast && !isAtData_;) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      in.read(buffer.data(), kBuffer);
      std::string_view rest(buffer.data(), static_cast<std::size_t>(in.gcount()));
      isLast = rest.size() < kBuffer;
      while (!rest.empty() && !isAtData_) {
        if (isInArray_) Skip(rest);
        // one tag at a time, so that what follows it may be left out
        const std::string_view tag = rest.substr(0, rest.find('>') + 1);
        Parse(tag.empty() ? rest : tag, false);
        rest.remove_prefix(tag.empty() ? rest.size() : tag.size());
      }
    }
    if (!isAtData_) Parse({}, true);
  }

private:
  cow_String Place() const {
    return "line "
           + std::to_string(static_cast<std::int64_t>(XML_GetCurrentLineNumber(parser_)) + linesSkipped_);
  }
  std::int64_t Position() const { return XML_GetCurrentByteIndex(parser_) + skipped_; }

  void Parse(std::string_view text, bool isLast) {
    if (XML_Parse(parser_, text.data(), static_cast<int>(text.size()), isLast) == XML_STATUS_OK) return;
    if (failure_) std::rethrow_exception(failure_);
    if (!isAtData_)
      throw nex_TextException(file_ + ": " + Place() + ": " + XML_ErrorString(XML_GetErrorCode(parser_)));
  }

  /// The content of an array is read later, where its numbers are needed.
  void Skip(std::string_view& rest) {
    const std::size_t count = std::min(rest.find('<'), rest.size());
    skipped_ += static_cast<std::int64_t>(count);
    linesSkipped_ += std::count(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count), '\n');
    rest.remove_prefix(count);
    isInArray_ = rest.empty();
  }

  /// No exception may pass through the C library.
  template<class Work> void Guard(Work&& work) {
    if (failure_ || isAtData_) return;
    try {
      work();
    } catch (...) {
      failure_ = std::current_exception();
      XML_StopParser(parser_, XML_FALSE);
    }
  }

  static void Begin(void* data, const char* name, const char** attributes) {
    auto& self = *static_cast<Parser*>(data);
    self.Guard([&] {
      const std::int64_t start = self.Position();
      vtu_Element element{name, {}, self.Place(), start + XML_GetCurrentByteCount(self.parser_)};
      for (; *attributes; attributes += 2) element.attributes.emplace(attributes[0], attributes[1]);
      self.handler_.end({}, start);
      self.handler_.begin(element);
      self.isInArray_ = element.name == "DataArray";
      if (element.name != "AppendedData") return;
      self.isAtData_ = true;
      XML_StopParser(self.parser_, XML_FALSE);
    });
  }
  static void End(void* data, const char* name) {
    auto& self = *static_cast<Parser*>(data);
    self.isInArray_ = false;
    self.Guard([&] { self.handler_.end(name, self.Position()); });
  }
  static void Doctype(void* data, const char* name, const char*, const char*, int) {
    auto& self = *static_cast<Parser*>(data);
    self.Guard([&] {
      throw nex_TextException(self.file_ + ": " + self.Place() + ": document type \"" + name
                              + "\" is not read");
    });
  }

  const cow_String& file_;
  const vtu_XmlHandler& handler_;
  XML_Parser parser_;
  std::exception_ptr failure_;
  bool isAtData_ = false, isInArray_ = false;
  std::int64_t skipped_ = 0, linesSkipped_ = 0;
};
} // namespace

std::string_view vtu_Element::Attribute(std::string_view attribute) const {
  const auto at = attributes.find(attribute);
  return at == attributes.end() ? std::string_view() : at->second;
}

void vtu_ParseXml(const cow_String& file, const vtu_XmlHandler& handler) { Parser(file, handler).Run(); }
