#pragma once

// Faults are values: the library is also built for platforms without exceptions.

#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace sarvane::study {

// What is wrong with a text, and where.
struct Problem {
    std::size_t offset = 0;                 // of the faulty part, in bytes from the text's start
    std::size_t length = 0;                 // in bytes; 0 at the end of the text
    std::string message;                    // for people, without a full stop
    std::vector<std::string> nearest = {};  // known words that look like an unknown one, best first
    std::string source = {};                // name of the text, such as a file of definitions; empty for an expression
    std::string text = {};                  // all of it
    bool isOutOfMemory = false;
};

inline Problem OutOfMemory() { return {.message = "out of memory", .isOutOfMemory = true}; }

// A value, or the problem that kept it from being made.
template <class Value>
class Outcome {
public:
    Outcome(Value made) : held(std::move(made)) {}
    Outcome(Problem fault) : held(std::move(fault)) {}

    explicit operator bool() const { return held.index() == 0; }
    Value& operator*() { return *std::get_if<0>(&held); }
    const Value& operator*() const { return *std::get_if<0>(&held); }
    Value* operator->() { return std::get_if<0>(&held); }
    const Value* operator->() const { return std::get_if<0>(&held); }
    // Only where there is no value.
    const Problem& Fault() const { return *std::get_if<1>(&held); }

private:
    std::variant<Value, Problem> held;
};

}  // namespace sarvane::study
