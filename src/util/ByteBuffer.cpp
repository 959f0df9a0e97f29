#include "util/ByteBuffer.h"

#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace {

char* CopyOfText(const char* text) {
    if (text == nullptr || *text == '\0') {
        return nullptr;
    }
    const size_t room = std::strlen(text) + 1;
    auto* copy = new (std::nothrow) char[room];
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, room));
}

}  // namespace

CByteBuffer::CByteBuffer(unsigned int size, unsigned char fill) {
    unsigned char* block = MakeRoom(size);
    if (block != nullptr) {
        std::memset(block, fill, size);
    }
    TakeBlock(block, size, BYTE_BUFFER_OWNED);
}

CByteBuffer::CByteBuffer(unsigned char* data, unsigned int size, unsigned char mode) {
    TakeBlock(mode == BYTE_BUFFER_OWNED ? CopyOfBytes(data, size) : data, size, mode);
}

CByteBuffer::CByteBuffer(std::unique_ptr<unsigned char[]> block, unsigned int size) {
    if (size != 0) {
        TakeBlock(block.release(), size, BYTE_BUFFER_OWNED);
    }
}

CByteBuffer::CByteBuffer(const CByteBuffer& other)
    : m_nBaseAddress(other.m_nBaseAddress),
      m_nFlag(other.m_nFlag),
      m_pszName(CopyOfText(other.m_pszName)) {
    AssignData(other.m_pData, other.m_nDataSize, other.m_nMode);
}

CByteBuffer& CByteBuffer::operator=(CByteBuffer other) noexcept {
    Swap(other);
    return *this;
}

CByteBuffer::~CByteBuffer() {
    FreeData();
    delete[] m_pszName;
}

void CByteBuffer::AssignData(unsigned char* data, unsigned int size, unsigned char mode) {
    // The copy is made first: the new bytes may lie inside the old block.
    const bool borrow = mode == BYTE_BUFFER_BORROWED;
    unsigned char* block = borrow ? data : CopyOfBytes(data, size);
    FreeData();
    TakeBlock(block, size, borrow ? BYTE_BUFFER_BORROWED : BYTE_BUFFER_OWNED);
}

void CByteBuffer::AppendData(unsigned char* data, unsigned int size) {
    if (data == nullptr || size == 0) {
        return;
    }
    if (m_pData == nullptr) {
        AssignData(data, size, BYTE_BUFFER_OWNED);
        return;
    }
    const bool fits = size <= UINT_MAX - m_nDataSize;
    unsigned char* block = fits ? MakeRoom(m_nDataSize + size) : nullptr;
    if (block != nullptr) {
        // Both blocks may be m_Short.
        std::memmove(block, m_pData, m_nDataSize);
        std::memmove(block + m_nDataSize, data, size);
    }
    // Whatever its mode was: only owners append.
    DeleteBlock();
    TakeBlock(block, m_nDataSize + size, BYTE_BUFFER_OWNED);
}

void CByteBuffer::SetName(const char* name) {
    char* copy = CopyOfText(name);
    delete[] m_pszName;
    m_pszName = copy;
}

unsigned char* CByteBuffer::MakeRoom(unsigned int size) {
    return size <= SHORT_SIZE ? m_Short.data() : new (std::nothrow) unsigned char[size];
}

unsigned char* CByteBuffer::CopyOfBytes(const unsigned char* data, unsigned int size) {
    if (data == nullptr || size == 0) {
        return nullptr;
    }
    unsigned char* copy = MakeRoom(size);
    if (copy != nullptr) {
        std::memmove(copy, data, size);  // the source may be what the buffer holds now
    }
    return copy;
}

void CByteBuffer::TakeBlock(unsigned char* block, unsigned int size, unsigned char mode) {
    const bool empty = block == nullptr || size == 0;
    m_pData = empty ? nullptr : block;
    m_nDataSize = empty ? 0 : size;
    m_nMode = empty ? static_cast<unsigned char>(BYTE_BUFFER_EMPTY) : mode;
}

void CByteBuffer::DeleteBlock() {
    if (m_pData != m_Short.data()) {
        delete[] m_pData;
    }
}

void CByteBuffer::FreeData() {
    if (m_nMode == BYTE_BUFFER_OWNED || m_nMode == BYTE_BUFFER_ADOPTED) {
        DeleteBlock();
    }
    TakeBlock(nullptr, 0, BYTE_BUFFER_EMPTY);
}

void CByteBuffer::Swap(CByteBuffer& other) noexcept {
    std::swap(m_pData, other.m_pData);
    std::swap(m_nDataSize, other.m_nDataSize);
    std::swap(m_nMode, other.m_nMode);
    std::swap(m_nBaseAddress, other.m_nBaseAddress);
    std::swap(m_nFlag, other.m_nFlag);
    std::swap(m_pszName, other.m_pszName);
    std::swap(m_Short, other.m_Short);
    if (m_pData == other.m_Short.data()) {
        m_pData = m_Short.data();
    }
    if (other.m_pData == m_Short.data()) {
        other.m_pData = other.m_Short.data();
    }
}
