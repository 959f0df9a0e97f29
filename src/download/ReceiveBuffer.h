#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <vector>

class CSerialConnector;

// Bytes received from the chip, gathered until a pattern is found in them. Used on one thread.

// Appends what the transport has received, without waiting, and adds its size to *count. Returns an
// error text; a full buffer is an error.
std::string FetchMoreReceivedBytes(CSerialConnector* connector, unsigned char* buffer,
                                   unsigned int bufferSize, unsigned int* count);

// The first whole occurrence of the pattern, or null.
unsigned char* FindBytesInBuffer(unsigned char* buffer, unsigned int count,
                                 const unsigned char* pattern, unsigned int patternLength);

// The two of them with a buffer of fixed size.
class CReceiveBuffer {
public:
    explicit CReceiveBuffer(unsigned int size) : m_nSize(size) {}

    [[nodiscard]] std::string Fetch(CSerialConnector* connector);

    std::span<const unsigned char> Bytes() const { return m_Bytes; }
    bool IsFull() const { return m_Bytes.size() == m_nSize; }

    // The first whole occurrence that is followed by so many bytes more, or null.
    const unsigned char* Find(std::span<const unsigned char> pattern, std::size_t following = 0);
    bool EndsWith(std::span<const unsigned char> pattern) const {
        return std::ranges::equal(Bytes().last(std::min(m_Bytes.size(), pattern.size())), pattern);
    }
    void DropFront(std::size_t count) {
        m_Bytes.erase(m_Bytes.begin(), m_Bytes.begin() + static_cast<std::ptrdiff_t>(count));
    }

private:
    unsigned int m_nSize;
    std::vector<unsigned char> m_Bytes;
};
