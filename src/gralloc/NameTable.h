// Names of enumeration values, for log lines.
#pragma once

#include <cstddef>

namespace lx2 {

template <typename Enum>
struct NameRow {
    Enum value;
    const char* name;
};

// The enumerator's own name is the text.
#define LX2_NAME_ROW(scope, enumerator) \
    { scope::enumerator, #enumerator }

template <typename Enum, size_t N>
const char* NameOf(const NameRow<Enum> (&rows)[N], Enum value) {
    for (const auto& row : rows) {
        if (row.value == value)
            return row.name;
    }
    return "?";
}

}  // namespace lx2
