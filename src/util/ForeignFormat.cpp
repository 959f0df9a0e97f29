#include "util/ForeignFormat.h"

#include <algorithm>

namespace {

// Whether text that should be one line is several. Binary data hold any byte, CR as well.
bool HasReturnsAlone(std::string_view line) {
    const auto isText = [](char c) { return (c >= ' ' && c <= '~') || c == '\t' || c == '\r'; };
    const std::size_t end = line.find_last_not_of('\r');
    return end != std::string_view::npos && line.substr(0, end).find('\r') != line.npos &&
           std::all_of(line.begin(), line.end(), isText);
}

}  // namespace

std::optional<CForeignFormat> FindForeignFormat(std::string_view start) {
    using namespace std::string_view_literals;
    static constexpr struct {
        std::string_view m_Start;
        const char* m_szWhat;
        const char* m_szWhatToDo;
    } KNOWN[] = {
        {"\xEF\xBB\xBF"sv, "The file starts with a UTF-8 byte order mark", "dos2unix removes it"},
        {"\xFF\xFE"sv, "The file is UTF-16 text", "dos2unix converts it"},
        {"\xFE\xFF"sv, "The file is UTF-16 text", "dos2unix converts it"},
        {"\x7F"
         "ELF"sv,
         "The file is an ELF program", "objcopy -O ihex makes Intel HEX of it"},
        {"S0"sv, "The file holds S-records", "objcopy -I srec -O ihex converts them"},
        {"\x1F\x8B"sv, "The file is compressed", "gunzip unpacks it"},
        {"PK\x03\x04"sv, "The file is a zip archive", "unzip unpacks it"},
    };
    for (const auto& [prefix, what, whatToDo] : KNOWN) {
        if (start.starts_with(prefix)) {
            return CForeignFormat{what, whatToDo};
        }
    }
    if (HasReturnsAlone(start.substr(0, start.find('\n')))) {
        return CForeignFormat{"Lines end in CR alone", "mac2unix converts them"};
    }
    return std::nullopt;
}
