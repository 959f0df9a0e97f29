#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "image/HciCommand.h"

class CByteBuffer;
class CChipDownloader;
class CSerialConnector;

// Conversations with the chip: send a command, then poll every 4 ms until the bytes of the expected
// reply show up in what was received, or the time is over. There is no HCI parser: a reply is a
// pattern (an HCI event without its packet indicator, Bluetooth Core Vol 4 Part E) that is searched
// for. Called on one thread at a time for a connector.
//
// prefix (may be null) and command go out in one transmission; a null command sends nothing.
// timeoutMS is in milliseconds; at least one poll is made. *error receives the transport's text and
// is empty after a time-out. downloader may be null: it gets the traces, which otherwise go to the
// trace stream.

// True when the expected bytes were found, or at once when expected is null.
bool SendCommandAndWaitForCompletion(CSerialConnector* connector, CByteBuffer* prefix,
                                     unsigned char* command, unsigned int commandLength,
                                     unsigned char* expected, unsigned int expectedLength,
                                     unsigned int timeoutMS, std::string* error,
                                     CChipDownloader* downloader);

// The reply is replyLength bytes and begins with the matchLength bytes in expected; on success the
// rest of expected, which has room for replyLength bytes, is filled from the receive buffer. The
// reply must be the first thing received, see DrainUntilSilent: a byte before it shifts the result.
bool SendCommandAndWaitForCompletionMatchRxStart(CSerialConnector* connector, CByteBuffer* prefix,
                                                 unsigned char* command, unsigned int commandLength,
                                                 unsigned char* expected, unsigned int matchLength,
                                                 unsigned int replyLength, unsigned int timeoutMS,
                                                 std::string* error, CChipDownloader* downloader);

// Why there is no reply: the transport's error text, empty after a time-out.
using ReplyFailure = std::optional<std::string>;

// Sends a command, made from this kind, and waits for its completion. returned is filled with what
// the completion returns after its status. *isAlone, which may be null, tells whether nothing else
// was received with it.
[[nodiscard]] ReplyFailure ExecuteCommand(CSerialConnector* connector, const CByteBuffer* prefix,
                                          const HCI_COMMAND& kind,
                                          std::span<const unsigned char> command,
                                          std::span<unsigned char> returned = {},
                                          bool* isAlone = nullptr);

// A command as it goes out, with the prefix if there is one.
std::vector<unsigned char> JoinCommand(const CByteBuffer* prefix,
                                       std::span<const unsigned char> command);

// Every packet of a download is sent here. Returns the transport's error text.
std::string SendPacket(CSerialConnector* connector, std::vector<unsigned char> packet);

// Discards what the transport has received so far, without waiting for more.
std::string ClearRxFIFO(CChipDownloader* downloader);

// How long nothing must come until the line counts as silent: longer than the 16 ms for which USB
// adapters hold received bytes back.
inline constexpr unsigned int SILENCE_MS = 20;

// ClearRxFIFO; if there were bytes, repeated until none come for SILENCE_MS, because the rest may
// still be on the line. Gives up after half a second on a line that never falls silent.
[[nodiscard]] std::string DrainUntilSilent(CChipDownloader* downloader);

// True when the chip answered HCI_Reset. Takes the access lock.
bool PerformHCIReset(CChipDownloader* downloader);
