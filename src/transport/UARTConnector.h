#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "os/ExecutionThread.h"
#include "os/OSMutex.h"
#include "transport/SerialConnector.h"
#include "transport/UARTTransportData.h"

// The connector over a serial device node, at a fixed raw 115200 8N1. While connected it holds an
// advisory lock on the terminal, so a second connection to it is refused; the settings the terminal
// had come back at the end of the connection, and InstallTerminalRestoreOnSignals (see
// TerminalRestore.h) covers an end by signal.
//
// One thread connects, transmits, reads and disconnects. Received bytes are taken from the port by
// a reader thread, which also runs the receive callback. Disconnecting waits for that thread, so
// the callback must not disconnect or destroy the connector.
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

    // Waits until the bytes are handed to the device. Always empty: lost bytes show as a missing
    // answer.
    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override;

    // What came before a disconnection can still be read after it. "RxOverflow" when the caller
    // was too slow, from then on for the whole connection; "RxUnknownError"; "Not connected!" when
    // there never was a connection.
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
    WORKER m_Writer;  // nothing starts one: TransmitBytes sends from the caller's thread
};

// The locks that belong to the threads of the connector that connected last; null while it has
// none. The connector owns them, and nothing locks them.
extern std::atomic<CSynchronizationMutex*> pUARTReadMutex;
extern std::atomic<CSynchronizationMutex*> pUARTWriteMutex;

// Unlocks pUARTReadMutex if it is set. Shaped like a signal handler, but nothing installs it.
void SignalHandler(int signal);

// Thread functions; the context is the CUARTTransportData. Both run until they are cancelled.
unsigned int UARTReadThread(CExecutionThread* thread);
unsigned int UARTWriteThread(CExecutionThread* thread);
