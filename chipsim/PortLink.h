#pragma once

#include <string>

// A second name for a port: a symbolic link that is there as long as this object wants it.
//
// Create and Remove are not synchronised with each other.
class CPortLink {
public:
    CPortLink() = default;
    CPortLink(const CPortLink&) = delete;
    CPortLink& operator=(const CPortLink&) = delete;
    ~CPortLink() { Remove(); }

    // Replaces a link that leads nowhere, left behind by a chip that was killed, and nothing else.
    // The error text, empty on success.
    std::string Create(const std::string& target, const std::string& path);

    // Removes the link, unless the name has come to stand for something else meanwhile.
    void Remove();

    const std::string& Path() const { return m_strPath; }  // empty while there was none; stays

private:
    std::string m_strTarget;
    std::string m_strPath;
    bool m_bThere = false;
};
