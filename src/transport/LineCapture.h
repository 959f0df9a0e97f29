#pragma once

#include <cstdint>
#include <string>

#include "os/FileDescriptor.h"
#include "os/OSMutex.h"
#include "transport/CapturedItem.h"
#include "transport/LineObserver.h"
#include "transport/PacketCutter.h"

// Writes what it is told of a line to a file that Wireshark reads: pcapng, or btsnoop when the
// file's name ends in .btsnoop. Each packet gets the time of day at which it was told, and the file
// is in the order of these times. A packet is in the file, whole, before the call returns. When the
// disk is full, one warning on standard error ends the capture.
//
// Before Open, and after the capture has ended, it does nothing.
class CLineCapture final : public CLineObserver {
public:
    CLineCapture() = default;
    CLineCapture(const CLineCapture&) = delete;
    CLineCapture& operator=(const CLineCapture&) = delete;
    ~CLineCapture() override;

    // Before anybody tells anything. program: name and version. Returns an error text, empty on
    // success.
    [[nodiscard]] std::string Open(const std::string& path, const std::string& program,
                                   const std::string& port);

    static bool IsBtsnoop(const std::string& path) { return path.ends_with(".btsnoop"); }

    void SentByHost(std::span<const unsigned char> bytes) override;
    void SentByChip(std::span<const unsigned char> bytes) override;
    void Note(std::string_view text) override;

private:
    void WriteChipPackets(std::int64_t time) HCILOAD_REQUIRES(m_Lock);
    void SettleChipBytes(std::int64_t now, bool isEnd) HCILOAD_REQUIRES(m_Lock);
    void WriteItem(const CAPTURED_ITEM& item) HCILOAD_REQUIRES(m_Lock);
    bool WriteWhole(std::span<const unsigned char> block) HCILOAD_REQUIRES(m_Lock);

    COSMutex m_Lock;
    CFileDescriptor m_File HCILOAD_GUARDED_BY(m_Lock);
    std::string m_strPath HCILOAD_GUARDED_BY(m_Lock);
    CPacketCutter m_FromChip HCILOAD_GUARDED_BY(m_Lock);
    std::int64_t m_nLastFromChip HCILOAD_GUARDED_BY(m_Lock) = 0;
    std::int64_t m_nLastWritten HCILOAD_GUARDED_BY(m_Lock) = 0;
    off_t m_nSize HCILOAD_GUARDED_BY(m_Lock) = 0;  // of what is whole
};
