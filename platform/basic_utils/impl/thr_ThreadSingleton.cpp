#include <BasicUtils/thr_ThreadSingleton.h>

#include <map>
#include <string>

thr_ThreadSlot& thr_FindThreadSlot(const char* typeName) {
  static thread_local std::map<std::string, thr_ThreadSlot, std::less<>> slots;
  return slots[typeName];
}
