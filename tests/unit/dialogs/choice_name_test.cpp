#include "dialogs/choice_name.h"

#include <gtest/gtest.h>

namespace qbrk {
namespace {

TEST(ChoiceNameTest, CutsToFortyBytesAndShowsAmpersandsLiterally) {
  EXPECT_EQ(ChoiceDisplayName(std::string(40, 'a')), std::string(40, 'a'));
  EXPECT_EQ(ChoiceDisplayName(std::string(41, 'a')), std::string(40, 'a') + "...");
  EXPECT_EQ(ChoiceDisplayName("R&D.txt"), "R&&D.txt");
  // The cut comes first, so a doubled ampersand never pushes the name past its budget.
  EXPECT_EQ(ChoiceDisplayName(std::string(39, 'a') + "&&b"), std::string(39, 'a') + "&&...");
  // A double-byte character is never split.
  EXPECT_EQ(ChoiceDisplayName(std::string(39, 'a') + "\x83\x5C" + "x"),
            std::string(39, 'a') + "...");
}

}  // namespace
}  // namespace qbrk
