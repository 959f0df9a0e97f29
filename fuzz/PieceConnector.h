#pragma once

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
    // Past the end of the script reads are in vain; after readLimit reads they fail.
    explicit CPieceConnector(CFuzzInput script, unsigned int readLimit = 0xFFFFFFFF)
        : m_Script(script), m_nReadLimit(readLimit) {
        m_pParameters = std::make_unique<CCommunicationParameters>();
        FUZZ_CHECK(m_pParameters->ParseCommParams("PORT=/dev/ttyS0\n").empty());
    }

    unsigned int m_nReads = 0;
    Bytes m_Delivered;
    std::vector<std::size_t> m_DeliveredByRead;  // how many bytes until then, of reads that worked
    std::vector<Bytes> m_Transmitted;

    bool HasDelivered(const Bytes& bytes) const {
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
        if (m_Piece.empty() && !m_bFails) {
            TakePiece();
        }
        if (++m_nReads > m_nReadLimit || m_bFails) {
            *gotBytes = 0xFFFFFFFF;
            return "The port is gone";
        }
        *gotBytes = static_cast<unsigned int>(std::min<std::size_t>(maxBytes, m_Piece.size()));
        const auto end = m_Piece.begin() + *gotBytes;
        std::copy(m_Piece.begin(), end, buf);
        m_Delivered.insert(m_Delivered.end(), m_Piece.begin(), end);
        m_Piece.erase(m_Piece.begin(), end);
        m_DeliveredByRead.push_back(m_Delivered.size());
        return {};
    }

private:
    void TakePiece() {
        const unsigned char kind = m_Script.TakeByte();
        m_bFails = kind == 0xFF;
        if (kind < 0xF0) {
            m_Piece = m_Script.TakeBytes(kind);
            return;
        }
        const Bytes bytes = m_Script.TakeBytes(m_bFails ? 0 : 1U + m_Script.TakeBelow(8));
        for (int i = 0; i < 64; ++i) {
            m_Piece.insert(m_Piece.end(), bytes.begin(), bytes.end());
        }
    }

    CFakeClock m_Clock;
    CFuzzInput m_Script;
    unsigned int m_nReadLimit;
    bool m_bFails = false;
    Bytes m_Piece;
};
