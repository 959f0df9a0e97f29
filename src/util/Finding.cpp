#include "util/Finding.h"

#include <algorithm>

#include "util/FormatText.h"

namespace {

std::string SeverityName(FindingSeverity severity) {
    return severity == FindingSeverity::ERROR ? "error" : "warning";
}

std::string PlaceText(const CFindingPlace& place) {
    std::string text = place.m_strFile.empty() ? "command line" : place.m_strFile;
    if (place.m_nLine != 0) {
        text += ", line " + std::to_string(place.m_nLine);
    }
    if (place.m_Offset) {
        text += ", byte " + std::to_string(*place.m_Offset);
    }
    return text;
}

// Names and lines of damaged files hold anything; a terminal must not obey it.
std::string WithoutControls(const std::string& text) {
    std::string shown;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        shown +=
            code < ' ' || code == 0x7F ? FormatText("\\x%02X", code) : std::string(1, character);
    }
    return shown;
}

}  // namespace

std::string CFinding::Text() const {
    return WithoutControls(SeverityName(m_Severity) + ": " + PlaceText(m_Place) + ": " + m_strWhat +
                           ". " + m_strWhy + ".");
}

CJsonText CFinding::Json() const {
    const CJsonText file = m_Place.m_strFile.empty() ? CJsonText(nullptr) : m_Place.m_strFile;
    const CJsonText line = m_Place.m_nLine == 0 ? CJsonText(nullptr) : m_Place.m_nLine;
    const CJsonText offset = m_Place.m_Offset ? CJsonText(*m_Place.m_Offset) : nullptr;
    return CJsonText::Object({{"severity", SeverityName(m_Severity)},
                              {"file", file},
                              {"line", line},
                              {"offset", offset},
                              {"what", m_strWhat},
                              {"why", m_strWhy}});
}

int StatusOfFindings(const std::vector<CFinding>& findings) {
    const auto isError = [](const CFinding& finding) {
        return finding.m_Severity == FindingSeverity::ERROR;
    };
    const bool hasError = std::any_of(findings.begin(), findings.end(), isError);
    return hasError ? 2 : findings.empty() ? 0 : 1;
}
