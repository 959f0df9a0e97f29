#pragma once

#include <string>

#include "transport/PortTypes.h"
#include "util/NameValueTable.h"

// The parameters of one link, read from NAME=value lines. PORT is the device path; the UART
// connector ignores all others (BAUDRATE, RTS, CTS, NOFLOWCONTROL). Copyable; not synchronised.
class CCommunicationParameters {
public:
    virtual ~CCommunicationParameters() = default;

    // Replaces all parameters. Returns the table's error text, empty on success.
    std::string ParseCommParams(const char* text);

    // Return the default for a missing name and, for numbers, for a value that is not a number.
    std::string GetParamAsText(const char* name, const char* defaultValue) const;
    unsigned int GetParamAsU32(const char* name, unsigned int defaultValue) const;

    std::string GetPortId() const;  // as written; "" if there is none
    PortTypes GetPortType() const;
    std::string GetPortTypeName() const;

private:
    CNameValueTable m_Parameters;
};
