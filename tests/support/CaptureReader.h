#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/HexBytes.h"

// What a pcapng file holds up to its last whole block, read by the rules of the format alone.
class CCaptureReader {
public:
    explicit CCaptureReader(std::string_view file) {
        while (file.size() >= 12 && Number(file, 4) <= file.size()) {
            const std::size_t length = Number(file, 4);
            EXPECT_EQ(Number(file, length - 4), length);
            ReadBlock(Number(file, 0), file.substr(8, length - 12));
            file.remove_prefix(length);
        }
    }

    std::string m_strProgram;
    std::vector<std::string> m_Interfaces;  // "201 /dev/ttyS0", link type and name
    // "0 > 01 03 0C 00" from the host on interface 0, "1 < AA" from the chip, "1 # text" a note.
    std::vector<std::string> m_Items;
    std::vector<std::uint64_t> m_Times;  // nanoseconds, one for each item

private:
    static std::size_t Number(std::string_view bytes, std::size_t at, std::size_t width = 4) {
        std::size_t value = 0;
        for (std::size_t i = width; i > 0; --i) {
            value = value << 8 | static_cast<unsigned char>(bytes.at(at + i - 1));
        }
        return value;
    }

    static std::size_t Padded(std::size_t size) { return (size + 3) / 4 * 4; }

    void ReadBlock(std::size_t type, std::string_view body) {
        if (type == 0x0A0D0D0A) {
            EXPECT_EQ(Number(body, 0), 0x1A2B3C4DU);
            m_strProgram = Option(body.substr(16), 4);
        } else if (type == 1) {
            EXPECT_EQ(Option(body.substr(8), 9), "\x09");
            m_Interfaces.push_back(std::to_string(Number(body, 0, 2)) + " " +
                                   Option(body.substr(8), 2));
        } else {
            EXPECT_EQ(type, 6U);
            m_Times.push_back(std::uint64_t{Number(body, 4)} << 32 | Number(body, 8));
            m_Items.push_back(std::to_string(Number(body, 0)) + ReadPacket(body));
        }
    }

    static std::string ReadPacket(std::string_view body) {
        const std::size_t size = Number(body, 12);
        std::string_view data = body.substr(20, size);
        const std::string_view options = body.substr(20 + Padded(size));
        const std::string flags = Option(options, 2);
        if (flags.empty()) {
            EXPECT_EQ(size, 0U);
            return " # " + Option(options, 1);
        }
        if (Number(body, 0) == 0) {
            EXPECT_EQ(data.substr(0, 4), std::string({0, 0, 0, flags[0] == 1 ? '\1' : '\0'}));
            data.remove_prefix(4);
        }
        return (flags[0] == 1 ? " < " : " > ") + ToHex({data.begin(), data.end()});
    }

    // The value of an option, "" without it.
    static std::string Option(std::string_view options, std::size_t number) {
        while (Number(options, 0, 2) != number && Number(options, 0, 2) != 0) {
            options.remove_prefix(4 + Padded(Number(options, 2, 2)));
        }
        return std::string(options.substr(4, Number(options, 2, 2)));
    }
};
