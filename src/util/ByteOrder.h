#pragma once

// Integers into byte arrays and back. Writers return the number of bytes written; no pointer may be
// null unless said. Everything that goes to a chip is little-endian.

unsigned int CopyUint16ToLittleEndianBuffer(unsigned short value, unsigned char* bytes);
unsigned int CopyUint32ToLittleEndianBuffer(unsigned int value, unsigned char* bytes);
unsigned short CopyLittleEndianBufferToUint16(const unsigned char* bytes);
unsigned int CopyLittleEndianBufferToUint32(const unsigned char* bytes);
