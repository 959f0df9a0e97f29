#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

// A directory of its own for one test, gone with it.
class CTempDir {
public:
    CTempDir() {
        std::string pattern = ::testing::TempDir() + "hciload-XXXXXX";
        m_strPath = ::mkdtemp(pattern.data()) == nullptr ? "" : pattern;
        EXPECT_FALSE(m_strPath.empty());
    }
    ~CTempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_strPath, ignored);
    }
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

    const std::string& Path() const { return m_strPath; }
    std::string PathOf(const std::string& name) const { return m_strPath + "/" + name; }

    // Returns the file's path.
    std::string Write(const std::string& name, std::string_view content) const {
        std::ofstream(PathOf(name), std::ios::binary) << content;
        return PathOf(name);
    }

    std::string Read(const std::string& name) const {
        std::ifstream file(PathOf(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string m_strPath;
};
