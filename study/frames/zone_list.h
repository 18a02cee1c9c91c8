#pragma once

#include <cstddef>

namespace sarvane::study {

struct ListedZone {
    const char* name;  // in lower case
    std::size_t place;
    std::size_t size;
};

// The zones of the IANA database, in the order of their names, and their compiled files behind each other. It is built
// into the library, so that a zone means the same on every computer.
struct ZoneList {
    const ListedZone* zones;
    std::size_t count;
    const unsigned char* bytes;
};

extern const ZoneList AllZones;

}  // namespace sarvane::study
