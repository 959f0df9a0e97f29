#pragma once

#include <string>

enum PortTypes : int {
    PORT_TYPE_UNKNOWN = 0,
    PORT_TYPE_UART = 1,
    PORT_TYPE_RESERVED = 2,  // never identified, never created
};

// Tells the kind of port from its path: "/dev/tty", in any case, within the first 31 characters is
// a UART. Sets both outputs always; true exactly when the kind is known. portId may be null.
bool IdentifyPortType(const char* portId, PortTypes* type, std::string* typeName);

// The device path of the UART with that index (0 to 99); else false and an empty id.
bool CreatePortId(PortTypes type, int index, std::string* portId);

// The range of indexes that CreatePortId takes; -1 for kinds without ports.
int GetMinPortIndex(PortTypes type);
int GetMaxPortIndex(PortTypes type);
