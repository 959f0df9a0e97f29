#pragma once

#include <algorithm>
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

    // Whole records without damage; about one in apart does not continue the last one.
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
        const unsigned int kind = Below(60);
        if (kind == 0) {
            return HexRecord(4, 0, {0xFF, static_cast<unsigned char>(0xFE + Below(2))});
        }
        if (kind == 1) {
            return HexRecord(4, 0, {0, static_cast<unsigned char>(Below(2))});
        }
        if (kind == 2) {
            return HexRecord(2, Below(3), {static_cast<unsigned char>(Below(256)), 0});
        }
        if (kind == 3) {
            return HexRecord(5, 0, {0, 0, static_cast<unsigned char>(Below(256)), 1});
        }
        if (kind == 4) {
            return HexRecord(4, 0, Bytes(Below(4)));
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
        const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
        switch (Below(9)) {
            case 0:
                text.insert(at, 1, odd);
                break;
            case 1:
                text.erase(at, 1);
                break;
            case 2:
                text.insert(lineEnd, Below(3), odd);
                break;
            case 3:
                text.insert(lineEnd, 500 + Below(100), Below(2) == 0 ? ' ' : '0');
                break;
            case 4:
                text.insert(lineEnd, "\r");
                break;
            case 5:
                text.insert(lineEnd, Below(2) == 0 ? "\n:00000001ff" : "\n:00000001FF ");
                break;
            case 6:
                text.resize(at);
                break;
            default:
                if (at < text.size()) {
                    text[at] = odd;
                }
                break;
        }
        if (Below(20) == 0) {
            text.insert(0, "$\n");
        }
    }

    std::mt19937 m_Random;
    unsigned int m_nAddress = 0;
};
