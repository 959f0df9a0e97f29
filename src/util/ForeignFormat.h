#pragma once

#include <optional>
#include <string>
#include <string_view>

// What a file is when it is no input of a download as it stands.
struct CForeignFormat {
    std::string m_strWhat;
    std::string m_strWhatToDo;
};

// Looks at the start of a file, 1 KiB say, that should be a text: line ends and byte order marks
// that the readers do not take, and other programs' formats.
std::optional<CForeignFormat> FindForeignFormat(std::string_view start);
