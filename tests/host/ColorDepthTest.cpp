// The parameter that chooses the depth of a filter's surface.

#include "ColorDepth.h"

#include <gtest/gtest.h>

namespace pyrelux::host {
namespace {

ParameterDeclaration parameter(std::uint32_t id, const std::string &label) {
  ParameterDeclaration declaration;
  declaration.id = id;
  declaration.kind = ParameterKind::Popup;
  declaration.label = declaration.key = label;
  declaration.entries = {"8 Bit", "16 Bit"};
  if (label == "Mode") declaration.entries = {"8 Bit", "Mix"};
  return declaration;
}

class ColorDepth : public ::testing::Test {
 protected:
  ParameterSet with{{parameter(1, "Mode"), parameter(2, "Color Depth")}};
  ParameterSet without{{parameter(1, "Mode")}};
};

TEST_F(ColorDepth, IsTheMenuOfDepths) {
  ASSERT_NE(findColorDepth(with), nullptr);
  EXPECT_EQ(findColorDepth(with)->id, 2u);
  EXPECT_EQ(findColorDepth(without), nullptr);
}

TEST_F(ColorDepth, IsDeepByDefaultIfAskedFor) {
  EXPECT_FALSE(isDeep(with, 0.0));
  EXPECT_FALSE(isEverDeep(with));
  const ParameterSet deep = deepByDefault(with);
  EXPECT_TRUE(isDeep(deep, 0.0));
  EXPECT_EQ(deep.value(1, 0.0)[0], 0.0) << "other parameters keep their defaults";
}

TEST_F(ColorDepth, IsChosen) {
  setDeep(with, true);
  EXPECT_TRUE(isDeep(with, 0.0));
  EXPECT_TRUE(isEverDeep(with));
  setDeep(with, false);
  EXPECT_FALSE(isDeep(with, 0.0));
}

TEST_F(ColorDepth, MayChangeWithTime) {
  with.setKeyframes(*findColorDepth(with), {{0.0, {0.0}, Ease::Hold, {}}, {5.0, {1.0}, Ease::Hold, {}}});
  EXPECT_FALSE(isDeep(with, 4.0));
  EXPECT_TRUE(isDeep(with, 5.0));
  EXPECT_TRUE(isEverDeep(with));
}

TEST_F(ColorDepth, IsDeepWhereThereIsNoChoice) {
  EXPECT_TRUE(isDeep(without, 0.0));
  EXPECT_TRUE(isEverDeep(without));
  setDeep(without, false);
  EXPECT_EQ(without.value(1, 0.0)[0], 0.0);
}

}  // namespace
}  // namespace pyrelux::host
