#include "download/HciExchange.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "download/ChipDownloader.h"
#include "download/HciTrace.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/ByteBuffer.h"

namespace {

constexpr unsigned int POLL_PERIOD_MS = 4;
constexpr unsigned int MAX_BYTES_IN_STATUS = 64;
constexpr unsigned int MAX_DRAINS = 25;

// Collects received bytes until a pattern shows up or the polls run out.
class CReplyWait {
public:
    // keepLength: how many bytes must have come before the pattern is searched for, and how many
    // survive when the buffer is full, so that a pattern cut by the buffer's end still completes.
    CReplyWait(CSerialConnector* connector, std::span<unsigned char> buffer,
               unsigned int keepLength, CChipDownloader* downloader)
        : m_pConnector(connector),
          m_Buffer(buffer),
          m_nKeepLength(keepLength),
          m_pDownloader(downloader) {}

    bool WaitFor(std::span<const unsigned char> pattern, unsigned int timeoutMS,
                 std::string* error) {
        const unsigned int polls = std::max(timeoutMS / POLL_PERIOD_MS, 1U);
        for (unsigned int done = 0; done < polls; ++done) {
            PutThreadToSleep(POLL_PERIOD_MS);
            DropOldBytesWhenFull();
            *error = FetchMoreReceivedBytes(m_pConnector, m_Buffer.data(), Size(), &m_nCount);
            TraceReceived();
            if (!error->empty()) {
                return false;
            }
            if (m_nCount >= m_nKeepLength &&
                FindBytesInBuffer(m_Buffer.data(), m_nCount, pattern.data(),
                                  static_cast<unsigned int>(pattern.size())) != nullptr) {
                return true;
            }
        }
        return false;
    }

private:
    unsigned int Size() const { return static_cast<unsigned int>(m_Buffer.size()); }

    void DropOldBytesWhenFull() {
        if (m_nCount != Size() || m_nKeepLength > m_nCount) {
            return;
        }
        const unsigned int dropped = m_nCount - m_nKeepLength;
        constexpr char LABEL[] = "Rx buffer full. Throwing out older bytes: ";
        if (m_pDownloader != nullptr) {
            ShowInStatus(LABEL, dropped);
        } else {
            DebugOut(LABEL, m_Buffer.data(), dropped);
        }
        std::memmove(m_Buffer.data(), m_Buffer.data() + dropped, m_nKeepLength);
        m_nCount = m_nKeepLength;
    }

    // The whole buffer at each poll, not only what is new.
    void TraceReceived() {
        if (m_nCount == 0) {
            return;
        }
        DebugOut("Received bytes from HW: ", m_Buffer.data(), m_nCount);
        if (m_pDownloader != nullptr) {
            ShowInStatus("So far recvd from HW ", m_nCount);
        }
    }

    void ShowInStatus(const char* label, unsigned int count) {
        m_pDownloader->SetStatusDetails(
            ShowBytesString(label, m_Buffer.data(), count, MAX_BYTES_IN_STATUS));
    }

    CSerialConnector* m_pConnector;
    std::span<unsigned char> m_Buffer;
    unsigned int m_nKeepLength;
    CChipDownloader* m_pDownloader;
    unsigned int m_nCount = 0;
};

void SendAndTrace(CSerialConnector* connector, CByteBuffer* prefix, unsigned char* command,
                  unsigned int commandLength, CChipDownloader* downloader) {
    if (command == nullptr) {
        return;
    }
    std::vector<unsigned char> sent = JoinCommand(prefix, command, commandLength);
    const auto sentLength = static_cast<unsigned int>(sent.size());
    if (downloader != nullptr) {
        downloader->SetStatusDetails(
            ShowBytesString("Sending to HW ", sent.data(), sentLength, MAX_BYTES_IN_STATUS));
    } else {
        DebugOut("Sending bytes to HW: ", sent.data(), sentLength);
    }
    // A failed transmission shows up as a missing reply.
    connector->TransmitBytes(sent.data(), sentLength);
}

// Reads until nothing is left.
std::string Drain(CChipDownloader* downloader, bool* hadBytes) {
    std::array<unsigned char, 64> stale;
    std::string error;
    unsigned int received = 0;
    *hadBytes = false;
    do {
        received = 0;
        error = downloader->SerialConnector()->ReadReceivedBytes(
            stale.data(), static_cast<unsigned int>(stale.size()), &received);
        if (error.empty() && received > 0) {
            *hadBytes = true;
            downloader->SetStatusDetails(ShowBytesString(
                "Clearing Rx FIFO of bytes: ", stale.data(), received, MAX_BYTES_IN_STATUS));
        }
    } while (error.empty() && received > 0);
    return error;
}

}  // namespace

bool SendCommandAndWaitForCompletion(CSerialConnector* connector, CByteBuffer* prefix,
                                     unsigned char* command, unsigned int commandLength,
                                     unsigned char* expected, unsigned int expectedLength,
                                     unsigned int timeoutMS, std::string* error,
                                     CChipDownloader* downloader) {
    error->clear();
    SendAndTrace(connector, prefix, command, commandLength, downloader);
    if (expected == nullptr) {
        return true;
    }
    std::array<unsigned char, 128> received;
    CReplyWait wait(connector, received, expectedLength, downloader);
    return wait.WaitFor({expected, expectedLength}, timeoutMS, error);
}

bool SendCommandAndWaitForCompletionMatchRxStart(CSerialConnector* connector, CByteBuffer* prefix,
                                                 unsigned char* command, unsigned int commandLength,
                                                 unsigned char* expected, unsigned int matchLength,
                                                 unsigned int replyLength, unsigned int timeoutMS,
                                                 std::string* error, CChipDownloader* downloader) {
    error->clear();
    SendAndTrace(connector, prefix, command, commandLength, downloader);
    if (expected == nullptr) {
        return true;
    }
    std::array<unsigned char, 512> received;
    CReplyWait wait(connector, received, replyLength, downloader);
    if (!wait.WaitFor({expected, matchLength}, timeoutMS, error)) {
        return false;
    }
    // Counted from the start of the buffer, not from where the pattern was found, on purpose: a
    // reply that is not the first thing received reads as shifted data and fails its comparison.
    std::copy(received.begin() + matchLength, received.begin() + replyLength,
              expected + matchLength);
    return true;
}

std::vector<unsigned char> JoinCommand(const CByteBuffer* prefix, const unsigned char* command,
                                       unsigned int commandLength) {
    const unsigned int prefixLength = prefix == nullptr ? 0 : prefix->GetDataByteSize();
    std::vector<unsigned char> joined;
    joined.reserve(std::size_t{prefixLength} + commandLength);
    if (prefixLength > 0) {
        joined.assign(prefix->GetDataBuffer(), prefix->GetDataBuffer() + prefixLength);
    }
    joined.insert(joined.end(), command, command + commandLength);
    return joined;
}

std::string FetchMoreReceivedBytes(CSerialConnector* connector, unsigned char* buffer,
                                   unsigned int bufferSize, unsigned int* count) {
    if (*count >= bufferSize) {
        return "Rx buffer full!";
    }
    unsigned int received = 0;
    std::string error =
        connector->ReadReceivedBytes(buffer + *count, bufferSize - *count, &received);
    if (error.empty()) {
        *count += received;
    }
    return error;
}

unsigned char* FindBytesInBuffer(unsigned char* buffer, unsigned int count,
                                 const unsigned char* pattern, unsigned int patternLength) {
    if (count < patternLength) {
        return nullptr;
    }
    unsigned char* const end = buffer + count;
    unsigned char* const found = std::search(buffer, end, pattern, pattern + patternLength);
    return found == end ? nullptr : found;
}

std::string ClearRxFIFO(CChipDownloader* downloader) {
    bool hadBytes = false;
    return Drain(downloader, &hadBytes);
}

std::string DrainUntilSilent(CChipDownloader* downloader) {
    bool hadBytes = false;
    std::string error = Drain(downloader, &hadBytes);
    for (unsigned int drains = 1; hadBytes && error.empty() && drains < MAX_DRAINS; ++drains) {
        PutThreadToSleep(SILENCE_MS);
        error = Drain(downloader, &hadBytes);
    }
    return error;
}

bool PerformHCIReset(CChipDownloader* downloader) {
    // HCI_Reset, and the opcode and status at the end of its Command Complete event (Bluetooth Core
    // Vol 4 Part E, 7.3.2).
    unsigned char command[] = {0x03, 0x0C, 0x00};
    unsigned char expected[] = {0x03, 0x0C, 0x00};
    std::string error;
    const CLockGuard access(downloader->AccessLock());
    return SendCommandAndWaitForCompletion(
        downloader->SerialConnector(), downloader->UARTTransmitPrefix(), command, sizeof command,
        expected, sizeof expected, 100, &error, nullptr);
}
