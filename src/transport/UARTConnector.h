#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "os/ExecutionThread.h"
#include "os/OSMutex.h"
#include "transport/SerialConnector.h"
#include "transport/UARTTransportData.h"

// The connector for a serial device node, always raw at 115200 8N1. While connected it holds an
// advisory lock on the terminal, so that a second connection to it is refused. Disconnecting
// restores the terminal's settings; InstallTerminalRestoreOnSignals (TerminalRestore.h) does so
// when a signal ends the process.
//
// One thread connects, transmits, reads and disconnects. A reader thread takes received bytes from
// the port and runs the receive callback. Disconnecting waits for that thread, so the callback must
// neither disconnect nor destroy the connector, nor wait for a lock that the caller holds then.
class CUARTConnector : public CSerialConnector {
public:
    CUARTConnector() = default;
    CUARTConnector(const CUARTConnector&) = delete;
    CUARTConnector& operator=(const CUARTConnector&) = delete;
    ~CUARTConnector() override { CleanUp(); }

    // Uses the PORT parameter only. "Already connected!", "failed to open port: " + path or "Failed
    // to start worker threads".
    std::string Connect(CCommunicationParameters& params, RxCallback rxCallback,
                        void* context) override;

    // "Not connected!".
    std::string Disconnect() override;

    // Waits until the device has taken the bytes. Always returns the empty text: lost bytes show as
    // a missing answer.
    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override;

    // What arrived before Disconnect can be read after it. "RxOverflow" if the caller was too slow,
    // from then on for the whole connection; "RxUnknownError"; "Not connected!" if there never was
    // a connection.
    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override;

private:
    struct WORKER {
        std::unique_ptr<CExecutionThread> thread;
        std::unique_ptr<COSMutex> lock;
    };

    bool StartWorkerThreads();
    void CloseWorkerThread(WORKER& worker, std::atomic<CSynchronizationMutex*>& publishedLock);
    void CloseWorkerThreads();
    void CleanUp();

    std::unique_ptr<CUARTTransportData> m_pTransport;
    WORKER m_Reader;
    WORKER m_Writer;  // never started: TransmitBytes sends from the caller's thread
};

// The locks of the connector that connected last; null if there is none. The connector owns them
// and never locks them.
extern std::atomic<CSynchronizationMutex*> pUARTReadMutex;
extern std::atomic<CSynchronizationMutex*> pUARTWriteMutex;

// Unlocks pUARTReadMutex if it is set. Looks like a signal handler, but nothing installs it.
void SignalHandler(int signal);

// Thread functions; the context is the CUARTTransportData. Both run until they are cancelled.
unsigned int UARTReadThread(CExecutionThread* thread);
unsigned int UARTWriteThread(CExecutionThread* thread);
