#include "transport/PortTypes.h"

#include <gtest/gtest.h>

namespace {

TEST(PortTypes, AreToldFromTheStartOfThePath) {
    struct {
        const char* portId;
        bool known;
    } const cases[] = {
        {nullptr, false},
        {"", false},
        {"COM3", false},
        {"/dev/cu.usbserial-1", false},
        {"/dev/ttyS3", true},
        {"/dev/tty", true},
        {"/DEV/TTY.usbserial-1", true},
        {"./somewhere/else/dev/ttyUSB0", true},
        {"12345678901234567890123/dev/ttyS0", true},    // the 31st character is its last
        {"123456789012345678901234/dev/ttyS0", false},  // and here the 32nd
    };
    for (const auto& c : cases) {
        PortTypes type = PORT_TYPE_RESERVED;
        std::string name = "old";
        EXPECT_EQ(IdentifyPortType(c.portId, &type, &name), c.known) << c.portId;
        EXPECT_EQ(type, c.known ? PORT_TYPE_UART : PORT_TYPE_UNKNOWN) << c.portId;
        EXPECT_EQ(name, c.known ? "UART" : "UNKNOWN") << c.portId;
    }
}

TEST(PortTypes, MakePathsWithinTheIndexRange) {
    struct {
        int type;
        int index;
        const char* expected;
    } const cases[] = {
        {1, 0, "/dev/ttyS0"}, {1, 7, "/dev/ttyS7"}, {1, 99, "/dev/ttyS99"},
        {1, 100, ""},         {1, -1, ""},          {0, 0, ""},
        {2, 0, ""},           {2, -1, ""},
    };
    for (const auto& c : cases) {
        std::string portId = "old";
        EXPECT_EQ(CreatePortId(static_cast<PortTypes>(c.type), c.index, &portId), *c.expected != 0);
        EXPECT_EQ(portId, c.expected);
    }
    for (const int type : {0, 1, 2, 3}) {
        EXPECT_EQ(GetMinPortIndex(static_cast<PortTypes>(type)), type == 1 ? 0 : -1);
        EXPECT_EQ(GetMaxPortIndex(static_cast<PortTypes>(type)), type == 1 ? 99 : -1);
    }
}

}  // namespace
