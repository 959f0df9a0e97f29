#pragma once

#include <array>
#include <string>

class CChipDownloader;

// Watches the received bytes for the end of a chip erase, which its command has started. Each
// object waits once. Called on the download thread, without the access lock: an erase takes many
// seconds, and the progress lines go on meanwhile.
class CEraseWait {
public:
    static constexpr unsigned int POLL_PERIOD_MS = 5;
    // Both in polls: about 25 s without a word from the chip, and about 50 s in all.
    static constexpr unsigned int MAX_POLLS_WITHOUT_PROGRESS = 5000;
    static constexpr unsigned int MAX_POLLS = 10000;

    explicit CEraseWait(CChipDownloader* downloader, unsigned int pollPeriodMs = POLL_PERIOD_MS)
        : m_pDownloader(downloader), m_nPollPeriodMs(pollPeriodMs) {}

    // True when the chip said that it is done; else *error, empty before, has the reason.
    bool Wait(std::string* error);

private:
    bool IsDone();
    void NoteProgress();
    std::string TimeoutText() const;

    CChipDownloader* m_pDownloader;
    unsigned int m_nPollPeriodMs;
    std::array<unsigned char, 128> m_Received{};
    unsigned int m_nCount = 0;
    unsigned int m_nPoll = 0;
    unsigned int m_nLastProgressPoll = 0;
};
