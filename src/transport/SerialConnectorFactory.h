#pragma once

#include <string>

class CByteBuffer;
class CLineObserver;
class CSerialConnector;

// Makes the connector that paramText asks for and connects it. Returns the connector, which the
// caller owns and deletes, or null, with the reason in *errorText (none for a null or empty
// paramText). transportInfo, which may be null, receives the byte 0x01, the mark of a UART.
[[nodiscard]] CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                                      CByteBuffer* transportInfo);

// The same with an observer of the line, which may be null.
[[nodiscard]] CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                                      CByteBuffer* transportInfo,
                                                      CLineObserver* observer);
