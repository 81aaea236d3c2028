// PictureExport.h: symbol visibility of libCoreGeometryPicture
#pragma once

#define CORE_GEOMETRY_PICTURE_API __attribute__((visibility("default")))
