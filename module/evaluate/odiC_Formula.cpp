#include <CoreGeometry/odiC_Formula.h>

#include "odiC_RowKernels.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {
double Compared(double a, double b, bool isTrue) {
  return std::isnan(a) || std::isnan(b) ? std::nan("") : isTrue ? 1 : 0;
}

enum Operation : int { kNumber = -2, kName = -1 };

/// What takes numbers from the stack; those with letters are functions.
struct Row {
  const char* text;
  int operands;
  int priority; ///< of operators between operands; 0 for others
  double (*compute)(const double* x);
};
constexpr Row kRows[] = {
    {"<=", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] <= x[1]); }},
    {">=", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] >= x[1]); }},
    {"==", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] == x[1]); }},
    {"!=", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] != x[1]); }},
    {"<", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] < x[1]); }},
    {">", 2, 1, [](const double* x) { return Compared(x[0], x[1], x[0] > x[1]); }},
    {"+", 2, 2, [](const double* x) { return x[0] + x[1]; }},
    {"-", 2, 2, [](const double* x) { return x[0] - x[1]; }},
    {"*", 2, 3, [](const double* x) { return x[0] * x[1]; }},
    {"/", 2, 3, [](const double* x) { return x[0] / x[1]; }},
    {"^", 2, 0, [](const double* x) { return std::pow(x[0], x[1]); }},
    {"negative", 1, 0, [](const double* x) { return -x[0]; }},
    {"abs", 1, 0, [](const double* x) { return std::abs(x[0]); }},
    {"sqrt", 1, 0, [](const double* x) { return std::sqrt(x[0]); }},
    {"cbrt", 1, 0, [](const double* x) { return odiC_CubeRoot(x[0]); }},
    {"exp", 1, 0, [](const double* x) { return std::exp(x[0]); }},
    {"log", 1, 0, [](const double* x) { return std::log(x[0]); }},
    {"sin", 1, 0, [](const double* x) { return std::sin(x[0]); }},
    {"cos", 1, 0, [](const double* x) { return std::cos(x[0]); }},
    {"tan", 1, 0, [](const double* x) { return std::tan(x[0]); }},
    {"atan2", 2, 0, [](const double* x) { return std::atan2(x[0], x[1]); }},
    {"min", 2, 0, [](const double* x) { return std::isnan(x[0]) || x[0] < x[1] ? x[0] : x[1]; }},
    {"max", 2, 0, [](const double* x) { return std::isnan(x[0]) || x[0] > x[1] ? x[0] : x[1]; }},
    {"sign", 1, 0, [](const double* x) { return x[0] > 0   ? 1.0
                                                : x[0] < 0 ? -1.0
                                                           : x[0]; }},
    {"if", 3, 0, [](const double* x) { return std::isnan(x[0]) ? x[0]
                                              : x[0] != 0      ? x[1]
                                                               : x[2]; }}};
constexpr int kPower = 10, kNegative = 11, kFirstFunction = 12;
constexpr int kMostPriority = 3, kDeepest = 200;

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
} // namespace

/// Recursive descent; the steps come out in the order in which they are computed.
class odiC_FormulaParser {
public:
  explicit odiC_FormulaParser(odiC_Formula& formula) : formula_(formula), text_(formula.text_) {}

  void Parse() {
    Between(1);
    Skip();
    if (at_ < text_.size()) formula_.Fail(at_, "does not belong to the formula");
  }

private:
  void Skip() {
    while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\t')) ++at_;
  }
  bool Take(const char* word) {
    Skip();
    const std::size_t length = std::strlen(word);
    if (text_.compare(at_, length, word) != 0) return false;
    at_ += length;
    return true;
  }
  void Expect(const char* word) {
    if (!Take(word)) formula_.Fail(at_, cow_String("here a ") + word + " is missing");
  }
  void Push(int operation, double number = 0, std::size_t name = 0) {
    formula_.steps_.push_back({operation, number, name});
    onStack_ += operation < 0 ? 1 : 1 - static_cast<std::size_t>(kRows[operation].operands);
    formula_.depth_ = std::max(formula_.depth_, onStack_);
  }

  /// Operators of this priority and higher ones, from the left.
  void Between(int priority) {
    if (priority > kMostPriority) return Signed();
    Between(priority + 1);
    for (int found = Operator(priority); found >= 0; found = Operator(priority)) {
      Between(priority + 1);
      Push(found);
    }
  }
  int Operator(int priority) {
    for (int i = 0; i < kFirstFunction; ++i)
      if (kRows[i].priority == priority && Take(kRows[i].text)) return i;
    return -1;
  }
  void Signed() {
    if (++level_ > kDeepest) formula_.Fail(at_, "is nested too deeply");
    if (Take("-")) {
      Signed();
      Push(kNegative);
    } else if (Take("+")) {
      Signed();
    } else {
      Operand();
      if (Take("^")) {
        Signed();
        Push(kPower);
      }
    }
    --level_;
  }
  void Operand() {
    Skip();
    if (Take("(")) {
      Between(1);
      return Expect(")");
    }
    const char first = at_ < text_.size() ? text_[at_] : ' ';
    if (IsDigit(first) || first == '.') return Number();
    if (IsLetter(first) || first == '"') return NameOrFunction();
    formula_.Fail(at_, "here a number, a name or ( is missing");
  }
  void Number() {
    double number = 0;
    const auto [end, error] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), number);
    if (error != std::errc()) formula_.Fail(at_, "is no number that can be held");
    at_ = static_cast<std::size_t>(end - text_.data());
    Push(kNumber, number);
  }
  cow_String Word() {
    const std::size_t begin = at_;
    while (at_ < text_.size() && (IsLetter(text_[at_]) || IsDigit(text_[at_]))) ++at_;
    return text_.substr(begin, at_ - begin);
  }
  void NameOrFunction() {
    odiC_Formula::Name name{.name = {}, .part = {}, .position = at_};
    if (text_[at_] == '"') {
      const std::size_t end = text_.find('"', at_ + 1);
      if (end == cow_String::npos) formula_.Fail(at_, "this quote is not closed");
      name.name = text_.substr(at_ + 1, end - at_ - 1);
      name.isQuoted = true;
      at_ = end + 1;
    } else {
      name.name = Word();
      if (Take("(")) return Function(name);
    }
    if (at_ + 1 < text_.size() && text_[at_] == '.' && IsLetter(text_[at_ + 1])) {
      ++at_;
      name.part = Word();
      // some invariants have a hyphen in their names
      while (at_ + 1 < text_.size() && text_[at_] == '-' && name.part.ends_with("_IN")
             && IsLetter(text_[at_ + 1])) {
        ++at_;
        name.part += "-" + Word();
      }
    }
    auto& names = formula_.names_;
    auto known = std::ranges::find(names, name);
    if (known == names.end()) known = names.insert(names.end(), name);
    Push(kName, 0, static_cast<std::size_t>(known - names.begin()));
  }
  void Function(const odiC_Formula::Name& name) {
    std::vector<cow_String> functions;
    for (int i = kFirstFunction; i < static_cast<int>(std::size(kRows)); ++i) {
      functions.emplace_back(kRows[i].text);
      if (name.name != kRows[i].text) continue;
      for (int k = 0; k < kRows[i].operands; ++k) {
        if (k > 0) Expect(",");
        Between(1);
      }
      Expect(")");
      return Push(i);
    }
    formula_.Fail(name.position, "no function " + name.name + atr_Alternatives(name.name, functions));
  }

  odiC_Formula& formula_;
  const cow_String& text_;
  std::size_t at_ = 0, onStack_ = 0;
  int level_ = 0;
};

odiC_Formula::odiC_Formula(cow_String text) : text_(std::move(text)) { odiC_FormulaParser(*this).Parse(); }

void odiC_Formula::Fail(std::size_t position, const cow_String& what) const {
  throw odiC_Exception(what + ":\n  " + text_ + "\n  " + cow_String(position, ' ') + "^");
}

void odiC_Formula::Apply(std::span<const std::span<const double>> names, std::span<double> results) const {
  // a row of numbers for each place on the stack, in parts that stay in the cache
  constexpr std::size_t kPart = 512;
  std::vector<double> stack(depth_ * kPart);
  for (std::size_t first = 0; first < results.size(); first += kPart) {
    const std::size_t count = std::min(kPart, results.size() - first);
    std::size_t top = 0;
    for (const Step& step : steps_) {
      double* free = stack.data() + top * kPart;
      if (step.operation == kNumber) {
        std::fill_n(free, count, step.number);
        ++top;
      } else if (step.operation == kName) {
        std::copy_n(names[step.name].begin() + static_cast<std::ptrdiff_t>(first), count, free);
        ++top;
      } else {
        const Row& row = kRows[step.operation];
        const auto operands = static_cast<std::size_t>(row.operands);
        top -= operands - 1;
        double* made = stack.data() + (top - 1) * kPart;
        for (std::size_t i = 0; i < count; ++i) {
          double x[3];
          for (std::size_t k = 0; k < operands; ++k) x[k] = made[k * kPart + i];
          made[i] = row.compute(x);
        }
      }
    }
    std::copy_n(stack.begin(), count, results.begin() + static_cast<std::ptrdiff_t>(first));
  }
}
