#pragma once

#include <string>

class CByteBuffer;
class CLineObserver;
class CSerialConnector;

// Makes the connector that paramText asks for and connects it. Returns the connected connector,
// which the caller owns and deletes, or null with the reason in *errorText (no reason for a null or
// empty paramText). transportInfo, when given, receives the one byte 0x01, the mark of a UART.
CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                        CByteBuffer* transportInfo);

// The same with an observer of the line, which may be null.
CSerialConnector* CreateSerialConnector(const char* paramText, std::string* errorText,
                                        CByteBuffer* transportInfo, CLineObserver* observer);
