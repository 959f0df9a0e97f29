#include "transport/CommunicatorWithRxQueue.h"

#include "os/LockGuard.h"

namespace {

// Up to this capacity, all bytes that the queue holds can be read in one piece.
constexpr unsigned int LINEAR_SIZE = 0x40000;

}  // namespace

CCommunicatorWithRxQueue::CCommunicatorWithRxQueue(int queueSize)
    : m_RxQueue(static_cast<unsigned int>(queueSize), LINEAR_SIZE) {}

std::string CCommunicatorWithRxQueue::Connect(CSerialConnector* connector,
                                              CCommunicationParameters& params) {
    if (connector == nullptr) {
        return "NULL pConnector!";
    }
    if (connector->IsConnected()) {
        return "pConnector is in connected state!";
    }
    if (m_pConnector != nullptr) {
        return "Already initialized!";
    }
    if (connector->Connect(params, FuncCircQueueRxData, this).empty()) {
        m_pConnector = connector;
    }
    return {};
}

std::string CCommunicatorWithRxQueue::Disconnect() {
    if (m_pConnector == nullptr) {
        return "m_pConnector is NULL!";
    }
    if (!m_pConnector->IsConnected()) {
        return "Not connected!";
    }
    return m_pConnector->Disconnect();
}

unsigned int CCommunicatorWithRxQueue::FuncCircQueueRxData(void* context, unsigned char* bytes,
                                                           unsigned int n) {
    auto* const self = static_cast<CCommunicatorWithRxQueue*>(context);
    const CLockGuard held(self->m_RxLock);
    return DataQueueAddBytes(&self->m_RxQueue, n, bytes);
}
