#pragma once

#include <string>
#include <vector>

class CByteBuffer;
class CChipDownloader;
class CSerialConnector;

// Conversations with the chip: send a command, then poll every 4 ms until the bytes of the expected
// reply show up in what was received, or the time is over. There is no HCI parser: a reply is a
// pattern (an HCI event without its packet indicator, Bluetooth Core Vol 4 Part E) that is searched
// for. Called on one thread at a time for a connector.
//
// prefix (may be null) and command go out in one transmission; a null command sends nothing.
// timeoutMS is in milliseconds; at least one poll is made. *error receives the transport's text: a
// time-out leaves it empty. downloader may be null; it decides where traces go, nothing else.

// True when the expected bytes were found, or at once when expected is null.
bool SendCommandAndWaitForCompletion(CSerialConnector* connector, CByteBuffer* prefix,
                                     unsigned char* command, unsigned int commandLength,
                                     unsigned char* expected, unsigned int expectedLength,
                                     unsigned int timeoutMS, std::string* error,
                                     CChipDownloader* downloader);

// The reply is replyLength bytes and begins with the matchLength bytes in expected; on success the
// rest of expected, which has room for replyLength bytes, is filled from the receive buffer. The
// reply has to be the first thing received: a stray byte before it shifts what is returned.
bool SendCommandAndWaitForCompletionMatchRxStart(CSerialConnector* connector, CByteBuffer* prefix,
                                                 unsigned char* command, unsigned int commandLength,
                                                 unsigned char* expected, unsigned int matchLength,
                                                 unsigned int replyLength, unsigned int timeoutMS,
                                                 std::string* error, CChipDownloader* downloader);

// The bytes of one transmission: the prefix, when there is one, and the command.
std::vector<unsigned char> JoinCommand(const CByteBuffer* prefix, const unsigned char* command,
                                       unsigned int commandLength);

// Appends what the transport has received behind the first *count bytes of buffer and moves *count
// on. Returns an error text; a full buffer is one.
std::string FetchMoreReceivedBytes(CSerialConnector* connector, unsigned char* buffer,
                                   unsigned int bufferSize, unsigned int* count);

// The first place in buffer where the whole pattern stands, or null.
unsigned char* FindBytesInBuffer(unsigned char* buffer, unsigned int count,
                                 const unsigned char* pattern, unsigned int patternLength);

// Discards what the transport has received so far, without waiting for more.
std::string ClearRxFIFO(CChipDownloader* downloader);

// How long nothing must come until the line counts as silent: longer than the 16 ms for which USB
// adapters hold received bytes back.
inline constexpr unsigned int SILENCE_MS = 20;

// ClearRxFIFO; if there were bytes, repeated until none come for SILENCE_MS, because the rest may
// still be on the line. Gives up after half a second on a line that never falls silent.
std::string DrainUntilSilent(CChipDownloader* downloader);

// True when the chip answered HCI_Reset within 100 ms. Takes the access lock.
bool PerformHCIReset(CChipDownloader* downloader);
