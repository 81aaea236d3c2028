// cls_CreateModel.h: a new model file, whole or not at all
#pragma once

#include <BasicUtils/cls_WritePass.h>
#include <functional>

/// Makes a new model and stores in it what `fill` puts into its first pass, which is committed afterwards.
/// The file gets its name last, so that a process that is killed, or that fails, leaves nothing under it; of
/// two that make the same file one has it, and the other is told.
///
/// Errors     uti_FileExistsException: there is something of that name, or was when all was written;
///            nex_TextException: see uti_OutputFile; a journal of the name lies there, which would be played
///            into the new model. What `fill` throws.
void CORE_GEOMETRY_PLATFORM_API
cls_CreateModel(const cow_String& file, const cls_Database::Options& options,
                const std::function<void(const cls_Database& model, cls_WritePass& pass)>& fill);
