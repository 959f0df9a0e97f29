#include "transport/CommunicationParameters.h"

#include <gtest/gtest.h>

namespace {

TEST(CommunicationParameters, GiveTheirValuesOrTheDefault) {
    CCommunicationParameters params;
    ASSERT_EQ(params.ParseCommParams("port=/dev/ttyUSB0\nBAUDRATE=fast\nRTS=1\nMASK=0xFFFFFFFF\n"),
              "");
    const CCommunicationParameters copy = params;
    ASSERT_EQ(params.ParseCommParams("CTS=0\n"), "");
    EXPECT_EQ(params.GetPortId(), "") << "a second text replaces the first";
    EXPECT_EQ(params.GetPortType(), PORT_TYPE_UNKNOWN);
    EXPECT_EQ(params.GetPortTypeName(), "UNKNOWN");

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

TEST(PortTypes, AreToldFromTheStartOfThePath) {
    const std::pair<const char*, bool> cases[] = {
        {nullptr, false},
        {"/dev/cu.usbserial-1", false},
        {"/DEV/TTY.usbserial-1", true},
        {"12345678901234567890123/dev/ttyS0", true},  // "/dev/tty" ends with the 31st character
        {"123456789012345678901234/dev/ttyS0", false},
    };
    for (const auto& [portId, isKnown] : cases) {
        PortTypes type = PORT_TYPE_RESERVED;
        std::string name;
        EXPECT_EQ(IdentifyPortType(portId, &type, &name), isKnown) << portId;
        EXPECT_EQ(type, isKnown ? PORT_TYPE_UART : PORT_TYPE_UNKNOWN) << portId;
        EXPECT_EQ(name, isKnown ? "UART" : "UNKNOWN") << portId;
    }
}

TEST(PortTypes, MakePathsWithinTheIndexRange) {
    for (const int type : {0, 1, 2, 3}) {
        for (const int index : {-1, 0, 7, 99, 100}) {
            const bool made = type == 1 && index >= 0 && index < 100;
            std::string portId = "old";
            EXPECT_EQ(CreatePortId(static_cast<PortTypes>(type), index, &portId), made);
            EXPECT_EQ(portId, made ? "/dev/ttyS" + std::to_string(index) : "");
        }
        EXPECT_EQ(GetMinPortIndex(static_cast<PortTypes>(type)), type == 1 ? 0 : -1);
        EXPECT_EQ(GetMaxPortIndex(static_cast<PortTypes>(type)), type == 1 ? 99 : -1);
    }
}

}  // namespace
