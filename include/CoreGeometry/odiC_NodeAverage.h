// odiC_NodeAverage.h: placeholder until merged
#pragma once
#include <CoreUtils/cow_String.h>
#include <vector>
enum class odiC_Borders { None, Class, Category, Regions };
enum class odiC_Order { Before, After, AtPoints };
enum class odiC_Weights { Equal, Measure };
struct odiC_ToNodes {
  odiC_Borders borders = odiC_Borders::Category;
  std::vector<cow_String> regions = {};
  double normals = 30;
  odiC_Weights weights = odiC_Weights::Equal;
  double threshold = 100;
  odiC_Order order = odiC_Order::Before;
};
