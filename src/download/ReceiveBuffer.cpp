#include "download/ReceiveBuffer.h"

#include "transport/SerialConnector.h"

std::string FetchMoreReceivedBytes(CSerialConnector* connector, unsigned char* buffer,
                                   unsigned int bufferSize, unsigned int* count) {
    if (*count >= bufferSize) {
        return "Rx buffer full!";
    }
    unsigned int received = 0;
    std::string error =
        connector->ReadReceivedBytes(buffer + *count, bufferSize - *count, &received);
    if (error.empty()) {
        *count += received;
    }
    return error;
}

unsigned char* FindBytesInBuffer(unsigned char* buffer, unsigned int count,
                                 const unsigned char* pattern, unsigned int patternLength) {
    unsigned char* const end = buffer + count;
    unsigned char* const found = std::search(buffer, end, pattern, pattern + patternLength);
    return found == end ? nullptr : found;
}

std::string CReceiveBuffer::Fetch(CSerialConnector* connector) {
    auto count = static_cast<unsigned int>(m_Bytes.size());
    m_Bytes.resize(m_nSize);
    std::string error = FetchMoreReceivedBytes(connector, m_Bytes.data(), m_nSize, &count);
    m_Bytes.resize(count);
    return error;
}

const unsigned char* CReceiveBuffer::Find(std::span<const unsigned char> pattern,
                                          std::size_t following) {
    const std::size_t count = m_Bytes.size() - std::min(m_Bytes.size(), following);
    return FindBytesInBuffer(m_Bytes.data(), static_cast<unsigned int>(count), pattern.data(),
                             static_cast<unsigned int>(pattern.size()));
}
