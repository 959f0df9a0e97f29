#pragma once

#include <optional>
#include <string>

#include "download/HciExchange.h"

class CByteBuffer;
class CChipDownloader;
class CSerialConnector;

// The chip's vendor commands, one exchange each (vendor-specific HCI commands, Bluetooth Core Vol 4
// Part E, 5.4.1). Addresses and counts go out little-endian. Called on the download thread.

// Write RAM: n bytes at address. n is one byte on the wire; up to 251 make a well-formed command.
bool VintorDownloadSingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                                const unsigned char* data, unsigned char n, unsigned int address);

// Read RAM: n bytes from address into data, on a silent line (DrainUntilSilent). There is no
// comparison that would notice a second reply to an earlier command: unless *isAlone, other bytes
// came with the reply, and the data may be wrong.
[[nodiscard]] ReplyFailure VintorReadSingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                                                  unsigned char* data, unsigned char n,
                                                  unsigned int address, bool* isAlone);

// Read RAM: reads n bytes at address back and compares them, on a silent line (DrainUntilSilent).
// *error names the first byte that differs, with its address and both values, or says what went
// wrong with the exchange; it is empty exactly when the bytes are equal.
bool VintorVerifySingleRecord(CSerialConnector* connector, CByteBuffer* prefix,
                              const unsigned char* data, unsigned char n, unsigned int address,
                              std::string* error);

// Launch RAM at the minidriver's start; reports success as status details, failure as the error.
bool VintorMinidriverLaunch(CChipDownloader* downloader, unsigned int address);

// Launch RAM at the launch address of the loading information; reports the same way.
bool VintorDownloadReset(CChipDownloader* downloader);

// Erases the chip's non-volatile memory and waits until it is done: for 25 s without a word from
// the chip, for 50 s in all. A failure is set as the error. The access lock is free meanwhile, so
// that progress can be polled.
bool VintorChipErase(CChipDownloader* downloader);

// The CRC-32 that the chip computes of byteCount bytes at address. Without an answer, an error is
// set. The caller holds the access lock.
std::optional<unsigned int> VintorRequestCRC(CChipDownloader* downloader, unsigned int address,
                                             unsigned int byteCount);

// Lets the chip compute the CRC-32 of byteCount bytes at address and compares. A difference or a
// missing answer is set as the error. Holds the access lock for the whole exchange.
bool VerifyCRC(CChipDownloader* downloader, unsigned int address, unsigned int byteCount,
               unsigned int expectedCRC);
