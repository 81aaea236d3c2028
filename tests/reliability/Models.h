// Models.h: what the reliability tests do to a model, and how they look at what is left
#pragma once

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_WritePass.h>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// A change of a model file.
struct ModelChange {
  const char* name;
  void (*prepare)(const cow_String& file); ///< null: there is no file before
  void (*change)(const cow_String& file);
  friend void PrintTo(const ModelChange& change, std::ostream* out);
};

/// Create, first write, second write, replace, remove, append a frame of results, upgrade, compact.
std::span<const ModelChange> ModelChanges();

/// Everything in the model as text; "error: " and the message when it cannot be read, "" when there is none.
std::string ContentOf(const cow_String& file);
std::string ContentOf(const std::function<cls_Database()>& open); ///< the same of an open one

/// Faults that a check of the file reports.
std::vector<std::string> FaultsOf(const cow_String& file);

/// A model with a mesh of `cells` hexahedra in a row and a region, under "meshes/Wing" and "regions/Skin".
void WriteModel(const cow_String& file, int cells);
