#include "PieceConnector.h"
#include "download/ChipDownloader.h"

// The messages that rules have sent before a download: groups in braces, and their exchanges. An
// input is the text up to its first NUL, then the script of the port.

namespace {

void CheckGroups(const std::string& text) {
    std::string fields[3];
    const char* cursor = text.c_str();
    while (const char* const next = CChipDownloader::ExtractNextByteSequenceToSend(
               cursor, &fields[0], &fields[1], &fields[2])) {
        FUZZ_CHECK(next > cursor && next <= text.c_str() + text.size());
        const std::string taken(cursor, next);
        std::size_t position = 0;
        for (const std::string& field : fields) {
            FUZZ_CHECK(field.find('}') == std::string::npos);
            position = taken.find('{', position);
            FUZZ_CHECK(taken.compare(position + 1, field.size(), field) == 0);
            position += field.size() + 1;
            FUZZ_CHECK(taken[position] == '}');
        }
        cursor = next;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = UpToNul({data, data + size});
    CheckGroups(text);

    CFuzzInput input(data, size);
    input.TakeBytes(text.size() + 1);
    // The time to wait may be days; the port does not last that long.
    CPieceConnector port(input, 1000);
    CChipDownloadDescriptor descriptor;
    CDownloadRulesSet rules("");
    rules.SetDownloadParameter("CustomVintorPreloadMessages", text.c_str(), false);
    descriptor.AddRuleSet(rules);
    CChipDownloader downloader(CChipImageLoadingInformation(descriptor, true, nullptr), &port);
    const std::string error = downloader.VintorPreDownloadSendMessages();
    FUZZ_CHECK(error.empty() ||
               error.starts_with("CChipDownloader::VintorPreDownloadSendMessages: "));
    for (const auto& message : port.m_Transmitted) {
        FUZZ_CHECK(!message.empty() && message.size() <= 128);
    }
    return 0;
}
