#include "download/EraseWait.h"

#include <algorithm>

#include "download/ChipDownloader.h"
#include "download/HciExchange.h"
#include "os/OSTime.h"

bool CEraseWait::Wait(std::string* error) {
    while (error->empty()) {
        ++m_nPoll;
        PutThreadToSleep(m_nPollPeriodMs);
        *error = FetchMoreReceivedBytes(m_pDownloader->SerialConnector(), m_Received.data(),
                                        static_cast<unsigned int>(m_Received.size()), &m_nCount);
        if (error->empty() && IsDone()) {
            return true;
        }
        NoteProgress();
        if (error->empty()) {
            *error = TimeoutText();
        }
    }
    return false;
}

bool CEraseWait::IsDone() {
    static constexpr unsigned char DONE[] = {0x0E, 0x04, 0x01, 0xCE, 0xFF, 0x00};
    return FindBytesInBuffer(m_Received.data(), m_nCount, DONE, sizeof DONE) != nullptr;
}

void CEraseWait::NoteProgress() {
    static constexpr unsigned char MARKER[] = {0xFF, 0x01, 0xCE};
    if (m_nCount < sizeof MARKER || !std::equal(std::begin(MARKER), std::end(MARKER),
                                                m_Received.begin() + (m_nCount - sizeof MARKER))) {
        return;
    }
    m_nCount = 0;
    m_nLastProgressPoll = m_nPoll;
    const CLockGuard access(m_pDownloader->AccessLock());
    m_pDownloader->SetStatusDetails("Chip erase in progress");
}

std::string CEraseWait::TimeoutText() const {
    if (m_nPoll - m_nLastProgressPoll > MAX_POLLS_WITHOUT_PROGRESS) {
        return "Chip erase timeout (nLastProgressReportTime)";
    }
    return m_nPoll >= MAX_POLLS ? "Chip erase timeout (nMaxLoopTries)" : "";
}
