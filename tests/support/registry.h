#pragma once

#include <string>

namespace sarvane::test {

// A registry for what one test registers.
class TestRegistry {
public:
    TestRegistry();
    ~TestRegistry();
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    // A value below the root of class registrations, the default one without a name; "none" if it is not there.
    std::string Value(const std::string& key, const std::string& name = "") const;
    // The names of the keys directly below a key, each with ";" behind it.
    std::string Subkeys(const std::string& key) const;
};

}  // namespace sarvane::test
