#pragma once

#include <map>
#include <string>
#include <vector>

// A case-insensitive table of name and value texts, read from lines or from a single line of pairs.
// Names are stored trimmed and upper-cased and ordered by their bytes. Operations that can fail
// return an error text, empty on success. One thread at a time.
class CNameValueTable {
public:
    unsigned int Count() const { return static_cast<unsigned int>(m_Values.size()); }
    void Clear() { m_Values.clear(); }

    // The first definition of a name wins, a second one is an error. The value is kept as passed.
    std::string AddValue(const char* name, const char* value);
    std::string AddValue(const std::string& name, const std::string& value) {
        return AddValue(name.c_str(), value.c_str());
    }
    std::string RemoveValue(const char* name);

    // The stored text, owned by the table and valid until the entry is removed; null if there is
    // none.
    const char* FindValueFromName(const char* name) const;

    // Fills two parallel lists in table order and returns the count.
    unsigned int GetAllNamesAndValues(std::vector<std::string>& names,
                                      std::vector<std::string>& values) const;

    // NAME=value lines in table order, each ended by a line feed.
    std::string StoreTableToString() const;

    // These replace the contents; a load that fails keeps what it has read so far. A null or empty
    // text and a file that does not open leave the table unchanged.
    std::string LoadFromString(const char* text);
    std::string ParseValuesFromSingleLine(const char* line);
    std::string LoadFromFile(const char* path);

    // Trimmed and upper-cased; empty for null.
    static std::string MakeNormalizedName(const char* name);

private:
    std::map<std::string, std::string> m_Values;
};
