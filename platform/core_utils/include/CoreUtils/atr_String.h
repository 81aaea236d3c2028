// atr_String.h: texts with placeholders
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <CoreUtils/cow_String.h>
#include <initializer_list>
#include <span>
#include <string_view>
#include <variant>

using atr_String = std::string;

/// One argument of a text.
using atr_Arg = std::variant<long long, double, std::string>;

/// Fills the placeholders of a text: "%s %d %u %lf %08x %2d" in order, or "%1$s", "%2$s" by position. "%%" is
/// one percent sign. A placeholder without an argument stays in the text; an argument that does not fit its
/// placeholder is written in the form of its own type.
CORE_GEOMETRY_PLATFORM_API atr_String atr_Format(std::string_view format, std::span<const atr_Arg> arguments);
CORE_GEOMETRY_PLATFORM_API atr_String atr_Format(std::string_view format,
                                                 std::initializer_list<atr_Arg> arguments);
