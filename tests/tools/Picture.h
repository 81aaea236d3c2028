// Picture.h: what a PNG file shows
#pragma once

#include <algorithm>
#include <gtest/gtest.h>
#include <png.h>
#include <string>
#include <vector>

struct Picture {
  explicit Picture(const std::string& file) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_file(&image, file.c_str())) << image.message;
    image.format = PNG_FORMAT_RGB;
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    rgb.resize(PNG_IMAGE_SIZE(image));
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) << image.message;
  }
  /// What a pixel looks like.
  std::string At(int x, int y) const {
    const unsigned char* p = &rgb[3 * static_cast<std::size_t>(y * width + x)];
    const auto [low, high] = std::minmax({p[0], p[1], p[2]});
    if (high - low < 30) return "light";
    return p[2] == high ? "blue" : p[0] == high ? "orange" : "other";
  }
  int Sum(int x, int y) const {
    const unsigned char* p = &rgb[3 * static_cast<std::size_t>(y * width + x)];
    return p[0] + p[1] + p[2];
  }
  /// Pixels that are more red than green.
  int CountReds() const {
    int count = 0;
    for (std::size_t i = 0; i < rgb.size(); i += 3) count += rgb[i] > rgb[i + 1] + 10;
    return count;
  }
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;
};
