#include "transport/PortTypes.h"

#include <cstring>

#include "util/TextCase.h"

namespace {

constexpr int MAX_UART_INDEX = 99;

// A path that mentions /dev/tty later is not a UART.
constexpr std::size_t PORT_ID_LOOKED_AT = 31;

}  // namespace

bool IdentifyPortType(const char* portId, PortTypes* type, std::string* typeName) {
    *type = PORT_TYPE_UNKNOWN;
    *typeName = "UNKNOWN";
    if (portId == nullptr) {
        return false;
    }
    const std::string start = UpperCaseCopy({portId, strnlen(portId, PORT_ID_LOOKED_AT)});
    if (start.find("/DEV/TTY") != std::string::npos) {
        *type = PORT_TYPE_UART;
        *typeName = "UART";
    }
    return *type != PORT_TYPE_UNKNOWN;
}

bool CreatePortId(PortTypes type, int index, std::string* portId) {
    portId->clear();
    if (type != PORT_TYPE_UART || index < GetMinPortIndex(type) || index > GetMaxPortIndex(type)) {
        return false;
    }
    *portId = "/dev/ttyS" + std::to_string(index);
    return true;
}

int GetMinPortIndex(PortTypes type) {
    return type == PORT_TYPE_UART ? 0 : -1;
}

int GetMaxPortIndex(PortTypes type) {
    return type == PORT_TYPE_UART ? MAX_UART_INDEX : -1;
}
