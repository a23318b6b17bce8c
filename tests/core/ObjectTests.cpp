#include <Yarkit/core/runtime/Class.h>
#include <Yarkit/core/values/String.h>

#include <gtest/gtest.h>

TEST(Object, StringRoundTripsUTF8)
{
    auto text = yk::String::withUTF8("日本語 mail");
    EXPECT_EQ(text->length(), 8u);
    EXPECT_EQ(text->utf8(), "日本語 mail");
}
