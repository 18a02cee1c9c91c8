#pragma once

#include "frame/description.h"
#include "server/com_object.h"

#include <cstddef>
#include <span>

namespace sarvane {

// A class that the module offers. With N for `name`, its ProgIDs are N.N and N.N.1, its text in the registry
// is "N Class", and its C++ class is CN.
struct ClassEntry {
    GUID id;
    const char* name;
    const char* keyword;  // calls the operator in an expression
    int scriptId;         // number of its registration script among the resources of the Windows module
    bool takesBars;       // has IZelmorOp2, too
    CreateFunction create;
    const Description* about;
};

inline constexpr std::size_t ClassCount = 41;

// All classes, in the order in which they are found and registered.
std::span<const ClassEntry> ClassTable();

}  // namespace sarvane
