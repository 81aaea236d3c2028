#include "cli_Split.h"

#include "cli_Command.h"
#include "cli_Console.h"
#include "spl_Commands.h"

#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/dst_SplitFolder.h>
#include <algorithm>
#include <filesystem>

std::shared_ptr<const dst_Library> cli_StartSplits() { return std::make_shared<const dst_Library>(); }

bool cli_IsSplit(const std::string& folder) { return dst_SplitFolder::IsOne(folder); }

namespace {
constexpr const char* kOwnForm[] = {"split", "join"}; ///< commands that look at their folder themselves

/// The exchange of one process, and what it works on.
struct Session {
  dst_Library library;
  dst_SerialExchange exchange{std::filesystem::temp_directory_path().string()};
};
} // namespace

std::shared_ptr<void> cli_TakeSplit(cli_Command& program, const std::string& command,
                                    std::span<const std::string> words) {
  const auto folder = std::ranges::find_if(words, [](const std::string& word) { return cli_IsSplit(word); });
  if (folder == words.end() || std::ranges::find(kOwnForm, command) != std::end(kOwnForm)) return nullptr;
  const auto form = std::ranges::find(spl_kCommands, command, &spl_Command::name);
  if (form == std::end(spl_kCommands))
    throw cli_UsageError(*folder + ": is a split model, and \"" + command
                         + "\" works on one model: give one of its parts, "
                         + dst_SplitFolder::PartFile(*folder, 0, 1) + " and so on, or join it first");
  auto session = std::make_shared<Session>();
  program.Remove(command);
  form->add(program, session->exchange);
  return session;
}
