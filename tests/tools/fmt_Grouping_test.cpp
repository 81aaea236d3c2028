#include "ThrownBy.h"
#include <CoreGeometry/fmt_Grouping.h>

#include <gtest/gtest.h>
#include <sstream>

namespace {
using Texts = std::vector<cow_String>;

/// "S TENSOR_3D_FULL 8 NONE: 0 1 2" of each group.
Texts Told(std::span<const fmt_Group> groups) {
  Texts all;
  for (const fmt_Group& group : groups) {
    std::ostringstream text;
    text << group.name << ' ' << omu_FindText(omu_EnumTable<res_DataTypeEnm>::entries, group.type);
    if (group.numPoints > 0) text << " at " << group.numPoints;
    text << (group.pair != res_NO_PAIR ? " pair:" : ":");
    for (const int scalar : group.scalars) text << ' ' << scalar;
    all.push_back(text.str());
  }
  return all;
}

Texts Grouped(const Texts& names, int shapePoints = 0, int numDims = 3, const fmt_GroupRules& rules = {}) {
  const fmt_BlockNames block{std::vector<char>(names.size(), 1), shapePoints};
  return Told(fmt_GroupNames(names, {&block, 1}, numDims, rules)[0]);
}

TEST(Grouping, NamesBecomeWhatTheyLookLikeAndNothingElse) {
  struct Case {
    Texts names;
    Texts groups;
    int shapePoints = 0;
    int numDims = 3;
  };
  const Case cases[] = {
      {{"disp_x", "disp_y", "disp_z"}, {"disp VECTOR: 0 1 2"}},
      {{"DispX", "DispY", "DispZ"}, {"Disp VECTOR: 0 1 2"}},
      {{"x", "y", "z"}, {"x SCALAR: 0", "y SCALAR: 1", "z SCALAR: 2"}},
      {{"ux", "uy", "uz"}, {"ux SCALAR: 0", "uy SCALAR: 1", "uz SCALAR: 2"}},
      {{"vel_x", "vel_y"}, {"vel_x SCALAR: 0", "vel_y SCALAR: 1"}},
      {{"vel_x", "vel_y"}, {"vel VECTOR: 0 1"}, 0, 2},
      {{"s_yz", "s_xx", "s_yy", "s_zx", "s_zz", "s_xy"}, {"s TENSOR_3D_FULL: 1 2 4 5 3 0"}},
      {{"s.xx", "s.yy", "s.zz", "s.xy", "s.xz", "s.yz"}, {"s TENSOR_3D_FULL: 0 1 2 3 4 5"}},
      {{"s xx", "s yy", "s zz", "s xy"}, {"s TENSOR_3D_PLANAR: 0 1 2 3"}},
      {{"sxx", "syy", "sxy"}, {"s TENSOR_2D_SURFACE: 0 1 2"}, 0, 2},
      {{"f_xx", "f_xy", "f_xz", "f_yx", "f_yy", "f_yz", "f_zx", "f_zy", "f_zz"},
       {"f MATRIX: 0 1 2 3 4 5 6 7 8"}},
      {{"s_xx", "s_yy"}, {"s_xx SCALAR: 0", "s_yy SCALAR: 1"}},
      {{"t_1", "t_2", "t_3"}, {"t_1 SCALAR: 0", "t_2 SCALAR: 1", "t_3 SCALAR: 2"}, 8},
      {{"t_2", "t_1"}, {"t SCALAR at 2: 1 0"}, 2},
      {{"t_1", "t_3"}, {"t_1 SCALAR: 0", "t_3 SCALAR: 1"}, 2},
      {{"u_x_1", "u_y_1", "u_z_1", "u_x_2", "u_y_2", "u_z_2"}, {"u VECTOR at 2: 0 1 2 3 4 5"}, 2},
      {{"t", "t_1", "t_2"}, {"t SCALAR: 0", "t SCALAR at 2: 1 2"}, 2},
      {{"p_re", "p_im"}, {"p SCALAR pair: 0 1"}},
      {{"p_re", "q_im"}, {"p_re SCALAR: 0", "q_im SCALAR: 1"}},
      {{"u_x_re", "u_x_im", "u_y_re", "u_y_im", "u_z_re", "u_z_im"}, {"u VECTOR pair: 0 2 4 1 3 5"}},
      {{"u_re_x", "u_re_y", "u_re_z", "u_im_x", "u_im_y", "u_im_z"}, {"u VECTOR pair: 0 1 2 3 4 5"}},
      {{"u_1", "u_x", "u_y", "u_z"}, {"u_1 SCALAR: 0", "u VECTOR: 1 2 3"}, 8},
      {{"temp_1", "temp_2", "temp_3"}, {"temp_1 SCALAR: 0", "temp_2 SCALAR: 1", "temp_3 SCALAR: 2"}},
  };
  for (const Case& one : cases)
    EXPECT_EQ(Grouped(one.names, one.shapePoints, one.numDims), one.groups) << one.names[0];
}

TEST(Grouping, EachBlockHasItsOwnNamesAndPointsAreThoseOfAnyBlock) {
  const Texts names = {"e", "e_1", "e_2", "e_3", "u_x", "u_y", "u_z"};
  const std::vector<fmt_BlockNames> blocks = {
      {{0, 1, 1, 0, 1, 1, 1}, 2}, {{0, 1, 1, 1, 1, 1, 0}, 8}, {{1, 0, 0, 0, 0, 0, 0}, 2}};
  const auto groups = fmt_GroupNames(names, blocks, 3);
  EXPECT_EQ(Told(groups[0]), (Texts{"e SCALAR at 2: 1 2", "u VECTOR: 4 5 6"}));
  EXPECT_EQ(Told(groups[1]), (Texts{"e SCALAR at 3: 1 2 3", "u_x SCALAR: 4", "u_y SCALAR: 5"}));
  EXPECT_EQ(Told(groups[2]), (Texts{"e SCALAR: 0"}));
}

TEST(Grouping, UsersHaveTheLastWord) {
  const Texts names = {"a", "b", "c", "u_x", "u_y", "u_z"};
  fmt_GroupRules rules;
  rules.AddOwn("N=c,a,B");
  rules.ungrouped = {"U"};
  EXPECT_EQ(Grouped(names, 0, 3, rules),
            (Texts{"N VECTOR: 2 0 1", "u_x SCALAR: 3", "u_y SCALAR: 4", "u_z SCALAR: 5"}));
  rules.ungrouped = {"all"};
  EXPECT_EQ(Grouped(names, 0, 3, rules).size(), 4U);
  for (const auto& [text, told] : {std::pair{"N", "^"},
                                   {"=a,b", "^"},
                                   {"N=a,,c", "  N=a,,c\n      ^"},
                                   {"N=a,b:TENSOR", "has 6 components, not 2"},
                                   {"N=a,b,c:GLUE", "\"GLUE\"\n  N=a,b,c:GLUE\n          ^"},
                                   {"N=a", ":MATRIX"}})
    EXPECT_NE(ThrownBy([&, text = text] { rules.AddOwn(text); }).find(told), cow_String::npos) << text;
}
} // namespace
