// of a program that is built without split models
#include "cli_Split.h"

bool cli_IsSplit(const std::string& /*folder*/) { return false; }
std::vector<chk_Finding> cli_CheckSplit(const std::string& /*folder*/) { return {}; }
void cli_PrintSplit(const std::string& /*folder*/, bool /*json*/) {}
std::shared_ptr<const dst_Library> cli_StartSplits() { return nullptr; }
