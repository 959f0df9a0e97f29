#include <gtest/gtest.h>

#include "rules/CreateEncoderInstance.h"
#include "rules/SimpleXOREncoderDecoder.h"
#include "rules/TextFileRawOrEncrypted.h"
#include "support/HexBytes.h"
#include "support/TempDir.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

CByteBuffer Borrow(Bytes& bytes) {
    return {bytes.data(), static_cast<unsigned int>(bytes.size()), BYTE_BUFFER_BORROWED};
}

std::string HexOf(const CByteBuffer& buffer) {
    return ToHex({buffer.GetDataBuffer(), buffer.GetDataBuffer() + buffer.GetDataByteSize()});
}

Lines ReadAll(CTextFileRawOrEncrypted& file) {
    Lines lines;
    for (; !file.IsEOF(); lines.push_back(file.ReadNextLine())) {
    }
    return lines;
}

class EncoderDecoder : public ::testing::Test {
protected:
    EncoderDecoder() { EXPECT_EQ(m_pCoder->Initialize(), ""); }

    std::string Encode(const std::string& source, const std::string& destination) {
        return m_pCoder->EncodeFile(source.c_str(), destination.c_str());
    }

    const CTempDir m_Dir;
    const std::string m_strOut = m_Dir.PathOf("out");
    const std::unique_ptr<CBaseEncoderDecoder> m_pCoder =
        CreateEncoderInstance("xor", "A5 0x3C F1 81 e7");
    const std::unique_ptr<CBaseEncoderDecoder> m_pUnready = CreateEncoderInstance("XOR", "1");
};

TEST_F(EncoderDecoder, ComesForAKnownTypeAndAKeyOfBytes) {
    const std::string tooLong = ToHex(Bytes(257, 0x5A));
    EXPECT_NE(CreateEncoderInstance("xOr", tooLong.substr(3).c_str()), nullptr);
    for (const char* const key :
         {tooLong.c_str(), "", "1 xyz", "100", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CreateEncoderInstance("XOR", key), nullptr);
    }
    EXPECT_EQ(CreateEncoderInstance("AES", "1"), nullptr);
    EXPECT_EQ(CreateEncoderInstance(nullptr, "1"), nullptr);
    EXPECT_EQ(CSimpleXOREncoderDecoder(tooLong.c_str()).Initialize(), "Incorrect Key");
}

TEST_F(EncoderDecoder, RepeatsTheKeyAcrossCalls) {
    Bytes first(3, 0);
    Bytes second(3, 0xFF);
    CByteBuffer output;
    EXPECT_EQ(m_pCoder->EncodeBytes(Borrow(first), output), "");
    EXPECT_EQ(HexOf(output), "A5 3C F1");
    EXPECT_EQ(m_pCoder->EncodeBytes(Borrow(second), output), "");
    EXPECT_EQ(HexOf(output), "7E 18 5A");
    EXPECT_EQ(m_pCoder->StartDecode(), "");
    EXPECT_EQ(m_pCoder->DecodeBytes(Borrow(first), output), "");
    EXPECT_EQ(m_pCoder->DecodeBytes(output, output), "") << "in place";
    EXPECT_EQ(HexOf(output), "24 DB 54");

    EXPECT_EQ(m_pCoder->Initialize(), "Object is already initialized");
    EXPECT_EQ(m_pCoder->EncodeBytes(CByteBuffer(), output), "Empty Input data buffer");
    EXPECT_EQ(m_pUnready->EncodeBytes(CByteBuffer(), output), "Not Initialized!");
}

TEST_F(EncoderDecoder, SaysWhichFileCannotBeConverted) {
    const std::string plain = m_Dir.Write("plain", "some text");
    for (const std::string& missing : {m_strOut, m_Dir.Path(), ""s}) {
        EXPECT_EQ(Encode(missing, "/dev/null"), "File \"" + missing + "\" dest not exists");
    }
    EXPECT_EQ(m_pCoder->DecodeFile(nullptr, m_strOut.c_str()), "File \"\" dest not exists");
    EXPECT_EQ(m_pCoder->EncodeFile(plain.c_str(), nullptr), "Failed to open \"\" for writing");
    EXPECT_EQ(Encode(plain, "/proc/no"), "Failed to open \"/proc/no\" for writing");
    EXPECT_EQ(Encode(plain, m_Dir.PathOf("./plain")),
              "\"" + plain + "\" cannot be converted onto itself");
    EXPECT_EQ(m_Dir.Read("plain"), "some text");
    EXPECT_EQ(Encode(plain, "/dev/full"), "Failed to write \"/dev/full\"");
    EXPECT_EQ(Encode("/proc/self/mem", m_strOut), "Failed to read \"/proc/self/mem\"");
    EXPECT_EQ(m_pUnready->EncodeFile(plain.c_str(), m_strOut.c_str()), "Not Initialized!");

    Lines read;
    EXPECT_EQ(m_pCoder->EncodeTextLinesToFile({}, m_strOut.c_str()), "No Input Lines to encode");
    EXPECT_EQ(m_pCoder->EncodeTextLinesToFile({"x"}, "/dev/full"), "Failed to write \"/dev/full\"");
    EXPECT_EQ(m_pCoder->DecodeTextLinesFromFile("", read), "Failed to open \"\" for reading");
    EXPECT_EQ(m_pUnready->DecodeTextLinesFromFile(plain.c_str(), read), "Not Initialized!");
    EXPECT_EQ(read, Lines{});
}

TEST_F(EncoderDecoder, ReadsAScrambledFileFromTheStartAgain) {
    const Lines text = {"first = " + std::string(500, 'p') + "\n", "\n", "last = 1"};
    const std::string plain = m_Dir.Write("plain", text[0] + "\r\n" + text[2]);
    EXPECT_EQ(Encode(plain, m_strOut), "");
    CTextFileRawOrEncrypted file(m_strOut.c_str(), m_pCoder.get());
    EXPECT_EQ(ReadAll(file), text);
    EXPECT_EQ(file.ReadNextLine(), "");
    file.ResetFile();
    EXPECT_EQ(file.ReadNextLine(), text[0]);
    file.ResetFile();
    EXPECT_EQ(ReadAll(file), text);
    CTextFileRawOrEncrypted unready(m_strOut.c_str(), m_pUnready.get());
    EXPECT_EQ(ReadAll(unready), Lines{""}) << "it ends where it cannot be decoded";
}

TEST_F(EncoderDecoder, ReadsAPlainFileInPieces) {
    const std::string path = m_Dir.Write("plain", "one\r\n" + std::string(500, 'x') + "\n\nend");
    CTextFileRawOrEncrypted file(path.c_str(), m_pCoder.get());
    EXPECT_EQ(ReadAll(file), (Lines{"one\r\n", std::string(499, 'x'), "x\n", "\n", "end"}));

    CTextFileRawOrEncrypted missing(m_strOut.c_str(), m_pCoder.get());
    EXPECT_FALSE(missing.IsValidFile());
    missing.ResetFile();
    EXPECT_EQ(missing.ReadNextLine(), "");
    EXPECT_TRUE(missing.IsEOF());
}

}  // namespace
