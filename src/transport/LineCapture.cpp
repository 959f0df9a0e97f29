#include "transport/LineCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "os/LockGuard.h"
#include "os/Terminal.h"
#include "transport/BtsnoopFormat.h"
#include "transport/PcapngFormat.h"

namespace {

constexpr unsigned char COMMAND_INDICATOR = 0x01;
constexpr unsigned char NCI_INDICATOR = 0x10;

// A chip sends a packet without a pause like this one, and a line delays it by less.
constexpr std::int64_t SILENCE = 50'000'000;

std::int64_t Now() {
    return std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

// The size of the HCI command at the front, 0 without a whole one.
std::size_t CommandSize(std::span<const unsigned char> bytes) {
    const bool hasHeader = bytes.size() >= 4 && bytes[0] == COMMAND_INDICATOR;
    const std::size_t size = hasHeader ? 4U + bytes[3] : 0;
    return size <= bytes.size() ? size : 0;
}

}  // namespace

CLineCapture::~CLineCapture() {
    const CLockGuard held(m_Lock);
    SettleChipBytes(Now(), true);
}

std::string CLineCapture::Open(const std::string& path, const std::string& program,
                               const std::string& port) {
    const CLockGuard held(m_Lock);
    m_strPath = path;
    m_File = CFileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!m_File.IsOpen() || !WriteWhole(IsBtsnoop(path) ? MakeBtsnoopBeginning()
                                                        : MakePcapngBeginning(program, port))) {
        const std::string reason = std::strerror(errno);
        m_File.Close();
        return "Capture file cannot be written -- " + path + ": " + reason;
    }
    return {};
}

void CLineCapture::SentByHost(std::span<const unsigned char> bytes) {
    const CLockGuard held(m_Lock);
    const std::int64_t now = Now();
    SettleChipBytes(now, false);
    // The chip answers in the protocol in which it is asked.
    m_FromChip.StartReply(!bytes.empty() && bytes.front() == NCI_INDICATOR ? LINE_NCI : LINE_HCI);
    while (!bytes.empty()) {
        const std::size_t command = CommandSize(bytes);
        const auto item = bytes.first(command == 0 ? bytes.size() : command);
        WriteItem({now, CAPTURE_FROM_HOST, command != 0, item, {}});
        bytes = bytes.subspan(item.size());
    }
}

void CLineCapture::SentByChip(std::span<const unsigned char> bytes) {
    const CLockGuard held(m_Lock);
    const std::int64_t now = Now();
    if (now - m_nLastFromChip >= SILENCE) {
        m_FromChip.MarkBreak();
    }
    m_nLastFromChip = now;
    m_FromChip.Append(bytes);
    WriteChipPackets(now);
}

void CLineCapture::Note(std::string_view text) {
    const CLockGuard held(m_Lock);
    const std::int64_t now = Now();
    SettleChipBytes(now, false);
    WriteItem({now, CAPTURE_NO_DIRECTION, false, {}, text});
}

void CLineCapture::WriteChipPackets(std::int64_t time) {
    while (const std::optional<CUT_PIECE> piece = m_FromChip.TakeNext()) {
        WriteItem({time, CAPTURE_FROM_CHIP, piece->m_bIsHci, piece->m_Bytes, {}});
    }
}

// What has come from the chip takes its place in the file before what comes next from elsewhere.
// The start of a packet may still wait for its rest.
void CLineCapture::SettleChipBytes(std::int64_t now, bool isEnd) {
    const std::int64_t time = std::max(m_nLastFromChip, m_nLastWritten);
    while (m_FromChip.LookInside()) {
        WriteChipPackets(time);
    }
    const bool isAll = isEnd || now - m_nLastFromChip >= SILENCE;
    if (const auto rest = isAll ? m_FromChip.TakeRest() : m_FromChip.TakeNoise()) {
        WriteItem({time, CAPTURE_FROM_CHIP, false, rest->m_Bytes, {}});
    }
}

void CLineCapture::WriteItem(const CAPTURED_ITEM& item) {
    m_nLastWritten = item.m_nTime;
    if (!m_File.IsOpen() ||
        WriteWhole(IsBtsnoop(m_strPath) ? MakeBtsnoopRecord(item) : MakePcapngBlock(item))) {
        return;
    }
    const std::string reason = std::strerror(errno);
    CTerminal::EraseStatusLine();
    std::fprintf(stderr, "Capturing to %s ended: %s\n", CTerminal(stderr).Shown(m_strPath).c_str(),
                 reason.c_str());
    // The file opens up to its last whole packet; of a pipe nothing can be taken back.
    [[maybe_unused]] const int ignored = ftruncate(m_File.Get(), m_nSize);
    m_File.Close();
}

bool CLineCapture::WriteWhole(std::span<const unsigned char> block) {
    const bool isWritten = m_File.WriteAll(block);
    m_nSize += isWritten ? static_cast<off_t>(block.size()) : 0;
    return isWritten;
}
