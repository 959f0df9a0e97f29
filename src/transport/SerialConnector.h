#pragma once

#include <memory>
#include <string>

#include "transport/CommunicationParameters.h"
#include "transport/LineObserver.h"

class COSFlag;

// Called on the connector's reader thread with the bytes just received; returns how many it took.
using RxCallback = unsigned int (*)(void* context, unsigned char* bytes, unsigned int count);

// The transport to the chip. Every operation returns an error text, empty on success.
//
// One thread at a time uses a connector, which receives on a thread of its own.
class CSerialConnector {
public:
    CSerialConnector() = default;
    CSerialConnector(const CSerialConnector&) = delete;
    CSerialConnector& operator=(const CSerialConnector&) = delete;
    virtual ~CSerialConnector() = default;

    // rxCallback may be null. Fails while connected.
    virtual std::string Connect(CCommunicationParameters& params, RxCallback rxCallback,
                                void* context) = 0;
    virtual std::string Disconnect() = 0;
    virtual std::string TransmitBytes(unsigned char* bytes, unsigned int count) = 0;

    // Takes what has arrived, without waiting. *gotBytes: the number of bytes copied, at most
    // maxBytes; all ones on failure.
    virtual std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                          unsigned int* gotBytes) = 0;

    // For those who look for received bytes after each period: sleeps until the end of the period
    // in which bytes arrive, at most for so many. Returns how many have passed: fewer on a machine
    // that is late to wake this thread, so that time limits counted in periods give a busy machine
    // more time. A connector that does not hear of arrivals sleeps for one period.
    unsigned int SleepUntilBytes(unsigned int periodMs, unsigned int maxPeriods);

    // Told of the line from the next Connect on. May be null; outlives the connection.
    void SetObserver(CLineObserver* observer) { m_pObserver = observer; }
    CLineObserver* GetObserver() const { return m_pObserver; }

    bool IsConnected() const { return m_pParameters != nullptr; }

    // Null while not connected; owned by the connector.
    const CCommunicationParameters* GetConnectionParameters() const { return m_pParameters.get(); }

protected:
    // Their presence is the connected state.
    std::unique_ptr<CCommunicationParameters> m_pParameters;
    // Raised while bytes can be read; null if nobody does that.
    COSFlag* m_pArrival = nullptr;

private:
    CLineObserver* m_pObserver = nullptr;
};
