#pragma once

#include <memory>
#include <string>

#include "transport/CommunicationParameters.h"
#include "transport/LineObserver.h"

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

    // Told of the line from the next Connect on. May be null; outlives the connection.
    void SetObserver(CLineObserver* observer) { m_pObserver = observer; }
    CLineObserver* GetObserver() const { return m_pObserver; }

    bool IsConnected() const { return m_pParameters != nullptr; }

    // Null while not connected; owned by the connector.
    const CCommunicationParameters* GetConnectionParameters() const { return m_pParameters.get(); }

protected:
    // Their presence is the connected state.
    std::unique_ptr<CCommunicationParameters> m_pParameters;

private:
    CLineObserver* m_pObserver = nullptr;
};
