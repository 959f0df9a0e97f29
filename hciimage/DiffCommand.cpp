#include "hciimage/DiffCommand.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>

#include "hciimage/MemoryFiles.h"
#include "os/Terminal.h"
#include "util/FormatText.h"

namespace {

constexpr std::uint64_t NOWHERE = std::uint64_t{1} << 32;

// Walks over the bytes of a map.
class CCursor {
public:
    explicit CCursor(const CAddressMap& map) : m_Pieces(map.Pieces()) { Settle(); }

    // NOWHERE at the end.
    std::uint64_t Address() const {
        return m_Pieces.empty()
                   ? NOWHERE
                   : m_Pieces.front().End() - static_cast<std::uint64_t>(m_Rest.size());
    }
    std::span<const unsigned char> Bytes() const { return m_Rest; }
    void Skip(std::size_t count) {
        m_Rest = m_Rest.subspan(count);
        if (m_Rest.empty()) {
            m_Pieces = m_Pieces.subspan(1);
            Settle();
        }
    }

private:
    void Settle() {
        m_Rest = m_Pieces.empty() ? std::span<const unsigned char>() : m_Pieces.front().m_Bytes;
    }

    std::span<const CMemoryPiece> m_Pieces;
    std::span<const unsigned char> m_Rest;  // of the first piece
};

std::string BytesText(std::uint64_t count) {
    return FormatText("%llu byte%s", static_cast<unsigned long long>(count), count == 1 ? "" : "s");
}

std::string OnlyIn(const std::string& name) {
    return "only in " + CTerminal(stdout).Shown(name);
}

std::size_t CountEqual(std::span<const unsigned char> left, std::span<const unsigned char> right) {
    constexpr std::size_t BLOCK = 4096;  // compared at once, since most files are mostly equal
    std::size_t count = 0;
    while (left.size() - count >= BLOCK &&
           std::memcmp(left.data() + count, right.data() + count, BLOCK) == 0) {
        count += BLOCK;
    }
    const auto start = left.begin() + static_cast<std::ptrdiff_t>(count);
    const auto end = std::mismatch(start, left.end(), right.begin() + (start - left.begin())).first;
    return static_cast<std::size_t>(end - left.begin());
}

std::size_t CountDifferent(std::span<const unsigned char> left,
                           std::span<const unsigned char> right) {
    const auto end = std::mismatch(left.begin(), left.end(), right.begin(), std::not_equal_to<>());
    return static_cast<std::size_t>(end.first - left.begin());
}

enum KIND { EQUAL, DIFFERENT, ONLY_LEFT, ONLY_RIGHT, KINDS };

class CDifferences {
public:
    CDifferences(const IMAGE_ARGUMENTS& arguments, const std::string& left,
                 const std::string& right)
        : m_nLimit(arguments.limit), m_Titles{"equal", "different", OnlyIn(left), OnlyIn(right)} {}

    // Bytes that both have.
    void Compare(std::uint64_t address, std::span<const unsigned char> left,
                 std::span<const unsigned char> right) {
        while (!left.empty()) {
            const bool isEqual = left[0] == right[0];
            const std::size_t count =
                isEqual ? CountEqual(left, right) : CountDifferent(left, right);
            Take(isEqual ? EQUAL : DIFFERENT, address, left.first(count), right.first(count));
            left = left.subspan(count);
            right = right.subspan(count);
            address += count;
        }
    }

    // The bytes of a side that has none are not looked at.
    void Take(KIND kind, std::uint64_t address, std::span<const unsigned char> left,
              std::span<const unsigned char> right) {
        const std::size_t count = kind == ONLY_RIGHT ? right.size() : left.size();
        if (kind != m_Area.kind || address != m_Area.first + m_Area.size) {
            PrintArea();
            m_Area = {kind, address, 0, {}};
        }
        m_Area.size += count;
        for (std::size_t i = 0; kind == DIFFERENT && i < count && m_Area.shown.size() < m_nLimit;
             ++i) {
            m_Area.shown.push_back({left[i], right[i]});
        }
    }

    // False when all bytes are equal.
    bool Finish() {
        PrintArea();
        if (m_nHiddenAreas != 0) {
            std::printf("and %zu more areas\n", m_nHiddenAreas);
        }
        for (std::size_t kind = 0; kind < KINDS; ++kind) {
            if (m_Bytes[kind] != 0 || kind == EQUAL) {
                std::printf("%s: %s\n", m_Titles[kind].c_str(), BytesText(m_Bytes[kind]).c_str());
            }
        }
        return m_Bytes[DIFFERENT] + m_Bytes[ONLY_LEFT] + m_Bytes[ONLY_RIGHT] != 0;
    }

private:
    struct AREA {
        KIND kind = EQUAL;
        std::uint64_t first = 0;
        std::uint64_t size = 0;
        std::vector<std::array<unsigned char, 2>> shown{};
    };

    void PrintArea() {
        m_Bytes[m_Area.kind] += m_Area.size;
        if (m_Area.kind == EQUAL) {
            return;
        }
        if (m_nShownAreas == m_nLimit) {
            ++m_nHiddenAreas;
            return;
        }
        ++m_nShownAreas;
        std::printf("0x%08llX-0x%08llX  %s %s\n", static_cast<unsigned long long>(m_Area.first),
                    static_cast<unsigned long long>(m_Area.first + m_Area.size - 1),
                    BytesText(m_Area.size).c_str(), m_Titles[m_Area.kind].c_str());
        std::uint64_t address = m_Area.first;
        for (const auto& [left, right] : m_Area.shown) {
            if (m_nShownAddresses == m_nLimit) {
                break;
            }
            ++m_nShownAddresses;
            std::printf("  0x%08llX  %02X  %02X\n", static_cast<unsigned long long>(address++),
                        left, right);
        }
    }

    std::size_t m_nLimit;
    std::array<std::string, KINDS> m_Titles;
    AREA m_Area;
    std::array<std::uint64_t, KINDS> m_Bytes{};
    std::size_t m_nShownAreas = 0;
    std::size_t m_nShownAddresses = 0;
    std::size_t m_nHiddenAreas = 0;
};

void Walk(CCursor left, CCursor right, CDifferences& differences) {
    while (left.Address() != NOWHERE || right.Address() != NOWHERE) {
        const std::uint64_t address = std::min(left.Address(), right.Address());
        if (left.Address() == right.Address()) {
            const std::size_t count = std::min(left.Bytes().size(), right.Bytes().size());
            differences.Compare(address, left.Bytes().first(count), right.Bytes().first(count));
            left.Skip(count);
            right.Skip(count);
            continue;
        }
        const bool isLeft = left.Address() < right.Address();
        CCursor& one = isLeft ? left : right;
        const std::uint64_t room = (isLeft ? right : left).Address() - address;
        const auto bytes = one.Bytes().first(std::min<std::uint64_t>(one.Bytes().size(), room));
        differences.Take(isLeft ? ONLY_LEFT : ONLY_RIGHT, address, bytes, bytes);
        one.Skip(bytes.size());
    }
}

}  // namespace

std::string Diff(const IMAGE_ARGUMENTS& arguments, bool* differs) {
    const std::span requests(arguments.files);
    CMemoryFiles left;
    CMemoryFiles right;
    std::string error = left.Read(requests.first(1));
    error = error.empty() ? right.Read(requests.subspan(1)) : error;
    if (!error.empty()) {
        return error;
    }
    const CAddressMap leftMap = left.Map();
    const CAddressMap rightMap = right.Map();
    error = left.ConflictText(leftMap);
    error = error.empty() ? right.ConflictText(rightMap) : error;
    if (!error.empty()) {
        return error;
    }
    CDifferences differences(arguments, requests[0].m_strName,
                             requests.size() == 2 ? requests[1].m_strName : "the other files");
    Walk(CCursor(leftMap), CCursor(rightMap), differences);
    *differs = differences.Finish();
    return {};
}
