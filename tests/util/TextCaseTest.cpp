#include "util/TextCase.h"

#include <gtest/gtest.h>

namespace {

TEST(TextCase, OnlyTheLettersFromAToZChange) {
    char text[] = "aZ`{z@[09 \xE4\xC4\xFF";
    EXPECT_EQ(STRING_TO_UPPER(text), text);
    EXPECT_STREQ(text, "AZ`{Z@[09 \xE4\xC4\xFF");
    EXPECT_TRUE(EqualIgnoringCase("aZ\xE4", "Az\xE4"));
    EXPECT_FALSE(EqualIgnoringCase("\xE4", "\xC4"));
    EXPECT_FALSE(EqualIgnoringCase("@", "`"));
    EXPECT_FALSE(EqualIgnoringCase("a", "ab"));
}

}  // namespace
