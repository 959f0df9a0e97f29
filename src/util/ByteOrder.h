#pragma once

// Integers into byte arrays and back. Writers return the number of bytes written; no pointer may be
// null unless said. Everything that goes to a chip is little-endian.

unsigned int CopyUint16ToLittleEndianBuffer(unsigned short value, unsigned char* bytes);
unsigned int CopyUint32ToLittleEndianBuffer(unsigned int value, unsigned char* bytes);
unsigned short CopyLittleEndianBufferToUint16(const unsigned char* bytes);
unsigned int CopyLittleEndianBufferToUint32(const unsigned char* bytes);

// Big-endian: most significant byte first.
unsigned int CopyInt16ToByteBuffer(short value, unsigned char* bytes);
unsigned int CopyUint16ToByteBuffer(unsigned short value, unsigned char* bytes);
unsigned int CopyInt32ToByteBuffer(int value, unsigned char* bytes);
unsigned int CopyUint32ToByteBuffer(unsigned int value, unsigned char* bytes);
unsigned int CopyInt64ToByteBuffer(long long value, unsigned char* bytes);
unsigned int CopyUint64ToByteBuffer(unsigned long long value, unsigned char* bytes);
short CopyByteBufferToInt16(const unsigned char* bytes);
unsigned short CopyByteBufferToUint16(const unsigned char* bytes);
int CopyByteBufferToInt32(const unsigned char* bytes);
unsigned int CopyByteBufferToUint32(const unsigned char* bytes);
long long CopyByteBufferToInt64(const unsigned char* bytes);
unsigned long long CopyByteBufferToUint64(const unsigned char* bytes);

// Big-endian, element after element. They return the bytes written or read: count times the
// element's width, or 0, with nothing touched, when a pointer is null or count is 0.
unsigned int CopyInt16ArrayToByteBuffer(const short* values, unsigned int count,
                                        unsigned char* bytes);
unsigned int CopyUInt16ArrayToByteBuffer(const unsigned short* values, unsigned int count,
                                         unsigned char* bytes);
unsigned int CopyInt32ArrayToByteBuffer(const int* values, unsigned int count,
                                        unsigned char* bytes);
unsigned int CopyUInt32ArrayToByteBuffer(const unsigned int* values, unsigned int count,
                                         unsigned char* bytes);
unsigned int CopyInt64ArrayToByteBuffer(const long long* values, unsigned int count,
                                        unsigned char* bytes);
unsigned int CopyUInt64ArrayToByteBuffer(const unsigned long long* values, unsigned int count,
                                         unsigned char* bytes);
unsigned int CopyByteBufferToInt16Array(const unsigned char* bytes, short* values,
                                        unsigned int count);
unsigned int CopyByteBufferToUInt16Array(const unsigned char* bytes, unsigned short* values,
                                         unsigned int count);
unsigned int CopyByteBufferToInt32Array(const unsigned char* bytes, int* values,
                                        unsigned int count);
unsigned int CopyByteBufferToUInt32Array(const unsigned char* bytes, unsigned int* values,
                                         unsigned int count);
unsigned int CopyByteBufferToInt64Array(const unsigned char* bytes, long long* values,
                                        unsigned int count);
unsigned int CopyByteBufferToUInt64Array(const unsigned char* bytes, unsigned long long* values,
                                         unsigned int count);

// LEB128, 1 to 5 bytes (unsigned, as in the DWARF standard, section "Variable Length Data").
unsigned int CopyUint32ToByteBufferLEB128(unsigned int value, unsigned char* bytes);

// Takes bytes up to the first one below 0x80, five at the most; *used, which may be null, receives
// how many were taken.
unsigned int CopyByteBufferLEB128ToUint32(const unsigned char* bytes, unsigned char* used);
