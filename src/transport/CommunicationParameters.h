#pragma once

#include <string>

#include "transport/PortTypes.h"
#include "util/NameValueTable.h"

// The parameters of one link, read from NAME=value lines. PORT is the device path; BAUDRATE, RTS,
// CTS and NOFLOWCONTROL are carried along and not read by the UART connector. Copyable; not
// synchronised.
class CCommunicationParameters {
public:
    CCommunicationParameters() = default;
    CCommunicationParameters(const CCommunicationParameters&) = default;
    CCommunicationParameters& operator=(const CCommunicationParameters&) = default;
    virtual ~CCommunicationParameters() = default;

    // Replaces the parameters; returns the table's error text, empty on success.
    std::string ParseCommParams(const char* text);

    // The default is returned for a missing name (and, for numbers, a value that is none).
    std::string GetParamAsText(const char* name, const char* defaultValue) const;
    unsigned int GetParamAsU32(const char* name, unsigned int defaultValue) const;

    std::string GetPortId() const;  // as written, "" when there is none
    PortTypes GetPortType() const;
    std::string GetPortTypeName() const;

private:
    CNameValueTable m_Parameters;
};
