#include "ToolRun.h"

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {
int ExitCodeOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// 0 when it cannot be started.
pid_t Start(const std::string& program, const std::vector<std::string>& arguments,
            const posix_spawn_file_actions_t& actions) {
  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  return posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0 ? child : 0;
}
} // namespace

ToolRun RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
  ToolRun run;
  int out[2], err[2];
  if (pipe(out) != 0 || pipe(err) != 0) return run;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  for (const int end : {out[0], out[1], err[0], err[1]}) posix_spawn_file_actions_addclose(&actions, end);
  const pid_t child = Start(program, arguments, actions);
  posix_spawn_file_actions_destroy(&actions);
  close(out[1]);
  close(err[1]);
  std::array<pollfd, 2> ends = {pollfd{out[0], POLLIN, 0}, pollfd{err[0], POLLIN, 0}};
  for (int open = child != 0 ? 2 : 0; open > 0;) {
    poll(ends.data(), ends.size(), -1);
    for (std::size_t i = 0; i < ends.size(); ++i) {
      if (ends[i].fd < 0 || ends[i].revents == 0) continue;
      char bytes[65536];
      const ssize_t count = read(ends[i].fd, bytes, sizeof bytes);
      if (count > 0) {
        (i == 0 ? run.out : run.err).append(bytes, static_cast<std::size_t>(count));
      } else {
        ends[i].fd = -1;
        --open;
      }
    }
  }
  close(out[0]);
  close(err[0]);
  if (child != 0) run.exitCode = ExitCodeOf(child);
  return run;
}

pid_t StartTool(const std::vector<std::string>& arguments) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  const pid_t child = Start(TOOL, arguments, actions);
  posix_spawn_file_actions_destroy(&actions);
  return child;
}

int WaitForTool(pid_t tool) { return ExitCodeOf(tool); }

ToolRun RunTool(const std::vector<std::string>& arguments) { return RunProgram(TOOL, arguments); }

nlohmann::json ToolFacts(std::vector<std::string> arguments) {
  arguments.emplace_back("--json");
  const ToolRun run = RunTool(arguments);
  EXPECT_EQ(run.exitCode, 0) << run.err;
  return nlohmann::json::parse(run.out, nullptr, false);
}
