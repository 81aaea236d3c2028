// bme_Work.h: what work on faces and edges checks first, and how it tells its progress
#pragma once

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/shp_Shape.h>

/// False after reporting elements or faces beyond what words address, or types without a shape that are not
/// left out.
bool bme_CanWorkOn(const bme_FEMElemList& elements, const bme_FaceOptions& options, bme_Message tooMany);

/// Throws nex_TextException unless normals can make that angle, in radians.
void bme_CheckNormalAngle(double angle);

/// Says what is done, how far it is, and stops it by wip_Cancelled when the host asks.
class bme_WorkProgress {
public:
  bme_WorkProgress(bme_Message what, std::size_t steps);
  explicit bme_WorkProgress(std::size_t steps)
      : steps_(std::max<std::size_t>(steps, 1)) {} ///< of work without a name
  void Advance(std::size_t steps) {
    done_ += steps;
    if (done_ >= next_) Tell();
  }

private:
  void Tell();
  std::size_t steps_, done_ = 0, next_ = 0;
};
