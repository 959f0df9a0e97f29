#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/HexBytes.h"
#include "transport/SerialConnector.h"
#include "util/ByteOrder.h"
#include "util/Crc32.h"

// A connector with a whole chip behind it, in memory: it keeps what was sent, and answers every
// command of the standard download at once unless the test says how it misbehaves. Used on one
// thread at a time, as connectors are.
class CFakeChip final : public CSerialConnector {
public:
    // What comes instead of the chip's answer, once, when a frame that begins like that is sent.
    struct CFault {
        std::string m_strFrameStart;  // hexadecimal
        // What successive reads return, hexadecimal; "" is a read in vain.
        std::vector<std::string> m_Pieces;
        std::string m_strReadError;  // what further reads return, when not empty
    };

    explicit CFakeChip(const char* parameters = " PORT=/dev/ttyS0\n") {
        m_pParameters = std::make_unique<CCommunicationParameters>();
        m_pParameters->ParseCommParams(parameters);
    }

    std::vector<CFault> m_Faults;
    std::string m_strTransmitError;
    std::function<void()> m_pfnFrameSent;  // called for each frame, before its answer

    std::vector<std::string> m_Sent;  // hexadecimal, a text for each transmission
    unsigned int m_nReads = 0;
    std::map<unsigned int, unsigned char> m_Memory;

    // What reads return before anything is sent.
    void Receive(const Bytes& bytes) { m_Received.push_back(bytes); }

    unsigned char MemoryAt(unsigned int address) const {
        const auto found = m_Memory.find(address);
        return found == m_Memory.end() ? 0xFF : found->second;
    }

    std::string Connect(CCommunicationParameters&, RxCallback, void*) override { return {}; }
    std::string Disconnect() override { return {}; }

    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override {
        const Bytes frame(bytes, bytes + count);
        m_Sent.push_back(ToHex(frame));
        if (m_pfnFrameSent) {
            m_pfnFrameSent();
        }
        if (!TakeFault(m_Sent.back())) {
            Answer(frame);
        }
        return m_strTransmitError;
    }

    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override {
        ++m_nReads;
        *gotBytes = 0;
        if (m_Received.empty()) {
            if (!m_strReadError.empty()) {
                *gotBytes = 0xFFFFFFFFU;
            }
            return m_strReadError;
        }
        Bytes& piece = m_Received.front();
        while (*gotBytes < maxBytes && *gotBytes < piece.size()) {
            buf[*gotBytes] = piece[*gotBytes];
            ++*gotBytes;
        }
        piece.erase(piece.begin(), piece.begin() + *gotBytes);
        if (piece.empty()) {
            m_Received.pop_front();
        }
        return {};
    }

private:
    bool TakeFault(const std::string& frame) {
        m_strReadError.clear();
        for (auto fault = m_Faults.begin(); fault != m_Faults.end(); ++fault) {
            if (!frame.starts_with(fault->m_strFrameStart)) {
                continue;
            }
            for (const std::string& piece : fault->m_Pieces) {
                m_Received.push_back(FromHex(piece));
            }
            m_strReadError = fault->m_strReadError;
            m_Faults.erase(fault);
            return true;
        }
        return false;
    }

    void Answer(const Bytes& frame) {
        const std::size_t start = m_pParameters->GetPortType() == PORT_TYPE_UART ? 1 : 0;
        if (frame.size() < start + 3) {
            return;
        }
        const unsigned char* command = frame.data() + start;
        const unsigned char* parameters = command + 3;
        const unsigned int address =
            frame.size() < start + 7 ? 0 : CopyLittleEndianBufferToUint32(parameters);
        Bytes reply = {0x01, command[0], command[1], 0x00};
        switch (CopyLittleEndianBufferToUint16(command)) {
            case 0xFC4C:
                for (unsigned int i = 0; i + 4 < command[2]; ++i) {
                    m_Memory[address + i] = parameters[4 + i];
                }
                break;
            case 0xFC4D:
                for (unsigned int i = 0; i < parameters[4]; ++i) {
                    reply.push_back(MemoryAt(address + i));
                }
                break;
            case 0xFCCC:
                AppendCRC(address, CopyLittleEndianBufferToUint32(parameters + 4), &reply);
                break;
            default:  // an erase leaves the memory alone: what was written can then be told apart
                break;
        }
        reply.insert(reply.begin(), {0x04, 0x0E, static_cast<unsigned char>(reply.size())});
        m_Received.push_back(reply);
    }

    void AppendCRC(unsigned int address, unsigned int count, Bytes* reply) const {
        Bytes content(count);
        for (unsigned int i = 0; i < count; ++i) {
            content[i] = MemoryAt(address + i);
        }
        unsigned char value[4];
        CopyUint32ToLittleEndianBuffer(crc(content.data(), count), value);
        reply->insert(reply->end(), value, value + 4);
    }

    std::deque<Bytes> m_Received;
    std::string m_strReadError;
};
