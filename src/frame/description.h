#pragma once

// What a class of operators says of itself, as data. Each operator has one constant of this type beside it, and everybody
// who has to know reads it: the describing methods of the interfaces, hosts, tests and the reference.

#include "sarvane/class_info.h"

#include <initializer_list>
#include <limits>
#include <span>
#include <string_view>

namespace sarvane {

// What an output is measured in.
enum class UnitKind : ushort {
    Curve = 1,      // the units of the input curve
    Deviation = 2,  // a distance in the units of the input curve
    Number = 3,     // a number of its own
    Product = 8,    // the units of both inputs multiplied
    Quotient = 9,   // the units of both inputs divided
};

// The fields of a bar that an operator reads, in the order of its inputs. An empty name is a plain value.
using BarFields = std::span<const std::u16string_view>;
inline constexpr std::u16string_view OpenField = u"BAR_TYPE_OPEN";
inline constexpr std::u16string_view HighField = u"BAR_TYPE_HIGH";
inline constexpr std::u16string_view LowField = u"BAR_TYPE_LOW";
inline constexpr std::u16string_view CloseField = u"BAR_TYPE_CLOSE";
inline constexpr std::u16string_view OhlcFields[] = {OpenField, HighField, LowField, CloseField};
inline constexpr std::u16string_view HlcFields[] = {HighField, LowField, CloseField};
inline constexpr std::u16string_view HlFields[] = {HighField, LowField};

// A text that an argument may be, and what it stands for.
struct WordDescription {
    const char* text;
    const char* meaning;
};

// An argument of an operator's expression. Arguments are numbered by their place in the description.
struct ArgumentDescription {
    ArgumentKind kind;
    const char* name;
    const char* meaning;
    BarFields fields = {};  // of a bar
    std::span<const WordDescription> words = {};
    double least = -std::numeric_limits<double>::infinity();
    double greatest = std::numeric_limits<double>::infinity();
    const char* standard = "";  // the text that stands for an argument that is left out; empty: there is none
    bool isOptional = false;    // there are results without it
    bool canBeBound = false;    // a curve may stand in its place

    // Each gives the argument with one more thing said of it.
    constexpr ArgumentDescription From(double number) const {
        ArgumentDescription changed = *this;
        changed.least = number;
        return changed;
    }
    constexpr ArgumentDescription To(double number) const {
        ArgumentDescription changed = *this;
        changed.greatest = number;
        return changed;
    }
    constexpr ArgumentDescription Default(const char* text) const {
        ArgumentDescription changed = Optional();
        changed.standard = text;
        return changed;
    }
    constexpr ArgumentDescription Optional() const {
        ArgumentDescription changed = *this;
        changed.isOptional = true;
        return changed;
    }
    constexpr ArgumentDescription CanBeBound() const {
        ArgumentDescription changed = *this;
        changed.canBeBound = true;
        return changed;
    }

    constexpr bool IsInput() const { return kind == ArgumentKind::Curve || kind == ArgumentKind::Bar; }
    // How many inputs of an operator an input argument feeds.
    constexpr int InputCount() const {
        return kind == ArgumentKind::Curve ? 1 : kind == ArgumentKind::Bar ? static_cast<int>(fields.size()) : 0;
    }
};

// The kinds of arguments, as a description lists them: `Takes::Count("period", "values in the window").From(1)`.
namespace Takes {

constexpr ArgumentDescription Curve(const char* name, const char* meaning) {
    return {ArgumentKind::Curve, name, meaning};
}
constexpr ArgumentDescription Bar(const char* name, const char* meaning, BarFields fields) {
    return {ArgumentKind::Bar, name, meaning, fields};
}
constexpr ArgumentDescription Count(const char* name, const char* meaning) {
    return {ArgumentKind::Count, name, meaning};
}
constexpr ArgumentDescription Number(const char* name, const char* meaning) {
    return {ArgumentKind::Number, name, meaning};
}
constexpr ArgumentDescription Switch(const char* name, const char* meaning) {
    return {ArgumentKind::Switch, name, meaning};
}
constexpr ArgumentDescription Word(const char* name, const char* meaning, std::span<const WordDescription> words) {
    return {ArgumentKind::Word, name, meaning, {}, words};
}

}  // namespace Takes

struct OutputDescription {
    std::u16string_view name;  // "curve1" and the like
    UnitKind units;
    const char* meaning;
    DrawnAs drawing;
};

struct Description {
    const char* sentence;  // what the operator computes, without a full stop
    std::initializer_list<ArgumentDescription> arguments;
    std::initializer_list<OutputDescription> outputs;

    constexpr const ArgumentDescription& Argument(std::size_t n) const { return arguments.begin()[n]; }
    constexpr const OutputDescription& Output(std::size_t n) const { return outputs.begin()[n]; }

    // Inputs that do not depend on what is bound.
    constexpr int InputCount() const {
        int count = 0;
        for (const ArgumentDescription& argument : arguments) count += argument.InputCount();
        return count;
    }
    // Arguments that are not inputs.
    constexpr int ParameterCount() const {
        int count = 0;
        for (const ArgumentDescription& argument : arguments) count += !argument.IsInput();
        return count;
    }
};

}  // namespace sarvane
