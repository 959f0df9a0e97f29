#include "image/ChipImageLoadingInformation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "image/ImageText.h"
#include "support/CaseFile.h"
#include "support/FilesText.h"
#include "support/SampleImages.h"
#include "support/TempDir.h"
#include "transport/CommunicationParameters.h"
#include "util/FormatText.h"

namespace {

CChipImageLoadingInformation InfoFromRules(const FILE_CASE& testCase) {
    const CTempDir folder;
    std::string rules = "DevicePreset = \"A\"\n";
    for (const std::string& rule : Split(testCase.Text("|"), "; ")) {
        rules += rule + "\n";
    }
    std::map<std::string, std::string> arguments;
    for (const std::string& argument : Split(OnOneLine(testCase.Text("$")), "; ")) {
        const std::size_t end = std::min(argument.find('='), argument.size());
        arguments[argument.substr(0, end)] = argument.substr(std::min(end + 1, argument.size()));
    }
    const auto textOrNull = [&arguments](const char* name) {
        return arguments.contains(name) ? arguments[name].c_str() : nullptr;
    };
    CCommunicationParameters uart;
    EXPECT_EQ(uart.ParseCommParams(" PORT=/dev/ttyS0\n"), "");
    const std::string vnp = folder.Write("rules.vnp", rules);
    const CChipImageLoadingInformation info(vnp.c_str(), uart, textOrNull("firmware"),
                                            textOrNull("config"), textOrNull("minidriver"),
                                            textOrNull("directory"), nullptr);
    EXPECT_EQ(info.GetVnpFileNameIfSpecified(), vnp);
    return info;
}

TEST(ChipImageLoadingInformation, RulesAndArgumentsChooseTheFiles) {
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/rule_driven.txt")) {
        SCOPED_TRACE(testCase.name);
        const CChipImageLoadingInformation info = InfoFromRules(testCase);
        const char* custom = info.GetCustomDLTypeIfSpecified();
        const std::string text = custom == nullptr ? "" : "custom " + std::string(custom) + "\n";
        EXPECT_EQ(OnOneLine(text + FilesText(info.GetDescriptor())), OnOneLine(testCase.Text(">")));
        EXPECT_EQ(info.IsVintorMode(), custom == nullptr);
        EXPECT_EQ(info.GetDescriptor().CountRuleSets(), 1U);
    }
}

CChipImageLoadingInformation InfoOf(const FILE_CASE& testCase, const CTempDir& folder) {
    CChipDownloadDescriptor files;
    bool isVintorMode = true;
    for (const auto& [mark, text] : testCase.lines) {
        if (mark == 'x') {
            const std::size_t end = text.find(' ');
            folder.Write(text.substr(0, end), TextFromHex(text.substr(end)));
        } else if (mark == 'm') {
            files.AddMinidriverFileName(text);
        } else if (mark == 'c') {
            files.AddConfigDataFileName(text);
        } else if (mark == 'f') {
            files.AddFirmwareFileName(text);
        } else if (mark == 'r') {
            isVintorMode = false;
        }
    }
    CChipImageLoadingInformation info(files, false, nullptr);
    if (isVintorMode) {
        info.MarkVintorMode();
    }
    return info;
}

TEST(ChipImageLoadingInformation, FilesBecomeTheChunksOfTheCases) {
    const CTempDir folder;
    std::filesystem::current_path(folder.Path());
    for (const FILE_CASE& testCase : ReadCases(HCILOAD_TEST_DATA "/loads.txt")) {
        SCOPED_TRACE(testCase.name);
        CChipImageLoadingInformation info = InfoOf(testCase, folder);
        for (int preparation = 1; preparation <= 2; ++preparation) {
            std::string text = info.PrepareToLoad(nullptr);
            text = text.empty() ? text : "error: " + text + "\n";
            for (unsigned int i = 0; i < info.CountChunks(); ++i) {
                const CChipImageByteData& chunk = info.GetChunk(i);
                text += chunk.GetSourceType() + std::string(", ") + chunk.GetName() + ", " +
                        chunk.GetSourceId() + ": " + ImageText(chunk) + "\n";
            }
            text += FormatText("launch %X\n", info.GetLaunchAddress());
            EXPECT_EQ(text, testCase.Text(">")) << preparation;
        }
    }
    std::filesystem::current_path("/");
}

TEST(ChipImageLoadingInformation, AnotherPreparationForgetsTheLaunchAddress) {
    const CTempDir folder;
    const std::string config = folder.Write("config", HcdFile({{0x400, {5}}}, 0x400));
    CChipImageLoadingInformation info(nullptr, config.c_str(), nullptr);
    ASSERT_EQ(info.PrepareToLoad(nullptr), "");
    EXPECT_EQ(info.GetLaunchAddress(), 0x400U);
    folder.Write("config", IntelHexText({{0x400, {5}}}));
    ASSERT_EQ(info.PrepareToLoad(nullptr), "");
    EXPECT_EQ(info.GetLaunchAddress(), 0U);
}

TEST(ChipImageLoadingInformation, AnEmptyLoadCanBeAllowed) {
    CChipImageLoadingInformation refused("", "null", "NULL");
    EXPECT_EQ(refused.PrepareToLoad(nullptr), "No data/code to load.");
    CChipImageLoadingInformation empty(CChipDownloadDescriptor(), true, "");
    empty.MarkVintorMode();
    EXPECT_EQ(empty.PrepareToLoad(nullptr), "");
    EXPECT_EQ(empty.GetVnpFileNameIfSpecified(), nullptr);
}

TEST(ChipImageLoadingInformation, SuppliedImagesComeLastAndAreEnough) {
    std::vector<CChipImageByteData> images = {{"FIRMWARE", "ready-made", "memory"}};
    Bytes data = {1, 2, 3};
    images[0].AddRange(CByteBuffer(data.data(), 3, BYTE_BUFFER_OWNED));
    // A VNP file that is not there is one without parameters.
    CChipImageLoadingInformation info("/nowhere.vnp", CCommunicationParameters(), nullptr, nullptr,
                                      nullptr, nullptr, &images);
    ASSERT_EQ(info.PrepareToLoad(nullptr), "");
    ASSERT_EQ(info.CountChunks(), 1U);
    EXPECT_STREQ(info.GetChunk(0).GetName(), "ready-made");
    EXPECT_EQ(RangesText(info.GetChunk(0)), " 0:010203");
}

TEST(ChipImageLoadingInformation, FindsChunksByNameAndKindWhateverTheirCase) {
    CChipImageLoadingInformation info(CChipDownloadDescriptor(), false, nullptr);
    info.AddChunk({"FIRMWARE", "one", ""});
    info.AddChunk({"config", "two", ""});
    info.AddChunk({"Firmware", "Two", ""});
    const auto find = [&info](const char* name, const char* kind, unsigned int start) {
        return info.FindNextDataChunk(name, kind, start);
    };
    constexpr unsigned int NONE = 0xFFFFFFFFU;
    EXPECT_EQ(find(nullptr, "firmware", 0), 0U);
    EXPECT_EQ(find(nullptr, "FIRMWARE", 1), 2U);
    EXPECT_EQ(find(nullptr, "CONFIG", 2), NONE);
    EXPECT_EQ(find("TWO", nullptr, 0), 1U);
    EXPECT_EQ(find("two", "FIRMWARE", 0), 2U);
    EXPECT_EQ(find(nullptr, nullptr, 1), 1U);
    EXPECT_EQ(find(nullptr, nullptr, NONE), NONE);
}

}  // namespace
