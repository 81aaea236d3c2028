// OneOfEach.h: an object of every persistent class, its fields away from their defaults
#pragma once

#include <BasicUtils/cls_WritePass.h>
#include <functional>
#include <vector>

struct StoredObject {
  cow_String root;
  std::function<void(cls_WritePass&)> write;
  /// Reads it and stores what was read; what is wrong with it, empty when nothing is.
  std::function<cow_String(const cls_Database& from, cls_WritePass& to)> copy;
};

std::vector<StoredObject> OneOfEach();

/// Stores every object in a pass of its own, since what roots share is shared within one pass only.
void WriteOneOfEach(cls_Database& database);
