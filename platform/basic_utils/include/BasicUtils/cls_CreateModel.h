// cls_CreateModel.h: makes a complete new model file, or none
#pragma once

#include <BasicUtils/cls_WritePass.h>
#include <functional>

/// Makes a new model and stores in it what `fill` puts into its first pass, which is committed afterwards.
/// The file gets its name last, so that a process that is killed, or that fails, leaves nothing under it;
/// when two processes make the same file, one succeeds and the other gets the exception.
///
/// Errors     uti_FileExistsException: there is a file of that name, or there was one when all was written;
///            nex_TextException: see uti_OutputFile; a journal of that name exists, which SQLite would apply
///            to the new model. What `fill` throws.
void CORE_GEOMETRY_PLATFORM_API
cls_CreateModel(const cow_String& file, const cls_Database::Options& options,
                const std::function<void(const cls_Database& model, cls_WritePass& pass)>& fill);
