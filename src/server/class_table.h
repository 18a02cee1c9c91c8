#pragma once

#include "frame/description.h"
#include "server/com_object.h"

#include <cstddef>
#include <span>

namespace sarvane {

// A class that the module offers. All its other names follow from `name`: the ProgIDs N.N and N.N.1, the description
// "N Class", the C++ class CN.
struct ClassEntry {
    GUID id;
    const char* name;
    const char* keyword;  // under which expressions know it
    int scriptId;         // of its registration script among the module's resources
    bool takesBars;       // offers IZelmorOp2, too
    CreateFunction create;
    const Description* about;
};

inline constexpr std::size_t ClassCount = 41;

// All classes, in the order in which they are found and registered.
std::span<const ClassEntry> ClassTable();

}  // namespace sarvane
