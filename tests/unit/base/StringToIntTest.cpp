// BaseDialog::StringToInt, the adapter of the command line's number rule
// (whose table is in tests/unit/protocol): -1 when the text is refused.
#include <gtest/gtest.h>

#include "base/BaseDialog.h"

namespace {

TEST(StringToInt, MinusOneWhenRefused)
{
    int value = 12345;
    EXPECT_FALSE(BaseDialog::StringToInt("12x", value));
    EXPECT_EQ(value, -1);
    EXPECT_TRUE(BaseDialog::StringToInt("", value));
    EXPECT_EQ(value, 0);
}

} // namespace
