// dst_Runs.h: runs of results, cut to parts and joined again
#pragma once

#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/odiC_Run.h>
#include <variant>

class cls_WritePass;

/// The index holds each run as "split/results/<mesh>/<run>", without the numbers of its fields: the layouts of the whole,
/// and which field has which.
inline constexpr const char* dst_kSplitFolder = "split/";

/// What a part has of a layout, and where its rows stand in the whole.
struct dst_CutLayout {
  odiC_Layout layout;
  std::vector<int> rows; ///< ascending
};
/// Entities keep their order. Values of whole regions are in every part.
dst_CutLayout dst_Cut(const odiC_Layout& whole, const dst_Index& index, const dst_Part& part);

/// Writes a run of the whole as one of a part.
///
/// Cost       memory for one field of the part and a number for each of its rows; chunks of the whole in which no row of
///            the part stands are not read.
void dst_PutRun(const odiC_Run& run, const dst_Index& index, const bme_Mesh& mesh, const dst_Part& part,
                const cls_Database& model, cls_WritePass& pass);

/// Stores a run in the index, without numbers.
void dst_PutRunBeside(const odiC_Run& run, cls_WritePass& index);

/// Of everything in a run, to tell whether it changed.
cow_String dst_HashOf(const odiC_Run& run);

/// Writes all runs of the whole.
///
/// Cost       memory for some fields, of at most `memory` bytes or one; each part is opened once for so many.
/// Errors     nex_TextException for a part whose run does not fit.
void dst_JoinRuns(const dst_SplitFolder& split, cls_WritePass& pass,
                  std::size_t memory = std::size_t{256} << 20);

/// Rows of numbers as they are stored.
using dst_FieldValues = std::variant<cow_ArrayCOW<float>, cow_ArrayCOW<double>, cow_ArrayCOW<int>>;
/// All rows of a field, or those given, which ascend; of a complex variable all first numbers, then all second ones.
dst_FieldValues dst_ReadRows(odiC_FieldReader& field, std::span<const int> rows);
