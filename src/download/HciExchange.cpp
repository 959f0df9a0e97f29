#include "download/HciExchange.h"

#include <algorithm>

#include "download/ChipDownloader.h"
#include "download/HciTrace.h"
#include "download/ReceiveBuffer.h"
#include "os/OSTime.h"
#include "transport/SerialConnector.h"
#include "util/ByteBuffer.h"

namespace {

using BYTES = std::span<const unsigned char>;

constexpr unsigned int POLL_PERIOD_MS = 4;
constexpr std::size_t BYTES_IN_A_PERIOD = 46;  // at 115200 baud
constexpr unsigned int MAX_BYTES_IN_STATUS = 64;
constexpr unsigned int ROOM_FOR_REPLY = 128;
constexpr unsigned int ROOM_FOR_DATA = 512;

void ShowInStatus(CChipDownloader* downloader, const char* label, BYTES bytes) {
    downloader->SetStatusDetails(ShowBytesString(
        label, bytes.data(), static_cast<unsigned int>(bytes.size()), MAX_BYTES_IN_STATUS));
}

// One command and the wait for its reply.
class CExchange {
public:
    CExchange(CSerialConnector* connector, CChipDownloader* downloader, unsigned int room)
        : m_pConnector(connector), m_pDownloader(downloader), m_Received(room) {}

    void Send(const CByteBuffer* prefix, BYTES command) {
        if (command.data() == nullptr) {
            return;
        }
        std::vector<unsigned char> packet = JoinCommand(prefix, command);
        Trace(m_pDownloader != nullptr ? "Sending to HW " : "Sending bytes to HW: ", packet);
        m_nSent = packet.size();
        // A failed transmission shows up as a missing reply.
        SendPacket(m_pConnector, std::move(packet));
    }

    // minLength: how many bytes must have come before the pattern is searched for, and how many
    // survive when the buffer is full, so that a pattern cut by its end can still complete. data is
    // filled with what follows the pattern.
    ReplyFailure WaitFor(BYTES pattern, std::size_t minLength, unsigned int timeoutMS,
                         std::span<unsigned char> data = {}) {
        const unsigned int polls = std::max(timeoutMS / POLL_PERIOD_MS, 1U);
        for (unsigned int done = 0; done < polls;) {
            // Until bytes come, further looks would find nothing; once they do, each is traced. A
            // short command may be answered within one period, and then one sleep costs less.
            const bool canSleepOn =
                m_Received.Bytes().empty() && (done != 0 || m_nSent > BYTES_IN_A_PERIOD);
            done += m_pConnector->SleepUntilBytes(POLL_PERIOD_MS, canSleepOn ? polls - done : 1);
            DropOldBytesWhenFull(minLength);
            std::string error = m_Received.Fetch(m_pConnector);
            TraceReceived();
            if (!error.empty()) {
                return error;
            }
            if (m_Received.Bytes().size() < minLength) {
                continue;
            }
            if (const unsigned char* found = m_Received.Find(pattern, data.size())) {
                std::copy_n(found + pattern.size(), data.size(), data.begin());
                return std::nullopt;
            }
        }
        return "";
    }

    std::size_t CountReceived() const { return m_Received.Bytes().size(); }

    // Sends and waits. The reply begins with matchLength bytes to be found, the rest is filled in.
    bool Run(const CByteBuffer* prefix, BYTES command, std::span<unsigned char> reply,
             unsigned int matchLength, unsigned int timeoutMS, std::string* error) {
        Send(prefix, command);
        error->clear();
        if (reply.data() == nullptr) {
            return true;
        }
        if (const auto failure = WaitFor(reply.first(matchLength), reply.size(), timeoutMS)) {
            *error = *failure;
            return false;
        }
        // Counted from the start of the buffer, not from the pattern, on purpose: data that come
        // after stray bytes are not trusted, so they must fail their comparison.
        std::ranges::copy(m_Received.Bytes().first(reply.size()).subspan(matchLength),
                          reply.begin() + matchLength);
        return true;
    }

private:
    void Trace(const char* label, BYTES bytes) {
        if (m_pDownloader != nullptr) {
            ShowInStatus(m_pDownloader, label, bytes);
        } else {
            DebugOut(label, bytes.data(), static_cast<unsigned int>(bytes.size()));
        }
    }

    void DropOldBytesWhenFull(std::size_t keptLength) {
        const BYTES bytes = m_Received.Bytes();
        if (m_Received.IsFull() && bytes.size() >= keptLength) {
            const std::size_t dropped = bytes.size() - keptLength;
            Trace("Rx buffer full. Throwing out older bytes: ", bytes.first(dropped));
            m_Received.DropFront(dropped);
        }
    }

    // The whole buffer at each poll, not only what is new.
    void TraceReceived() {
        const BYTES bytes = m_Received.Bytes();
        if (bytes.empty()) {
            return;
        }
        DebugOut("Received bytes from HW: ", bytes.data(), static_cast<unsigned int>(bytes.size()));
        if (m_pDownloader != nullptr) {
            ShowInStatus(m_pDownloader, "So far recvd from HW ", bytes);
        }
    }

    CSerialConnector* m_pConnector;
    CChipDownloader* m_pDownloader;
    CReceiveBuffer m_Received;
    std::size_t m_nSent = 0;
};

// Discards bytes until there are none. While pauses are left, it then waits and looks again if
// there had been any.
std::string Drain(CChipDownloader* downloader, unsigned int pauses) {
    bool hadBytes = false;
    while (true) {
        CReceiveBuffer stale(64);
        std::string error = stale.Fetch(downloader->SerialConnector());
        if (!error.empty()) {
            return error;
        }
        if (!stale.Bytes().empty()) {
            ShowInStatus(downloader, "Clearing Rx FIFO of bytes: ", stale.Bytes());
            hadBytes = true;
        } else if (hadBytes && pauses > 0) {
            PutThreadToSleep(SILENCE_MS);
            hadBytes = false;
            --pauses;
        } else {
            return {};
        }
    }
}

}  // namespace

bool SendCommandAndWaitForCompletion(CSerialConnector* connector, CByteBuffer* prefix,
                                     unsigned char* command, unsigned int commandLength,
                                     unsigned char* expected, unsigned int expectedLength,
                                     unsigned int timeoutMS, std::string* error,
                                     CChipDownloader* downloader) {
    return CExchange(connector, downloader, ROOM_FOR_REPLY)
        .Run(prefix, {command, commandLength}, {expected, expectedLength}, expectedLength,
             timeoutMS, error);
}

bool SendCommandAndWaitForCompletionMatchRxStart(CSerialConnector* connector, CByteBuffer* prefix,
                                                 unsigned char* command, unsigned int commandLength,
                                                 unsigned char* expected, unsigned int matchLength,
                                                 unsigned int replyLength, unsigned int timeoutMS,
                                                 std::string* error, CChipDownloader* downloader) {
    return CExchange(connector, downloader, ROOM_FOR_DATA)
        .Run(prefix, {command, commandLength}, {expected, replyLength}, matchLength, timeoutMS,
             error);
}

ReplyFailure ExecuteCommand(CSerialConnector* connector, const CByteBuffer* prefix,
                            const HCI_COMMAND& kind, BYTES command,
                            std::span<unsigned char> returned, bool* isAlone) {
    CExchange exchange(connector, nullptr, returned.empty() ? ROOM_FOR_REPLY : ROOM_FOR_DATA);
    exchange.Send(prefix, command);
    const std::vector<unsigned char> expected =
        kind.Completion(static_cast<unsigned char>(returned.size()));
    const std::size_t size = expected.size() + returned.size();
    ReplyFailure failure = exchange.WaitFor(expected, size, kind.m_nTimeoutMs, returned);
    if (isAlone != nullptr) {
        const std::size_t indicator = prefix == nullptr ? 0 : 1;
        *isAlone = exchange.CountReceived() == indicator + size;
    }
    return failure;
}

std::vector<unsigned char> JoinCommand(const CByteBuffer* prefix, BYTES command) {
    std::vector<unsigned char> joined;
    if (prefix != nullptr) {
        joined.assign(prefix->GetDataBuffer(), prefix->GetDataBuffer() + prefix->GetDataByteSize());
    }
    joined.insert(joined.end(), command.begin(), command.end());
    return joined;
}

std::string SendPacket(CSerialConnector* connector, std::vector<unsigned char> packet) {
    return connector->TransmitBytes(packet.data(), static_cast<unsigned int>(packet.size()));
}

std::string ClearRxFIFO(CChipDownloader* downloader) {
    return Drain(downloader, 0);
}

std::string DrainUntilSilent(CChipDownloader* downloader) {
    return Drain(downloader, 500 / SILENCE_MS);
}

bool PerformHCIReset(CChipDownloader* downloader) {
    const CLockGuard access(downloader->AccessLock());
    CExchange exchange(downloader->SerialConnector(), nullptr, ROOM_FOR_REPLY);
    exchange.Send(downloader->UARTTransmitPrefix(), HCI_RESET.Bytes());
    // The opcode and the status, the end of the event, are enough.
    const std::vector<unsigned char> event = HCI_RESET.Completion();
    const BYTES expected = BYTES(event).last(3);
    return !exchange.WaitFor(expected, expected.size(), HCI_RESET.m_nTimeoutMs);
}
