#pragma once

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/HexRecord.h"

// Random Intel HEX text, the same for the same seed on every machine: mostly well formed, with
// everything in it that the rules treat in a special way.
class CDamagedHex {
public:
    explicit CDamagedHex(unsigned int seed) : m_Random(seed) {}

    // 0 to limit - 1.
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_Random() % limit); }

    // Whole records without damage; one of apart records, on average, leaves a gap before it.
    std::string Records(unsigned int count, unsigned int apart) {
        std::string text;
        for (unsigned int i = 0; i < count; ++i) {
            text += Record(apart);
        }
        return text;
    }

    void Damage(std::string& text, unsigned int times) {
        for (unsigned int i = 0; i < times; ++i) {
            DamageOnce(text);
        }
    }

private:
    std::vector<unsigned char> Bytes(unsigned int count) {
        std::vector<unsigned char> bytes(count);
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(m_Random());
        }
        return bytes;
    }

    std::string Record(unsigned int apart) {
        const auto byte = static_cast<unsigned char>(Below(256));
        const auto bit = static_cast<unsigned char>(byte & 1U);
        const unsigned int kind = Below(60);
        switch (kind) {
            case 0:
                return HexRecord(4, 0, {0xFF, static_cast<unsigned char>(0xFE + bit)});
            case 1:
                return HexRecord(4, 0, {0, bit});
            case 2:
                return HexRecord(2, Below(3), {byte, 0});
            case 3:
                return HexRecord(5, 0, {0, 0, byte, 1});
            case 4:
                return HexRecord(4, 0, Bytes(Below(4)));
            default:
                break;
        }
        if (Below(apart) == 0) {
            m_nAddress = Below(0x10000);
        }
        const unsigned int size = kind < 8 ? Below(256) : kind < 30 ? Below(40) : 16;
        std::string record = HexRecord(0, m_nAddress, Bytes(size));
        m_nAddress += size;
        return record;
    }

    void DamageOnce(std::string& text) {
        static constexpr char ODD[] = " \t\r\n\v\f0fFgG:+-xX$@`/\x7f\x80\xff";  // and a NUL
        const std::size_t at = m_Random() % (text.size() + 1);
        const char odd = ODD[Below(sizeof ODD)];
        const std::string inserted[] = {
            std::string(1, odd),
            std::string(Below(3), odd),
            std::string(500 + Below(100), Below(2) == 0 ? ' ' : '0'),
            "\r",
            Below(2) == 0 ? "\n:00000001ff" : "\n:00000001FF ",
        };
        const unsigned int kind = Below(9);
        if (kind < std::size(inserted)) {
            text.insert(kind == 0 ? at : std::min(text.find('\n', at), text.size()),
                        inserted[kind]);
        } else if (kind == 5) {
            text.erase(at, 1);
        } else if (kind == 6) {
            text.resize(at);
        } else if (at < text.size()) {
            text[at] = odd;
        }
        if (Below(20) == 0) {
            text.insert(0, "$\n");
        }
    }

    std::mt19937 m_Random;
    unsigned int m_nAddress = 0;
};
