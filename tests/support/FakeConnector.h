#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "transport/SerialConnector.h"

// A connector without a port, for tests of what stands above it. It records what was transmitted
// and gives what the handler, a scripted chip, answers. Any thread may call any operation; the
// handler runs on the transmitting thread and without the fake's lock, so it may use the fake.
class CFakeConnector : public CSerialConnector {
public:
    using Bytes = std::vector<unsigned char>;
    // Takes the bytes of one TransmitBytes call; what it returns can be read from then on.
    using Handler = std::function<Bytes(const Bytes&)>;

    // Connected from the start, unless paramText is empty.
    explicit CFakeConnector(Handler handler = nullptr,
                            const std::string& paramText = "PORT=/dev/ttyS0\nBAUDRATE=115200\n")
        : m_Handler(std::move(handler)) {
        if (!paramText.empty()) {
            m_pParameters = std::make_unique<CCommunicationParameters>();
            m_pParameters->ParseCommParams(paramText.c_str());
        }
    }

    void SetHandler(Handler handler) { m_Handler = std::move(handler); }

    // Bytes that arrive by themselves; the receive callback gets them too, on this thread.
    void Receive(Bytes bytes) {
        {
            const std::lock_guard lock(m_Mutex);
            m_Received.insert(m_Received.end(), bytes.begin(), bytes.end());
        }
        if (m_pCallback != nullptr) {
            m_pCallback(m_pCallbackContext, bytes.data(), static_cast<unsigned int>(bytes.size()));
        }
    }

    // A read gives at most so many bytes.
    void LimitReads(std::size_t bytes) {
        const std::lock_guard lock(m_Mutex);
        m_nReadLimit = bytes;
    }

    // Once what has been received is used up, every read fails with this text ("" = no more).
    void FailReads(std::string text) {
        const std::lock_guard lock(m_Mutex);
        m_strReadError = std::move(text);
    }

    // Every transmission fails with this text and is neither recorded nor handled.
    void FailTransmissions(std::string text) {
        const std::lock_guard lock(m_Mutex);
        m_strTransmitError = std::move(text);
    }

    // The text of connecting; "" = it works.
    void FailConnects(std::string text) { m_strConnectError = std::move(text); }

    // What was transmitted so far, one element for each call.
    std::vector<Bytes> Transmitted() const {
        const std::lock_guard lock(m_Mutex);
        return m_Transmitted;
    }

    std::string Connect(CCommunicationParameters& params, RxCallback rxCallback,
                        void* context) override {
        if (IsConnected()) {
            return "Already connected!";
        }
        if (!m_strConnectError.empty()) {
            return m_strConnectError;
        }
        m_pCallback = rxCallback;
        m_pCallbackContext = context;
        m_pParameters = std::make_unique<CCommunicationParameters>(params);
        return {};
    }

    std::string Disconnect() override {
        if (!IsConnected()) {
            return "Not connected!";
        }
        m_pParameters.reset();
        return {};
    }

    std::string TransmitBytes(unsigned char* bytes, unsigned int count) override {
        if (bytes == nullptr || count == 0) {
            return {};
        }
        const Bytes sent(bytes, bytes + count);
        {
            const std::lock_guard lock(m_Mutex);
            if (!m_strTransmitError.empty()) {
                return m_strTransmitError;
            }
            m_Transmitted.push_back(sent);
        }
        if (m_Handler) {
            Receive(m_Handler(sent));
        }
        return {};
    }

    std::string ReadReceivedBytes(unsigned char* buf, unsigned int maxBytes,
                                  unsigned int* gotBytes) override {
        const std::lock_guard lock(m_Mutex);
        if (m_Received.empty() && !m_strReadError.empty()) {
            *gotBytes = 0xFFFFFFFF;
            return m_strReadError;
        }
        const std::size_t count =
            std::min({m_Received.size(), static_cast<std::size_t>(maxBytes), m_nReadLimit});
        std::copy_n(m_Received.begin(), count, buf);
        m_Received.erase(m_Received.begin(),
                         m_Received.begin() + static_cast<std::ptrdiff_t>(count));
        *gotBytes = static_cast<unsigned int>(count);
        return {};
    }

private:
    Handler m_Handler;
    RxCallback m_pCallback = nullptr;
    void* m_pCallbackContext = nullptr;
    std::string m_strConnectError;

    mutable std::mutex m_Mutex;  // guards what follows
    std::vector<Bytes> m_Transmitted;
    std::deque<unsigned char> m_Received;
    std::size_t m_nReadLimit = static_cast<std::size_t>(-1);
    std::string m_strReadError;
    std::string m_strTransmitError;
};
