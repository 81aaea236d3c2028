// odiC_RowBody.h: instruction sets that loops over rows are compiled for
#pragma once

/// What a body may use. All give the same bits: the same operations in the same order, none fused.
enum class odiC_RowBody { Plain, Avx2 };
/// The fastest body of this processor.
odiC_RowBody odiC_BestRowBody() noexcept;
