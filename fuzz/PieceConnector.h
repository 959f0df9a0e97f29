#pragma once

#include <algorithm>
#include <deque>
#include <utility>

#include "FuzzInput.h"
#include "support/FakeClock.h"
#include "transport/SerialConnector.h"

// A port on which anything at all may arrive, in any pieces: each read gives the next piece of the
// script, or as much of it as there is room for.
//
//   00 to EF  a piece of so many bytes, which follow; none is a read in vain
//   F0 to FE  a flood: 64 times what follows, up to 8 bytes
//   FF        from here on every read fails
//
// Nobody waits while it lives: an exchange with all its polls takes microseconds.
class CPieceConnector final : public CSerialConnector {
public:
    // Past the end of the script reads are in vain; after readLimit reads (0 = never) they fail.
    explicit CPieceConnector(CFuzzInput script, unsigned int readLimit = 0)
        : m_nReadLimit(readLimit) {
        m_pParameters = std::make_unique<CCommunicationParameters>();
        FUZZ_CHECK(m_pParameters->ParseCommParams("PORT=/dev/ttyS0\n").empty());
        while (!script.IsEmpty() && !m_bFails) {
            TakePiece(script);
        }
    }

    unsigned int m_nReads = 0;
    std::vector<unsigned char> m_Delivered;
    std::vector<std::size_t> m_DeliveredByRead;  // how many bytes until then, of reads that worked
    std::vector<std::vector<unsigned char>> m_Transmitted;

    bool HasDelivered(const std::vector<unsigned char>& bytes) const {
        return std::search(m_Delivered.begin(), m_Delivered.end(), bytes.begin(), bytes.end()) !=
               m_Delivered.end();
    }

    std::string Connect(CCommunicationParameters&, RxCallback, void*) override { return {}; }
    std::string Disconnect() override { return {}; }

    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override {
        m_Transmitted.emplace_back(bytes, bytes + count);
        return {};
    }

    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override {
        ++m_nReads;
        *gotBytes = 0;
        if ((m_Pieces.empty() && m_bFails) || (m_nReadLimit > 0 && m_nReads > m_nReadLimit)) {
            *gotBytes = 0xFFFFFFFF;
            return "The port is gone";
        }
        if (!m_Pieces.empty()) {
            std::vector<unsigned char>& piece = m_Pieces.front();
            *gotBytes = static_cast<unsigned int>(std::min<std::size_t>(maxBytes, piece.size()));
            const auto end = piece.begin() + *gotBytes;
            std::copy(piece.begin(), end, buf);
            m_Delivered.insert(m_Delivered.end(), piece.begin(), end);
            piece.erase(piece.begin(), end);
            if (piece.empty()) {
                m_Pieces.pop_front();
            }
        }
        m_DeliveredByRead.push_back(m_Delivered.size());
        return {};
    }

private:
    void TakePiece(CFuzzInput& script) {
        const unsigned char kind = script.TakeByte();
        if (kind == 0xFF) {
            m_bFails = true;
        } else if (kind < 0xF0) {
            m_Pieces.push_back(script.TakeBytes(kind));
        } else {
            const auto bytes = script.TakeBytes(1U + script.TakeBelow(8));
            std::vector<unsigned char> flood;
            for (int i = 0; i < 64; ++i) {
                flood.insert(flood.end(), bytes.begin(), bytes.end());
            }
            m_Pieces.push_back(std::move(flood));
        }
    }

    CFakeClock m_Clock;
    unsigned int m_nReadLimit;
    bool m_bFails = false;
    std::deque<std::vector<unsigned char>> m_Pieces;
};
