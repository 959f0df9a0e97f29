#include "image/ImageWriters.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "corekit/intelhex/IntelHexBasics.h"
#include "image/HciCommand.h"
#include "image/RecordCutter.h"
#include "util/HexText.h"

namespace {

constexpr std::uint64_t HEX_SEGMENT_SIZE = 0x10000;
constexpr std::uint64_t NO_SEGMENTS = std::uint64_t{1} << 32;

constexpr std::size_t LONGEST_RECORD = 1 + 2 * (4 + 255 + 1) + 1;  // in an Intel HEX file

// Collects small texts, so that the sink gets large ones.
class CBlock {
public:
    explicit CBlock(const FileSink& sink) : m_Sink(sink) {}
    CBlock(const CBlock&) = delete;
    CBlock& operator=(const CBlock&) = delete;
    ~CBlock() { Flush(); }

    // put(out) writes at most LONGEST_RECORD characters and returns their end.
    template <typename Put>
    void PutRecord(const Put& put) {
        if (m_Text.size() - m_nSize < LONGEST_RECORD) {
            Flush();
        }
        char* const out = m_Text.data() + m_nSize;
        m_nSize += static_cast<std::size_t>(put(out) - out);
    }

    void Put(std::span<const unsigned char> bytes) {
        if (bytes.size() > LONGEST_RECORD) {
            Flush();
            m_Sink({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        } else {
            PutRecord([bytes](char* out) { return std::copy(bytes.begin(), bytes.end(), out); });
        }
    }

private:
    void Flush() {
        m_Sink({m_Text.data(), m_nSize});
        m_nSize = 0;
    }

    const FileSink& m_Sink;
    std::size_t m_nSize = 0;
    std::array<char, 65536> m_Text;
};

char* PutHexRecord(char* out, unsigned int type, std::uint32_t address,
                   std::span<const unsigned char> bytes) {
    const unsigned char head[] = {
        static_cast<unsigned char>(bytes.size()), static_cast<unsigned char>(address >> 8),
        static_cast<unsigned char>(address), static_cast<unsigned char>(type)};
    const unsigned int sum =
        std::accumulate(bytes.begin(), bytes.end(), std::accumulate(head, std::end(head), 0U));
    *out++ = ':';
    out = PutHexBytes(PutHexBytes(out, head), bytes);
    out = PutHexByte(out, static_cast<unsigned char>(0x100 - (sum & 0xFF)));
    *out++ = '\n';
    return out;
}

}  // namespace

void AppendHexRecord(std::string& text, unsigned int type, std::uint32_t address,
                     std::span<const unsigned char> bytes) {
    std::array<char, LONGEST_RECORD> line;
    text.append(line.data(), PutHexRecord(line.data(), type, address, bytes));
}

void WriteHexFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink) {
    CBlock block(sink);
    const auto put = [&block](unsigned int type, std::uint32_t address,
                              std::span<const unsigned char> bytes) {
        block.PutRecord([&](char* out) { return PutHexRecord(out, type, address, bytes); });
    };
    std::uint32_t upper = 0;
    CutRecords(pieces, recordSize, HEX_SEGMENT_SIZE, [&](std::uint32_t address, auto bytes) {
        if (address >> 16 != upper) {
            upper = address >> 16;
            const unsigned char digits[] = {static_cast<unsigned char>(upper >> 8),
                                            static_cast<unsigned char>(upper)};
            put(INTEL_HEX_EXTENDED_LINEAR_ADDRESS, 0, digits);
        }
        put(INTEL_HEX_DATA, address, bytes);
    });
    if (launchAddress) {
        const std::uint32_t launch = *launchAddress;
        const unsigned char digits[] = {
            static_cast<unsigned char>(launch >> 24), static_cast<unsigned char>(launch >> 16),
            static_cast<unsigned char>(launch >> 8), static_cast<unsigned char>(launch)};
        put(INTEL_HEX_START_LINEAR_ADDRESS, 0, digits);
    }
    put(INTEL_HEX_END_OF_FILE, 0, {});
}

void WriteHcdFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink) {
    CBlock block(sink);
    CutRecords(pieces, recordSize, NO_SEGMENTS, [&](std::uint32_t address, auto bytes) {
        block.Put(HCI_WRITE_RAM.Bytes(address, bytes));
    });
    if (launchAddress) {
        block.Put(HCI_LAUNCH_RAM.Bytes(*launchAddress));
    }
}

void WriteRawFile(std::span<const CMemoryPiece> pieces, const FileSink& sink) {
    CBlock block(sink);
    for (const CMemoryPiece& piece : pieces) {
        block.Put(piece.m_Bytes);
    }
}

std::vector<CMemoryPiece> FillGaps(std::span<const CMemoryPiece> pieces,
                                   std::span<const unsigned char> filler) {
    std::vector<CMemoryPiece> filled;
    for (const CMemoryPiece& piece : pieces) {
        while (!filled.empty() && filled.back().End() != piece.m_nAddress) {
            const std::uint64_t gapStart = filled.back().End();
            filled.push_back({static_cast<std::uint32_t>(gapStart), piece.m_nSource,
                              filler.first(std::min<std::uint64_t>(piece.m_nAddress - gapStart,
                                                                   filler.size()))});
        }
        filled.push_back(piece);
    }
    return filled;
}
