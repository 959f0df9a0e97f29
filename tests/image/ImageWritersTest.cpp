#include "image/ImageWriters.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "image/ImageFile.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "util/FormatText.h"

namespace {

// Areas in any order, some of which continue each other, and what else goes into a file.
class CRandomImage {
public:
    explicit CRandomImage(unsigned int seed)
        : m_Random(seed), m_Format(seed % 2 == 0 ? ImageFormat::HEX : ImageFormat::HCD) {
        m_nRecordSize = 1 + Below(m_Format == ImageFormat::HEX ? 255 : 251);
        m_Launch = seed % 3 == 0 ? std::optional(Below(0xFFFFFFFF)) : std::nullopt;
        unsigned int address = Below(4) == 0 ? 0xFFF80000 : Below(0x01000000);
        std::vector<CByteBuffer> ranges;
        for (unsigned int i = 0; i < 40 && address < 0xFFFEE000; ++i) {
            Bytes bytes = SampleBytes(1 + Below(600), seed + i);
            const auto size = static_cast<unsigned int>(bytes.size());
            ranges.emplace_back(bytes.data(), size, BYTE_BUFFER_OWNED).SetBaseAddress(address);
            address += size + (Below(3) == 0 ? 0 : Below(70'000));
        }
        std::shuffle(ranges.begin(), ranges.end(), m_Random);
        for (const CByteBuffer& range : ranges) {
            m_Image.AddRange(range);
        }
    }

    std::string Write(const CAddressMap& map) const {
        std::string content;
        (m_Format == ImageFormat::HEX ? WriteHexFile : WriteHcdFile)(
            map.Pieces(), m_nRecordSize, m_Launch,
            [&content](std::string_view text) { content += text; });
        return content;
    }

    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_Random() % limit); }

    std::mt19937 m_Random;
    ImageFormat m_Format;
    unsigned int m_nRecordSize;
    std::optional<std::uint32_t> m_Launch;
    CChipImageByteData m_Image{"", "", ""};
};

CAddressMap MapOf(const CChipImageByteData& image) {
    const CChipImageByteData* const images[] = {&image};
    return CAddressMap(images);
}

// The bytes from the lowest to the highest address.
std::string Filled(const CAddressMap& map, unsigned char gap) {
    const Bytes filler(100, gap);
    std::string bytes;
    WriteRawFile(FillGaps(map.Pieces(), filler), [&](std::string_view text) { bytes += text; });
    return bytes;
}

TEST(ImageWriters, WhatIsWrittenIsReadAgain) {
    const CTempDir folder;
    for (unsigned int seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        const CRandomImage image(seed);
        const CAddressMap map = MapOf(image.m_Image);
        CImageFile file;
        ASSERT_EQ(ReadImageFile({folder.Write("image", image.Write(map)), {}, {}}, file), "");
        EXPECT_EQ(file.m_Format, image.m_Format);
        EXPECT_EQ(file.m_Image.GetFileFacts().m_LaunchAddress, image.m_Launch);
        EXPECT_EQ(file.m_Image.GetFileFacts().m_nLargestRecord, image.m_nRecordSize);
        const CAddressMap again = MapOf(file.m_Image);
        EXPECT_EQ(again.Pieces().front().m_nAddress, map.Pieces().front().m_nAddress);
        EXPECT_EQ(again.CountBytes(), map.CountBytes());
        EXPECT_TRUE(Filled(again, 1) == Filled(map, 1));
    }
}

TEST(ImageWriters, OtherProgramsReadTheSameBytes) {
    const auto isDone = [](const std::string& command) {
        return std::system(command.c_str()) == 0;  // NOLINT(cert-env33-c): fixed commands
    };
    if (!isDone("objcopy --version >/dev/null && srec_cat -VERSion >/dev/null")) {
        GTEST_SKIP() << "no objcopy or no srec_cat";
    }
    const CTempDir folder;
    for (unsigned int seed = 100; seed < 116; seed += 2) {
        const CRandomImage image(seed);
        const CAddressMap map = MapOf(image.m_Image);
        folder.Write("hex", image.Write(map));
        const auto isDoneInFolder = [&](const std::string& command) {
            return isDone(FormatText("cd '%s' && %s", folder.Path().c_str(), command.c_str()));
        };
        EXPECT_TRUE(isDoneInFolder("objcopy -I ihex -O binary --gap-fill 255 hex out")) << seed;
        EXPECT_TRUE(folder.Read("out") == Filled(map, 0xFF)) << seed;
        EXPECT_TRUE(isDoneInFolder(FormatText("srec_cat hex -intel -offset -%u -o out -binary",
                                              map.Pieces().front().m_nAddress)))
            << seed;
        EXPECT_TRUE(folder.Read("out") == Filled(map, 0)) << seed;
    }
}

}  // namespace
