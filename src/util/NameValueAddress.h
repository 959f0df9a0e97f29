#pragma once

#include <string>

// A labelled value and the chip address it belongs to.
struct CNameValueAddress {
    std::string m_strName;
    std::string m_strValue;
    unsigned int m_nAddress = 0;
};
