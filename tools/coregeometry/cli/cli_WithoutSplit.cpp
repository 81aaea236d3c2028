// of a program that is built without split models
#include "cli_Split.h"

bool cli_IsSplit(const std::string& /*folder*/) { return false; }
std::shared_ptr<void> cli_TakeSplit(cli_Command& /*program*/, const std::string& /*command*/,
                                    std::span<const std::string> /*words*/) {
  return nullptr;
}
std::shared_ptr<const dst_Library> cli_StartSplits() { return nullptr; }
