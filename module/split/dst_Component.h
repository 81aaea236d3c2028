// dst_Component.h: what all sources of split models share
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short dst_kComponent = 640;

constexpr unsigned dst_TypeId(unsigned ordinal) { return ddb_TypeId(dst_kComponent, ordinal); }
