// spl_Vtu.h: VTU files of parts, and the file that lists them
#pragma once

#include <string>

/// "wing_07.vtu" beside "wing.pvtu".
std::string spl_VtuFileOf(const std::string& name, unsigned part, unsigned numParts);
/// The list of the files, which are there, with their arrays: those of the first one.
void spl_WritePvtu(const std::string& name, unsigned numParts, bool force);
