#include <CoreGeometry/bme_Messages.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreUtils/atr_String.h>
#include <iterator>

namespace {
constexpr char kUnsupported[] =
    "This model contains an element type that is not yet supported:\n%s\nThe requested "
    "process requires that all element types in the model be supported.";

constexpr const char* kTexts[] = {
    "Computing external element faces...",
    "Computing external element edges...",
    "Computing element face normals...",
    "Exceeded maximum number of elements.\nGiving up on computing edge list.",
    "Invalid user node label.",
    "Number of additional edges less than zero - asserting.",
    "Invalid user element label.",
    kUnsupported,
    "Face list computation error for node %s",
    "Exceeded maximum number of elements.\nGiving up on computing face list.",
    "Edge list computation error for node %s",
};
static_assert(std::size(kTexts) == bme_EDGE_LIST_ERROR + 1);
} // namespace

cow_String bme_MessageText(bme_Message code, const cow_String& argument) {
  return atr_Format(kTexts[code], {argument});
}

void bme_Report(bme_Message code, const cow_String& argument) {
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  if (code <= bme_COMPUTING_NORMALS)
    channel.Status(bme_MessageText(code, argument));
  else
    channel.Error(bme_MessageText(code, argument));
}
