// dst_Assign.h: which element goes to which part
#pragma once

#include "dst_WorkFile.h"

#include <CoreGeometry/dst_Split.h>

/// Box and hash of everything that a source holds.
struct dst_Survey {
  cow_String fingerprint;
  float low[3] = {0, 0, 0}, high[3] = {0, 0, 0}; ///< of finite coordinates
};
dst_Survey dst_SurveyOf(const dst_Source& source);

/// Number of chunks: of mesh, parts and options alone.
unsigned dst_NumChunks(std::uint64_t numElements, const dst_SplitOptions& options);

struct dst_Assigned {
  unsigned numChunks = 0;
  std::uint64_t numPieces = 0;
  double graphSeconds = 0, metisSeconds = 0;
};

/// Writes the part of each element into the file, 32 bits each. No part stays empty.
///
/// Errors     nex_TextException: too little memory for METIS.
dst_Assigned dst_Assign(const dst_Source& source, const dst_Survey& survey, const dst_SplitOptions& options,
                        const cow_String& workFolder, dst_WorkFile& parts);
