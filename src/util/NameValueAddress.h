#pragma once

#include <string>
#include <utility>

// A labelled value and the chip address it belongs to. Copyable.
class CNameValueAddress {
public:
    CNameValueAddress(std::string name, std::string value, unsigned int address)
        : m_strName(std::move(name)), m_strValue(std::move(value)), m_nAddress(address) {}

    const std::string& GetName() const { return m_strName; }
    const std::string& GetValue() const { return m_strValue; }
    unsigned int GetAddress() const { return m_nAddress; }

private:
    std::string m_strName;
    std::string m_strValue;
    unsigned int m_nAddress;
};
