#pragma once

#include <string>

// A second name for a port: a symbolic link that lives from Create to Remove.
//
// Not synchronised: one thread at a time.
class CPortLink {
public:
    CPortLink() = default;
    CPortLink(const CPortLink&) = delete;
    CPortLink& operator=(const CPortLink&) = delete;
    ~CPortLink() { Remove(); }

    // Replaces only a link that leads nowhere, as a killed chip leaves one. The error text, empty
    // on success.
    std::string Create(const std::string& target, const std::string& path);

    // Removes the link, unless the name stands for something else by now.
    void Remove();

    const std::string& Path() const { return m_strPath; }  // empty before Create, kept after Remove

private:
    std::string m_strTarget;
    std::string m_strPath;
    bool m_bThere = false;
};
