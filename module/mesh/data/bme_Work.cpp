#include "bme_Work.h"

#include "bme_ClassWalk.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <numbers>

bool bme_IsLeftOut(const shp_Shape& shape, unsigned exclude) noexcept {
  return ((exclude & bme_EXCLUDE_RIGID) != 0 && shape.IsRigid())
         || ((exclude & bme_EXCLUDE_INTERACTION) != 0 && shape.IsInteraction())
         || ((exclude & bme_EXCLUDE_INTERNAL) != 0 && shape.IsInternal())
         || ((exclude & bme_EXCLUDE_SURFACE) != 0 && shape.IsSurface())
         || ((exclude & bme_EXCLUDE_ANALYTIC) != 0 && shape.IsAnalyticalRigidSurface());
}

bool bme_CanWorkOn(const bme_FEMElemList& elements, const bme_FaceOptions& options, bme_Message tooMany) {
  bool isTooMuch = !elements.IsEmpty()
                   && elements.Words().back() >= std::min(options.limits.elements, bme_kMaxWordElements);
  std::vector<cow_String> unsupported;
  bme_ForEachClassOfElements(
      elements.Mesh(), elements.Words(),
      [&](const bme_ElementClass& type, const shp_Shape* shape, std::span<const unsigned>) {
        if (shape)
          isTooMuch |= !bme_IsLeftOut(*shape, options.exclude)
                       && bme_NumListedFaces(*shape) > std::min(options.limits.faces, bme_kMaxWordFaces);
        else if (std::ranges::find(unsupported, type.ElemTypeLabel()) == unsupported.end())
          unsupported.push_back(type.ElemTypeLabel());
      });
  if (!unsupported.empty() && (options.exclude & bme_EXCLUDE_UNSUPPORTED) == 0) {
    cow_String labels;
    for (const cow_String& label : unsupported) labels += (labels.empty() ? "" : ", ") + label;
    bme_Report(bme_UNSUPPORTED_TYPE, labels);
    return false;
  }
  if (isTooMuch) bme_Report(tooMany);
  return !isTooMuch;
}

void bme_CheckNormalAngle(double angle) {
  if (!(angle >= 0 && angle <= std::numbers::pi))
    throw nex_TextException("an angle of " + std::to_string(angle)
                            + " radians between normals is not one of 0 to pi");
}

bme_WorkProgress::bme_WorkProgress(bme_Message what, std::size_t steps)
    : steps_(std::max<std::size_t>(steps, 1)) {
  bme_Report(what);
  Tell();
}

void bme_WorkProgress::Tell() {
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  channel.CheckCancelled();
  channel.Progress(static_cast<double>(std::min(done_, steps_)) / static_cast<double>(steps_));
  constexpr std::size_t kStepsBetween = 65536;
  next_ = std::min(done_ + kStepsBetween, done_ < steps_ ? steps_ : done_ + kStepsBetween);
}
