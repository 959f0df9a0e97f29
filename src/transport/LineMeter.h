#pragma once

#include <atomic>
#include <cstdint>

#include "transport/LineObserver.h"

// Counts the bytes on the line, and passes everything on to another observer.
class CLineMeter final : public CLineObserver {
public:
    explicit CLineMeter(CLineObserver& next) : m_Next(next) {}

    void SentByHost(std::span<const unsigned char> bytes) override {
        m_nSentByHost += bytes.size();
        m_Next.SentByHost(bytes);
    }
    void SentByChip(std::span<const unsigned char> bytes) override {
        m_nSentByChip += bytes.size();
        m_Next.SentByChip(bytes);
    }
    void Note(std::string_view text) override { m_Next.Note(text); }

    std::uint64_t CountSentByHost() const { return m_nSentByHost; }
    std::uint64_t CountSentByChip() const { return m_nSentByChip; }

private:
    CLineObserver& m_Next;
    std::atomic<std::uint64_t> m_nSentByHost = 0;
    std::atomic<std::uint64_t> m_nSentByChip = 0;
};
