#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "chipsim/ChipEngine.h"
#include "support/HexBytes.h"
#include "transport/SerialConnector.h"

// A connector to chipsim's chip without a line between them: it records what is sent, and the chip
// answers at once, unless the test says what comes instead. For one thread at a time.
class CFakeChip final : public CSerialConnector {
public:
    // What comes in place of the chip's answer, once, when a frame that begins like this is sent.
    struct CFault {
        std::string m_strFrameStart;        // hexadecimal
        std::vector<std::string> m_Pieces;  // what each read returns, hexadecimal; "" = nothing yet
        std::string m_strReadError;         // of the reads after them, until the next frame
    };

    // Connected from the start, unless there are no parameters.
    explicit CFakeChip(const std::string& parameters = " PORT=/dev/ttyS0\n")
        : m_Engine(Settings()) {
        if (!parameters.empty()) {
            m_pParameters = std::make_unique<CCommunicationParameters>();
            m_pParameters->ParseCommParams(parameters.c_str());
        }
    }

    std::vector<CFault> m_Faults;
    std::string m_strConnectError;
    std::string m_strTransmitError;
    std::string m_strReadError;            // of reads that find nothing; "" = there is none
    std::function<void()> m_pfnFrameSent;  // called for each frame, before its answer

    std::vector<std::string> m_Sent;  // hexadecimal, one text for each transmission

    CSparseMemory& Memory() { return m_Engine.Memory(); }

    // Bytes that come unasked: one read returns them, and the receive callback gets them too.
    void Receive(Bytes bytes) {
        if (m_pCallback != nullptr) {
            m_pCallback(m_pContext, bytes.data(), static_cast<unsigned int>(bytes.size()));
        }
        m_Received.push_back(std::move(bytes));
    }

    std::string Connect(CCommunicationParameters& params, RxCallback rxCallback,
                        void* context) override {
        if (m_strConnectError.empty()) {
            m_pParameters = std::make_unique<CCommunicationParameters>(params);
            m_pCallback = rxCallback;
            m_pContext = context;
        }
        return m_strConnectError;
    }

    std::string Disconnect() override {
        m_pParameters.reset();
        return {};
    }

    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override {
        const Bytes frame(bytes, bytes + count);
        m_Sent.push_back(ToHex(frame));
        if (m_pfnFrameSent) {
            m_pfnFrameSent();
        }
        // The chip executes the command whatever becomes of its answer.
        m_Engine.LineWentQuiet();
        std::vector<CHIP_REPLY> replies = m_Engine.Receive(frame);
        if (!TakeFault(m_Sent.back())) {
            for (CHIP_REPLY& reply : replies) {
                for (CHIP_REPLY_PIECE& piece : reply.pieces) {
                    Receive(std::move(piece.bytes));
                }
            }
        }
        return m_strTransmitError;
    }

    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override {
        if (m_Received.empty()) {
            *gotBytes = m_strReadError.empty() ? 0 : 0xFFFFFFFFU;
            return m_strReadError;
        }
        Bytes& piece = m_Received.front();
        const std::size_t count = std::min<std::size_t>(maxBytes, piece.size());
        std::copy_n(piece.begin(), count, buf);
        *gotBytes = static_cast<unsigned int>(count);
        piece.erase(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
        if (piece.empty()) {
            m_Received.pop_front();
        }
        return {};
    }

private:
    // An erase takes no time and leaves the memory alone: what was written before can be read.
    static CHIP_SETTINGS Settings() {
        CHIP_SETTINGS settings;
        settings.eraseTimeMs = 0;
        settings.eraseMarkers = 0;
        settings.ramFirst = 0;
        settings.ramLast = 0xFFFFFFFF;
        return settings;
    }

    bool TakeFault(const std::string& frame) {
        m_strReadError.clear();
        const auto fault = std::ranges::find_if(m_Faults, [&](const CFault& candidate) {
            return frame.starts_with(candidate.m_strFrameStart);
        });
        if (fault == m_Faults.end()) {
            return false;
        }
        for (const std::string& piece : fault->m_Pieces) {
            Receive(FromHex(piece));
        }
        m_strReadError = fault->m_strReadError;
        m_Faults.erase(fault);
        return true;
    }

    CChipEngine m_Engine;
    std::deque<Bytes> m_Received;
    RxCallback m_pCallback = nullptr;
    void* m_pContext = nullptr;
};
