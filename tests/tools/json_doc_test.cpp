// The examples of docs/json.md, run in its order.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {
using nlohmann::json;

/// Text between a line that begins a block and the line that ends it; `at` moves behind it.
std::string Block(const std::string& text, const std::string& begin, std::size_t& at) {
  const std::size_t first = text.find(begin, at) + begin.size(), last = text.find("```\n", first);
  at = last + 4;
  return text.substr(first, last - first);
}

/// Where the two differ, or nothing. Lists may end in "..."; numbers of bytes and seconds need not be the same.
std::string Difference(const json& shown, const json& real, const std::string& place) {
  if (shown.is_number() && real.is_number()) {
    const double a = shown, b = real;
    const bool isSame = place.find("/bytes") != std::string::npos
                        || place.find("/seconds") != std::string::npos
                        || std::abs(a - b) <= 1e-6 * std::max(std::abs(a), std::abs(b)) + 1e-9;
    return isSame ? "" : place;
  }
  if (shown.is_array() && real.is_array()) {
    const bool isShort = !shown.empty() && shown.back() == "...";
    const std::size_t size = shown.size() - (isShort ? 1 : 0);
    if (isShort ? real.size() <= size : real.size() != size) return place + ": another length";
    for (std::size_t i = 0; i < size; ++i)
      if (auto found = Difference(shown[i], real[i], place + "/" + std::to_string(i)); !found.empty())
        return found;
    return "";
  }
  if (!shown.is_object() || !real.is_object()) return shown == real ? "" : place + ": " + real.dump();
  for (const auto& [key, value] : real.items())
    if (!shown.contains(key)) return place + ": not shown is " + key;
  for (const auto& [key, value] : shown.items()) {
    if (!real.contains(key)) return place + ": has no " + key;
    if (auto found = Difference(value, real[key], place + "/" + key); !found.empty()) return found;
  }
  return "";
}

TEST(JsonPage, ShowsWhatTheCommandsPrint) {
  std::ostringstream page;
  page << std::ifstream(JSON_PAGE).rdbuf();
  const std::string text = page.str();
  const TestFolder folder;
  std::filesystem::copy(SAMPLE, folder / "bracket.exo");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder / "");
  std::string run;
  for (std::size_t at = text.find("```sh\n"); at < text.size(); at = text.find("```sh\n", at)) {
    std::istringstream line(Block(text, "```sh\n", at));
    std::vector<std::string> words;
    for (std::string word; line >> word;) words.push_back(word);
    const json shown = json::parse(Block(text, "```json\n", at));
    words.erase(words.begin());
    const std::string leftOut = LEFT_OUT; // what is not built
    const bool isOfSplit = words.size() > 1 && words[1].ends_with(".split");
    if (leftOut.find(" " + words.front() + " ") != std::string::npos
        || (isOfSplit && leftOut.find(" split ") != std::string::npos))
      continue;
    const ToolRun answer = RunTool(words);
    EXPECT_EQ(Difference(shown, json::parse(answer.out), words.front()), "") << answer.err;
    EXPECT_EQ(answer.exitCode, shown.contains("error") ? shown["error"]["exitCode"].get<int>() : 0);
    run += " " + words.front();
  }
  std::filesystem::current_path(before);
  std::istringstream help(RunTool({"--help"}).out);
  for (std::string line; std::getline(help, line) && line != "Subcommands:";) {
  }
  int commands = 0;
  for (std::string line; std::getline(help, line) && line.starts_with("  "); ++commands) {
    const std::string name = line.substr(2, line.find(' ', 2) - 2);
    EXPECT_TRUE(name == "dump" || run.find(" " + name) != std::string::npos) << name;
  }
  EXPECT_GT(commands, 15);
}
} // namespace
