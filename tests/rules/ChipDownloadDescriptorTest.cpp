#include "rules/ChipDownloadDescriptor.h"

#include <gtest/gtest.h>

namespace {

TEST(ChipDownloadDescriptor, StartsEmpty) {
    const CChipDownloadDescriptor descriptor;
    EXPECT_EQ(descriptor.CountRuleSets(), 0U);
    EXPECT_EQ(descriptor.CountMinidriverFiles(), 0U);
    EXPECT_EQ(descriptor.CountFirmwareFiles(), 0U);
    EXPECT_EQ(descriptor.CountConfigDataFiles(), 0U);
    EXPECT_STREQ(descriptor.GetLogFileName(), "");
}

TEST(ChipDownloadDescriptor, KeepsEveryNameInOrderAndCopiesDeeply) {
    CChipDownloadDescriptor source;
    source.AddMinidriverFileName("mini.hex");
    source.AddMinidriverFileName("mini.hex");
    source.AddFirmwareFileName("b.hex");
    source.AddFirmwareFileName("a.hex");
    source.AddConfigDataFileName("config.cgs");
    source.SetLogFileName("run.log");
    source.AddRuleSet(CDownloadRulesSet("first"));

    CChipDownloadDescriptor copy = source;
    copy.GetRuleSet(0).SetDownloadParameter("DLMaxWriteSize", "200", false);
    copy.AddRuleSet(CDownloadRulesSet("second"));
    copy.AddFirmwareFileName("c.hex");
    copy.SetLogFileName("");

    EXPECT_EQ(source.CountMinidriverFiles(), 2U);
    EXPECT_EQ(source.GetMinidriverFile(1), "mini.hex");
    EXPECT_EQ(source.CountFirmwareFiles(), 2U);
    EXPECT_EQ(source.GetFirmwareFile(0), "b.hex");
    EXPECT_EQ(source.GetConfigDataFile(0), "config.cgs");
    EXPECT_STREQ(source.GetLogFileName(), "run.log");
    EXPECT_EQ(source.CountRuleSets(), 1U);
    EXPECT_EQ(source.GetRuleSet(0).GetDownloadParameter("DLMaxWriteSize"), nullptr);
    EXPECT_STREQ(copy.GetRuleSet(0).GetDownloadParameter("dlmaxwritesize"), "200");
    EXPECT_STREQ(copy.GetRuleSet(1).GetName(), "second");
}

}  // namespace
