#include "transport/CommunicationParameters.h"

#include "util/NumberText.h"

namespace {

constexpr const char* PORT_NAME = "PORT";

}  // namespace

std::string CCommunicationParameters::ParseCommParams(const char* text) {
    return m_Parameters.LoadFromString(text);
}

std::string CCommunicationParameters::GetParamAsText(const char* name,
                                                     const char* defaultValue) const {
    const char* const value = m_Parameters.FindValueFromName(name);
    if (value != nullptr) {
        return value;
    }
    return defaultValue != nullptr ? defaultValue : "";
}

unsigned int CCommunicationParameters::GetParamAsU32(const char* name,
                                                     unsigned int defaultValue) const {
    int value = 0;
    if (!TryToGetIntValue(m_Parameters.FindValueFromName(name), &value)) {
        return defaultValue;
    }
    return static_cast<unsigned int>(value);
}

std::string CCommunicationParameters::GetPortId() const {
    return GetParamAsText(PORT_NAME, "");
}

PortTypes CCommunicationParameters::GetPortType() const {
    PortTypes type = PORT_TYPE_UNKNOWN;
    std::string typeName;
    IdentifyPortType(m_Parameters.FindValueFromName(PORT_NAME), &type, &typeName);
    return type;
}

std::string CCommunicationParameters::GetPortTypeName() const {
    PortTypes type = PORT_TYPE_UNKNOWN;
    std::string typeName;
    IdentifyPortType(m_Parameters.FindValueFromName(PORT_NAME), &type, &typeName);
    return typeName;
}
