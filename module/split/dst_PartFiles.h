// dst_PartFiles.h: the files of the parts of a mesh as one source, and what it shares with the source of one file
#pragma once

#include <CoreGeometry/dst_FileSource.h>
#include <CoreGeometry/fmt_Format.h>

/// What a report says about an import.
void dst_Tell(const fmt_Import& import, const fmt_Ledger& ledger, dst_SourceFacts& facts);
void dst_PutRegion(cls_WritePass& pass, const cow_String& mesh, const bme_NamedSet& set);

/// All files of a set, see dst_FileSource.
std::unique_ptr<dst_Source> dst_PartFilesSource(const dst_PartFiles& files, const fmt_Format& format,
                                                fmt_ReadOptions reading, const cow_String& mesh,
                                                const cow_String& workFolder);
