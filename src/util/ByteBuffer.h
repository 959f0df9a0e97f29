#pragma once

#include <array>
#include <memory>

// How a CByteBuffer holds its bytes. Stored as a number; other values are kept as given.
enum ByteBufferStorage : unsigned char {
    BYTE_BUFFER_EMPTY = 0,
    BYTE_BUFFER_OWNED = 1,     // the buffer allocated a copy and frees it
    BYTE_BUFFER_BORROWED = 2,  // the caller's memory, never freed here
    BYTE_BUFFER_ADOPTED = 3,   // the caller's new[] block, freed here with delete[]
};

// Holds bytes with the chip address of the first, a one-byte mark and an optional name: image
// ranges, configuration records and command payloads. One thread at a time.
//
// Up to 16 owned bytes are kept in the object itself, since an image may have a range for each
// record and most commands are short. So moving the buffer also invalidates pointers to its bytes.
class CByteBuffer {
public:
    CByteBuffer() = default;

    // size bytes, all set to fill. Size 0 or a failed allocation leaves the buffer empty.
    CByteBuffer(unsigned int size, unsigned char fill);

    // Mode 1 copies; any other mode keeps the caller's pointer and that mode (2 borrows, 3 adopts).
    // Null data or size 0 leaves the buffer empty.
    CByteBuffer(unsigned char* data, unsigned int size, unsigned char mode);

    // Takes over a block, without a copy, and owns its first size bytes (mode 1). A null block or
    // size 0 leaves the buffer empty.
    CByteBuffer(std::unique_ptr<unsigned char[]> block, unsigned int size);

    // A borrowed source is shared, any other is copied; address, flag and name are always copied.
    CByteBuffer(const CByteBuffer& other);
    // Takes everything and leaves the source empty, so that lists of ranges grow without copying.
    CByteBuffer(CByteBuffer&& other) noexcept { Swap(other); }
    CByteBuffer& operator=(CByteBuffer other) noexcept;  // copies or moves
    ~CByteBuffer();

    // Replaces the bytes: mode 2 borrows, every other mode copies, also mode 3. Address, flag and
    // name stay.
    void AssignData(unsigned char* data, unsigned int size, unsigned char mode);

    // Appends a copy of the bytes; null data or size 0 does nothing. Only for buffers that own
    // their bytes: the old block is freed whatever its mode.
    void AppendData(unsigned char* data, unsigned int size);

    // Null or empty text removes the name.
    void SetName(const char* name);
    const char* GetName() const { return m_pszName; }  // null when there is none

    unsigned char* GetDataBuffer() const { return m_pData; }
    unsigned int GetDataByteSize() const { return m_nDataSize; }
    unsigned char GetStorageMode() const { return m_nMode; }
    unsigned int GetBaseAddress() const { return m_nBaseAddress; }
    void SetBaseAddress(unsigned int address) { m_nBaseAddress = address; }
    unsigned char GetFlag() const { return m_nFlag; }
    void SetFlag(unsigned char flag) { m_nFlag = flag; }

private:
    static constexpr unsigned int SHORT_SIZE = 16;  // bytes, as in most records

    // Room for size owned bytes, m_Short or a new block; null when memory runs out.
    unsigned char* MakeRoom(unsigned int size);
    // A copy of the bytes in such room; null for no bytes and when memory runs out.
    unsigned char* CopyOfBytes(const unsigned char* data, unsigned int size);
    // Holds block from now on, without freeing what was held; no block or no bytes means empty.
    void TakeBlock(unsigned char* block, unsigned int size, unsigned char mode);
    void DeleteBlock();  // unless it is m_Short
    void FreeData();
    void Swap(CByteBuffer& other) noexcept;

    unsigned char* m_pData = nullptr;
    unsigned int m_nDataSize = 0;
    unsigned char m_nMode = BYTE_BUFFER_EMPTY;
    unsigned int m_nBaseAddress = 0;
    unsigned char m_nFlag = 0;
    char* m_pszName = nullptr;
    std::array<unsigned char, SHORT_SIZE> m_Short{};
};
