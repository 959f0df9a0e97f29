#include "image/ImageWriters.h"

#include <array>
#include <numeric>

#include "corekit/intelhex/IntelHexBasics.h"
#include "image/HciCommand.h"
#include "image/RecordCutter.h"
#include "util/HexText.h"

namespace {

constexpr std::uint64_t HEX_SEGMENT_SIZE = 0x10000;
constexpr std::uint64_t NO_SEGMENTS = std::uint64_t{1} << 32;

// Collects small texts, so that the sink gets large ones.
class CBlock {
public:
    explicit CBlock(const FileSink& sink) : m_Sink(sink) { m_strText.reserve(SIZE + LONGEST); }
    CBlock(const CBlock&) = delete;
    CBlock& operator=(const CBlock&) = delete;
    ~CBlock() { m_Sink(m_strText); }

    std::string& Text() {
        if (m_strText.size() >= SIZE) {
            Flush();
        }
        return m_strText;
    }
    void Put(std::string_view text) {
        if (text.size() < SIZE) {
            Text() += text;
        } else {
            Flush();
            m_Sink(text);
        }
    }

private:
    static constexpr std::size_t SIZE = 65536;
    static constexpr std::size_t LONGEST = 1024;

    void Flush() {
        m_Sink(m_strText);
        m_strText.clear();
    }

    const FileSink& m_Sink;
    std::string m_strText;
};

std::string_view AsText(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

void AppendHexRecord(std::string& text, unsigned int type, std::uint32_t address,
                     std::span<const unsigned char> bytes) {
    const unsigned char head[] = {
        static_cast<unsigned char>(bytes.size()), static_cast<unsigned char>(address >> 8),
        static_cast<unsigned char>(address), static_cast<unsigned char>(type)};
    const unsigned int sum =
        std::accumulate(bytes.begin(), bytes.end(), std::accumulate(head, std::end(head), 0U));
    std::array<char, 1 + 2 * (4 + 255 + 1) + 1> line;
    char* out = line.data();
    *out++ = ':';
    out = PutHexBytes(PutHexBytes(out, head), bytes);
    out = PutHexByte(out, static_cast<unsigned char>(0x100 - (sum & 0xFF)));
    *out++ = '\n';
    text.append(line.data(), out);
}

void WriteHexFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink) {
    CBlock block(sink);
    std::uint32_t upper = 0;
    CutRecords(pieces, recordSize, HEX_SEGMENT_SIZE, [&](std::uint32_t address, auto bytes) {
        if (address >> 16 != upper) {
            upper = address >> 16;
            const unsigned char digits[] = {static_cast<unsigned char>(upper >> 8),
                                            static_cast<unsigned char>(upper)};
            AppendHexRecord(block.Text(), INTEL_HEX_EXTENDED_LINEAR_ADDRESS, 0, digits);
        }
        AppendHexRecord(block.Text(), INTEL_HEX_DATA, address, bytes);
    });
    if (launchAddress) {
        const std::uint32_t launch = *launchAddress;
        const unsigned char digits[] = {
            static_cast<unsigned char>(launch >> 24), static_cast<unsigned char>(launch >> 16),
            static_cast<unsigned char>(launch >> 8), static_cast<unsigned char>(launch)};
        AppendHexRecord(block.Text(), INTEL_HEX_START_LINEAR_ADDRESS, 0, digits);
    }
    AppendHexRecord(block.Text(), INTEL_HEX_END_OF_FILE, 0, {});
}

void WriteHcdFile(std::span<const CMemoryPiece> pieces, unsigned int recordSize,
                  std::optional<std::uint32_t> launchAddress, const FileSink& sink) {
    CBlock block(sink);
    CutRecords(pieces, recordSize, NO_SEGMENTS, [&](std::uint32_t address, auto bytes) {
        block.Text() += AsText(HCI_WRITE_RAM.Bytes(address, bytes));
    });
    if (launchAddress) {
        block.Text() += AsText(HCI_LAUNCH_RAM.Bytes(*launchAddress));
    }
}

void WriteRawFile(std::span<const CMemoryPiece> pieces, const FileSink& sink) {
    CBlock block(sink);
    for (const CMemoryPiece& piece : pieces) {
        block.Put(AsText(piece.m_Bytes));
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
