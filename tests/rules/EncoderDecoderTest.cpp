#include <gtest/gtest.h>
#include <unistd.h>

#include "rules/CreateEncoderInstance.h"
#include "rules/DownloadRulesSet.h"
#include "rules/SimpleXOREncoderDecoder.h"
#include "rules/TextFileRawOrEncrypted.h"
#include "support/TempDir.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

constexpr const char KEY[] = "A5 0x3C F1 81 e7";

std::string KeyOf(unsigned int count) {
    std::string text;
    for (unsigned int i = 0; i < count; ++i) {
        text += std::to_string(10 + i % 90) + ' ';
    }
    return text;
}

std::unique_ptr<CBaseEncoderDecoder> MakeCoder(const std::string& key = KEY) {
    auto coder = CreateEncoderInstance("xor", key.c_str());
    EXPECT_EQ(coder->Initialize(), "");
    return coder;
}

CByteBuffer Borrow(std::string& bytes) {
    return {reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()),
            BYTE_BUFFER_BORROWED};
}

std::string BytesOf(const CByteBuffer& buffer) {
    return {buffer.GetDataBuffer(), buffer.GetDataBuffer() + buffer.GetDataByteSize()};
}

Lines ReadAll(CTextFileRawOrEncrypted& file) {
    Lines lines;
    while (!file.IsEOF()) {
        lines.push_back(file.ReadNextLine());
    }
    return lines;
}

class EncoderDecoder : public ::testing::Test {
protected:
    std::string Path(const char* name) const { return m_Dir.PathOf(name); }

    // The path of a file that holds the text scrambled as one stream.
    std::string WriteScrambled(const std::string& text) const {
        const std::string plain = m_Dir.Write("to-scramble", text);
        EXPECT_EQ(MakeCoder()->EncodeFile(plain.c_str(), Path("scrambled").c_str()), "");
        return Path("scrambled");
    }

    CTempDir m_Dir;
};

TEST_F(EncoderDecoder, IsCreatedForAKnownTypeAndAKey) {
    const std::string key256 = KeyOf(256);
    const std::string key257 = KeyOf(257);
    const struct {
        const char* type;
        const char* key;
        bool made;
    } cases[] = {
        {"XOR", "1", true},      {"xOr", key256.c_str(), true}, {"XOR", key257.c_str(), false},
        {"XOR", "", false},      {"XOR", "1 xyz", false},       {"XOR", "100", false},
        {"XOR", nullptr, false}, {nullptr, "1", false},         {"AES", "1", false},
        {"XOR ", "1", false}};
    for (const auto& c : cases) {
        EXPECT_EQ(CreateEncoderInstance(c.type, c.key) != nullptr, c.made) << (c.key ? c.key : "");
    }
}

TEST_F(EncoderDecoder, RefusesWhatItCannotUse) {
    std::string text = "x";
    CByteBuffer output;
    const auto coder = CreateEncoderInstance("XOR", KEY);
    EXPECT_EQ(coder->EncodeBytes(CByteBuffer(), output), "Not Initialized!");
    EXPECT_EQ(coder->DecodeBytes(Borrow(text), output), "Not Initialized!");
    EXPECT_EQ(coder->Initialize(), "");
    EXPECT_EQ(coder->Initialize(), "Object is already initialized");
    EXPECT_EQ(coder->EncodeBytes(CByteBuffer(), output), "Empty Input data buffer");

    for (const std::string& key : {""s, "no key"s, KeyOf(257)}) {
        CSimpleXOREncoderDecoder wrong(key.c_str());
        EXPECT_EQ(wrong.Initialize(), "Incorrect Key") << key;
    }
}

TEST_F(EncoderDecoder, RepeatsTheKeyAcrossCalls) {
    std::string first("\0\0\0"s);
    std::string second("\xFF\xFF\xFF");
    CByteBuffer output;
    const auto coder = MakeCoder();
    EXPECT_EQ(coder->EncodeBytes(Borrow(first), output), "");
    EXPECT_EQ(BytesOf(output), "\xA5\x3C\xF1");
    EXPECT_EQ(coder->EncodeBytes(Borrow(second), output), "");
    EXPECT_EQ(BytesOf(output), "\x7E\x18\x5A");
    EXPECT_EQ(coder->StartDecode(), "");
    EXPECT_EQ(coder->DecodeBytes(Borrow(first), output), "");
    EXPECT_EQ(BytesOf(output), "\xA5\x3C\xF1");
    EXPECT_EQ(coder->DecodeBytes(output, output), "") << "in place";
    EXPECT_EQ(BytesOf(output), "\x24\xDB\x54");
}

TEST_F(EncoderDecoder, ConvertsFilesThereAndBack) {
    for (const std::string& key : {"5A"s, std::string(KEY), KeyOf(256)}) {
        for (const std::size_t size : {0U, 1U, 199U, 200U, 201U, 1234U}) {
            std::string content(size, '\0');
            for (std::size_t i = 0; i < size; ++i) {
                content[i] = static_cast<char>(i * 7);
            }
            const std::string plain = m_Dir.Write("plain", content);
            const auto coder = MakeCoder(key);
            EXPECT_EQ(coder->EncodeFile(plain.c_str(), Path("once").c_str()), "");
            EXPECT_EQ(coder->EncodeFile(Path("once").c_str(), Path("twice").c_str()), "");
            EXPECT_EQ(coder->DecodeFile(Path("once").c_str(), Path("back").c_str()), "");
            EXPECT_EQ(m_Dir.Read("twice"), content);
            EXPECT_EQ(m_Dir.Read("back"), content);
            EXPECT_EQ(m_Dir.Read("once").size(), size);
            EXPECT_TRUE(size == 0 || m_Dir.Read("once") != content);
        }
    }
}

TEST_F(EncoderDecoder, ReportsFilesThatCannotBeConverted) {
    const std::string plain = m_Dir.Write("plain", "some text");
    const std::string out = Path("out");
    const auto coder = MakeCoder();
    for (const std::string& missing : {Path("missing"), m_Dir.Path(), ""s}) {
        const std::string error = "File \"" + missing + "\" dest not exists";
        EXPECT_EQ(coder->EncodeFile(missing.c_str(), out.c_str()), error);
        EXPECT_EQ(coder->DecodeFile(missing.c_str(), out.c_str()), error);
    }
    EXPECT_NE(::access(out.c_str(), F_OK), 0);
    EXPECT_EQ(coder->EncodeFile(nullptr, out.c_str()), "File \"\" dest not exists");
    EXPECT_EQ(coder->EncodeFile(plain.c_str(), nullptr), "Failed to open \"\" for writing");
    const std::string noDir = Path("no/dir");
    EXPECT_EQ(coder->EncodeFile(plain.c_str(), noDir.c_str()),
              "Failed to open \"" + noDir + "\" for writing");
    EXPECT_EQ(coder->EncodeFile(plain.c_str(), m_Dir.PathOf("./plain").c_str()),
              "\"" + plain + "\" cannot be converted onto itself");
    EXPECT_EQ(m_Dir.Read("plain"), "some text");
    EXPECT_EQ(CreateEncoderInstance("XOR", KEY)->EncodeFile(plain.c_str(), out.c_str()),
              "Not Initialized!");
    if (::access("/dev/full", W_OK) == 0) {
        EXPECT_EQ(coder->EncodeFile(plain.c_str(), "/dev/full"), "Failed to write \"/dev/full\"");
    }
}

TEST_F(EncoderDecoder, KeepsListsOfLines) {
    const Lines lists[] = {
        {"one", "", "three "},
        {""},
        {"", ""},
        {std::string(199, 'x')},
        {std::string(200, 'x'), "y"},
        {std::string(500, 'a'), std::string(5000, 'b'), "\xC3\xA9\t\x01"},
    };
    const std::string path = Path("lines");
    for (const Lines& lines : lists) {
        const auto coder = MakeCoder();
        EXPECT_EQ(coder->EncodeTextLinesToFile(lines, path.c_str()), "");
        Lines read = {"kept"};
        EXPECT_EQ(coder->DecodeTextLinesFromFile(path.c_str(), read), "");
        ASSERT_EQ(read.size(), lines.size() + 1);
        read.erase(read.begin());
        EXPECT_EQ(read, lines);
    }
    const auto coder = MakeCoder();
    Lines read;
    EXPECT_EQ(coder->DecodeTextLinesFromFile(WriteScrambled("a\r\n\r\nb").c_str(), read), "");
    EXPECT_EQ(read, (Lines{"a", "", "b"}));
}

TEST_F(EncoderDecoder, ReportsListsThatCannotBeKept) {
    const std::string path = Path("lines");
    const auto coder = MakeCoder();
    Lines read;
    EXPECT_EQ(coder->EncodeTextLinesToFile({}, path.c_str()), "No Input Lines to encode");
    EXPECT_EQ(coder->EncodeTextLinesToFile({"x"}, m_Dir.Path().c_str()),
              "Failed to open \"" + m_Dir.Path() + "\" for writing");
    for (const std::string& missing : {path, m_Dir.Path(), ""s}) {
        EXPECT_EQ(coder->DecodeTextLinesFromFile(missing.c_str(), read),
                  "Failed to open \"" + missing + "\" for reading");
    }
    const auto unready = CreateEncoderInstance("XOR", KEY);
    EXPECT_EQ(unready->EncodeTextLinesToFile({"x"}, path.c_str()), "Not Initialized!");
    m_Dir.Write("lines", "x");
    EXPECT_EQ(unready->DecodeTextLinesFromFile(path.c_str(), read), "Not Initialized!");
    EXPECT_TRUE(read.empty());
}

TEST_F(EncoderDecoder, ReadsAScrambledRuleFileLineByLine) {
    const Lines text = {"DevicePreset = \"Board\"\n",
                        "DLMaxWriteSize = 200\n",
                        "Path = " + std::string(500, 'p') + "\n",
                        "Key = " + std::string(5000, 'k') + "\n",
                        "\n",
                        "last = 1"};
    std::string all;
    for (const std::string& line : text) {
        all += line.back() == '\n' ? line.substr(0, line.size() - 1) + "\r\n" : line;
    }
    const auto coder = MakeCoder();
    CTextFileRawOrEncrypted file(WriteScrambled(all).c_str(), coder.get());
    ASSERT_TRUE(file.IsValidFile());
    EXPECT_EQ(ReadAll(file), text);
    EXPECT_EQ(file.ReadNextLine(), "");
    file.ResetFile();
    EXPECT_EQ(file.ReadNextLine(), text[0]);
    file.ResetFile();
    EXPECT_EQ(ReadAll(file), text);

    CDownloadRulesSet rules("");
    const std::string back = Path("back.vnp");
    EXPECT_EQ(coder->DecodeFile(Path("scrambled").c_str(), back.c_str()), "");
    EXPECT_EQ(rules.LoadFromDownloadParametersFile(Path("scrambled").c_str()), "NA");
    EXPECT_EQ(rules.LoadFromDownloadParametersFile(back.c_str()), "");
    EXPECT_STREQ(rules.GetDownloadParameter("DLMaxWriteSize"), "200");
}

TEST_F(EncoderDecoder, ReadsPlainFilesInPieces) {
    const std::string path = m_Dir.Write("plain", "one\r\n" + std::string(500, 'x') + "\n\nend");
    const Lines expected = {"one\r\n", std::string(499, 'x'), "x\n", "\n", "end"};
    const auto coder = MakeCoder();
    for (CBaseEncoderDecoder* decoder : {coder.get(), static_cast<CBaseEncoderDecoder*>(nullptr)}) {
        CTextFileRawOrEncrypted file(path.c_str(), decoder);
        EXPECT_EQ(ReadAll(file), expected);
        file.ResetFile();
        EXPECT_EQ(file.ReadNextLine(), "one\r\n");
        EXPECT_FALSE(file.IsEOF());
    }
}

TEST_F(EncoderDecoder, TellsScrambledFromPlainByTheFirst200Bytes) {
    const struct {
        std::string content;
        bool plain;
    } cases[] = {
        {"", true},
        {"text\r\n \x7F~", true},
        {"a\tb", false},
        {std::string(199, 'x') + "\t", false},
        {std::string(200, 'x') + "\t\x80\xFF"s + '\0', true},
        {"caf\xC3\xA9", false},
        {"\x80", false},
        {"\xFF", false},
        {"\0"s, false},
        {"\x1F", false},
    };
    for (const auto& c : cases) {
        const std::string path = m_Dir.Write("file", c.content);
        const auto coder = MakeCoder("01");
        CTextFileRawOrEncrypted file(path.c_str(), coder.get());
        std::string read;
        for (const std::string& line : ReadAll(file)) {
            read += line;
        }
        EXPECT_EQ(read == c.content, c.plain) << testing::PrintToString(c.content);
        CTextFileRawOrEncrypted undecoded(path.c_str(), nullptr);
        EXPECT_TRUE(c.content.starts_with(undecoded.ReadNextLine()));
        EXPECT_EQ(undecoded.IsEOF(), c.content.find('\n') == std::string::npos);
    }
}

TEST_F(EncoderDecoder, ReaderWithoutAUsableFileOrDecoderIsAtItsEnd) {
    const auto unready = CreateEncoderInstance("XOR", KEY);
    for (const std::string& missing : {Path("missing"), m_Dir.Path(), ""s}) {
        CTextFileRawOrEncrypted file(missing.c_str(), unready.get());
        EXPECT_FALSE(file.IsValidFile());
        EXPECT_TRUE(file.IsEOF());
        file.ResetFile();
        EXPECT_EQ(file.ReadNextLine(), "");
    }
    CTextFileRawOrEncrypted file(WriteScrambled("text").c_str(), unready.get());
    EXPECT_EQ(ReadAll(file), Lines{""});
}

}  // namespace
