#include "util/JsonText.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(JsonText, StringsOfAnyBytesAreValidUtf8) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"", ""},
        {"C:\\fw \"A\"/é€😀", "C:\\\\fw \\\"A\\\"/é€😀"},
        {{"\0\t\r\n\x1B[2J\x7F", 9}, "\\u0000\\t\\u000d\\n\\u001b[2J\\u007f"},
        {"\xC2\x9B \xC2\xA0", "\\u009b \xC2\xA0"},      // a control character of 8 bits
        {"Ger\xE4t", "Ger\\u00e4t"},                    // Latin-1
        {"\xC3", "\\u00c3"},                            // cut
        {"\xE2\x82 \xE2(", "\\u00e2\\u0082 \\u00e2("},  // cut
        {"\xC0\xAF\xE0\x80\xAF", "\\u00c0\\u00af\\u00e0\\u0080\\u00af"},  // longer than needed
        {"\xED\xA0\x80", "\\u00ed\\u00a0\\u0080"},  // half of a pair of UTF-16
        {"\xF4\x8F\xBF\xBF\xF4\x90\x80\x80", "\xF4\x8F\xBF\xBF\\u00f4\\u0090\\u0080\\u0080"},
        {"\xF8\x88\x80\x80\x80\xFF", "\\u00f8\\u0088\\u0080\\u0080\\u0080\\u00ff"},
    };
    for (const auto& [in, out] : cases) {
        EXPECT_EQ(CJsonText(in).Text(), '"' + std::string(out) + '"');
    }
}

TEST(JsonText, LongObjectsTakeALineForEachMember) {
    const CJsonText area = CJsonText::Object({{"address", 0xFFFFFFFFU}, {"written", true}});
    const CJsonText none = CJsonText::Array({});
    const CJsonText numbers =
        CJsonText::Array({-1, 0.5, -2e6, std::numeric_limits<double>::infinity(), nullptr});
    const std::string name(60, 'x');
    EXPECT_EQ(CJsonText::Object({{"areas", CJsonText::Array({area, area})},
                                 {"none", none},
                                 {name, numbers},
                                 {"nested", CJsonText::Object({{name, name}})}})
                  .Text(),
              "{\n"
              "  \"areas\": [{\"address\": 4294967295, \"written\": true}, "
              "{\"address\": 4294967295, \"written\": true}],\n"
              "  \"none\": [],\n"
              "  \"" +
                  name +
                  "\": [-1, 0.5, -2000000, null, null],\n"
                  "  \"nested\": {\n"
                  "    \"" +
                  name + "\": \"" + name +
                  "\"\n"
                  "  }\n"
                  "}");
}

}  // namespace
