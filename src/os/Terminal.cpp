#include "os/Terminal.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

namespace {

constexpr std::string_view ERASE_LINE = "\r\x1B[K";

// Where the status line is, or -1.
std::atomic<int> g_nStatusLine = -1;
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers use it");

// In one piece, so that nothing of another thread gets between. A terminal that has gone away is
// no reason to stop.
void WriteAtOnce(int descriptor, std::string_view bytes) {
    [[maybe_unused]] const ssize_t ignored = write(descriptor, bytes.data(), bytes.size());
}

std::string_view Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool IsControl(unsigned int character) {
    return (character < 0x20 && character != '\n' && character != '\t') ||
           (character >= 0x7F && character < 0xA0);
}

// The length of the UTF-8 character at the start of text, 0 if there is none that may be shown.
std::size_t ShownCharacter(std::string_view text) {
    const unsigned int first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) {
        return IsControl(first) ? 0 : 1;
    }
    const std::size_t length =
        first < 0xC2 || first > 0xF4 ? 0 : 2 + (first >= 0xE0) + (first >= 0xF0);
    if (length == 0 || text.size() < length) {
        return 0;
    }
    unsigned int character = first & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        const unsigned int bits = static_cast<unsigned char>(next);
        if ((bits & 0xC0) != 0x80) {
            return 0;
        }
        character = character << 6 | (bits & 0x3F);
    }
    return IsControl(character) ? 0 : length;
}

}  // namespace

CTerminal::CTerminal(std::FILE* stream)
    : m_nDescriptor(fileno(stream)), m_bIsTerminal(isatty(m_nDescriptor) == 1) {}

bool CTerminal::IsDevice(const std::string& path) const {
    struct stat device {};
    struct stat terminal {};
    if (!m_bIsTerminal || stat(path.c_str(), &device) != 0 ||
        fstat(m_nDescriptor, &terminal) != 0) {
        return false;
    }
    // /dev/tty stands for the terminal of the session.
    struct stat alias {};
    const bool isAlias = stat("/dev/tty", &alias) == 0 && device.st_rdev == alias.st_rdev;
    return isAlias ? tcgetsid(m_nDescriptor) == getsid(0) : device.st_rdev == terminal.st_rdev;
}

std::string CTerminal::Shown(std::string_view text) const {
    if (!m_bIsTerminal) {
        return std::string(text);
    }
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = ShownCharacter(text);
        if (length > 0) {
            shown += text.substr(0, length);
        } else {
            const auto byte = static_cast<unsigned char>(text[0]);
            shown += {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0xF]};
        }
        text.remove_prefix(length > 0 ? length : 1);
    }
    return shown;
}

bool CTerminal::ShowsStatusLine() const {
    const std::string_view wish = Environment("HCILOAD_PROGRESS");
    if (!m_bIsTerminal || wish == "never") {
        return false;
    }
    const std::string_view kind = Environment("TERM");
    return wish == "always" || (!kind.empty() && kind != "dumb" && Environment("NO_COLOR").empty());
}

unsigned int CTerminal::Width() const {
    winsize size{};
    return ioctl(m_nDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void CTerminal::DrawStatusLine(std::string_view text) const {
    // Earlier than the line itself, so that a signal in between erases it.
    g_nStatusLine = m_nDescriptor;
    WriteAtOnce(m_nDescriptor, std::string(ERASE_LINE) + std::string(text));
}

void CTerminal::EraseStatusLine() {
    const int descriptor = g_nStatusLine.exchange(-1);
    if (descriptor >= 0) {
        WriteAtOnce(descriptor, ERASE_LINE);
    }
}
