#include "transport/CommunicationParameters.h"

#include <gtest/gtest.h>

namespace {

TEST(CommunicationParameters, GiveTheirValuesOrTheDefault) {
    CCommunicationParameters params;
    EXPECT_EQ(params.GetPortId(), "");
    EXPECT_EQ(params.GetPortType(), PORT_TYPE_UNKNOWN);
    EXPECT_EQ(params.GetPortTypeName(), "UNKNOWN");

    ASSERT_EQ(params.ParseCommParams("port=/dev/ttyUSB0\nBAUDRATE=fast\nRTS=1\nMASK=0xFFFFFFFF\n"),
              "");
    const CCommunicationParameters copy = params;
    ASSERT_EQ(params.ParseCommParams("CTS=0\n"), "");
    EXPECT_EQ(params.GetPortId(), "") << "a second text replaces the first";

    EXPECT_EQ(copy.GetPortId(), "/dev/ttyUSB0");
    EXPECT_EQ(copy.GetPortType(), PORT_TYPE_UART);
    EXPECT_EQ(copy.GetPortTypeName(), "UART");
    EXPECT_EQ(copy.GetParamAsText("Rts", "none"), "1");
    EXPECT_EQ(copy.GetParamAsText("CTS", "none"), "none");
    EXPECT_EQ(copy.GetParamAsText("CTS", nullptr), "");
    EXPECT_EQ(copy.GetParamAsU32("RTS", 7), 1U);
    EXPECT_EQ(copy.GetParamAsU32("MASK", 7), 0xFFFFFFFFU);
    EXPECT_EQ(copy.GetParamAsU32("BAUDRATE", 115200), 115200U);
    EXPECT_EQ(copy.GetParamAsU32("NOFLOWCONTROL", 0x80000000), 0x80000000U);
}

TEST(CommunicationParameters, PassTheTablesErrorOn) {
    CCommunicationParameters params;
    CNameValueTable table;
    const char* const twice = "PORT=a\nPORT=b\n";
    EXPECT_NE(params.ParseCommParams(twice), "");
    EXPECT_EQ(params.ParseCommParams(twice), table.LoadFromString(twice));
}

}  // namespace
