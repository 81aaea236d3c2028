// bme_Messages.h: the messages of the mesh module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/cow_String.h>

/// Codes of the messages. The first three report progress, the others are errors.
enum bme_Message : int {
  bme_COMPUTING_FACES = 0,
  bme_COMPUTING_EDGES = 1,
  bme_COMPUTING_NORMALS = 2,
  bme_TOO_MANY_FOR_EDGES = 3,
  bme_INVALID_NODE_LABEL = 4,
  bme_NEGATIVE_EDGES = 5,
  bme_INVALID_ELEMENT_LABEL = 6,
  bme_UNSUPPORTED_TYPE = 7, ///< its argument is the type label
  bme_FACE_LIST_ERROR = 8,  ///< its argument is the node
  bme_TOO_MANY_FOR_FACES = 9,
  bme_EDGE_LIST_ERROR = 10 ///< its argument is the node
};

/// Text of a message with its argument filled in.
CORE_GEOMETRY_API cow_String bme_MessageText(bme_Message code, const cow_String& argument = {});

/// Sends a message to the calling thread's work-in-progress channel: progress as status, the others as error.
CORE_GEOMETRY_API void bme_Report(bme_Message code, const cow_String& argument = {});
