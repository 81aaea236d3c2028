// pic_PageAssets.h: the files that a page is made of, as bytes
#pragma once

#include <string_view>

/// All empty when the library is built without pages.
struct pic_PageAssets {
  std::string_view page;     ///< page/viewer.html, with @NAME@ where the others stand
  std::string_view viewer;   ///< page/viewer.js
  std::string_view three;    ///< three.min.js
  std::string_view controls; ///< OrbitControls.js
  std::string_view licence;  ///< of the last two
};
extern const pic_PageAssets pic_kPageAssets;
