// exo_PartFacts.h: counts of the whole and communication maps of a file that is one of several
#pragma once

#include "exo_Write.h"

/// Into an open file whose counts are written. Throws nex_TextException naming the file.
void exo_WritePartFacts(int file, const cow_String& name, const exo_OutMesh& mesh, const exo_OutPart& part);
