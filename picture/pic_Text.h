// pic_Text.h: letters made of strokes
#pragma once

#include <CoreGeometry/pic_Canvas.h>
#include <string_view>

/// Writes one line of text before everything else on the canvas. Characters outside ASCII are shown as boxes.
///
/// Units      pixels: `at` is the left end of the base line, `height` that of a capital letter.
void pic_DrawText(pic_Canvas& canvas, double atX, double atY, double height, std::string_view text,
                  const pic_Colour& colour);
double pic_TextWidth(std::string_view text, double height);
/// The text, its end replaced by "..." when it is wider.
std::string pic_FittingText(std::string_view text, double height, double width);
