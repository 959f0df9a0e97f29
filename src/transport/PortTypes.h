#pragma once

#include <string>

enum PortTypes : int {
    PORT_TYPE_UNKNOWN = 0,
    PORT_TYPE_UART = 1,
    PORT_TYPE_RESERVED = 2,  // never identified or created
};

// Finds the kind of a port: "/dev/tty", in any case, within the first 31 characters of its path
// means a UART. Returns whether the kind is known; sets both outputs in any case. portId may be
// null.
bool IdentifyPortType(const char* portId, PortTypes* type, std::string* typeName);

// Makes the device path of the UART with that index (0 to 99). Any other index or type: false, and
// an empty id.
bool CreatePortId(PortTypes type, int index, std::string* portId);

// The range of indexes that CreatePortId takes; -1 for types without ports.
int GetMinPortIndex(PortTypes type);
int GetMaxPortIndex(PortTypes type);
