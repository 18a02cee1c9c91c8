#include "explain/worked_out.h"

#include "bars/column_names.h"
#include "sarvane/values.h"

#include <algorithm>
#include <fmt/format.h>

namespace sarvane::study {
namespace {

using Kind = Expression::Kind;

constexpr std::size_t ShownTerms = 4;  // of a longer sum for people

class Writer {
public:
    Writer(const NamedValues& named, std::size_t present, bool forPeople)
        : values(named), isShort(forPeople), firstBar(present) {}

    std::string Write(const Expression& part, std::size_t bar) {
        firstBar = std::min(firstBar, bar);
        const std::string text = Bare(part, bar);
        return part.isBracketed && part.parts.size() > 0 ? "(" + text + ")" : text;
    }
    std::size_t FirstBar() const { return firstBar; }

private:
    std::string Bare(const Expression& part, std::size_t bar) {
        switch (part.kind) {
        case Kind::Number: return Number(part.number);
        case Kind::Word: return Value(part.name, bar);
        case Kind::Unary: return part.name + (part.name == "-" ? "" : " ") + Write(part.parts[0], bar);
        case Kind::Delay: {
            const auto back = static_cast<std::size_t>(part.parts[1].number);
            return back <= bar ? Write(part.parts[0], bar - back) : Number(UndefinedValue);
        }
        case Kind::Binary:
            if (part.name == "+") return Sum(part, bar);
            return Write(part.parts[0], bar) + " " + part.name + " " + Write(part.parts[1], bar);
        case Kind::Call: return Call(part, bar);
        default: return "";
        }
    }

    // Terms that are added are listed without the brackets that group them.
    void ListTerms(const Expression& part, std::vector<const Expression*>& terms) const {
        if (part.kind != Kind::Binary || part.name != "+") return terms.push_back(&part);
        ListTerms(part.parts[0], terms);
        ListTerms(part.parts[1], terms);
    }
    std::string Sum(const Expression& part, std::size_t bar) {
        std::vector<const Expression*> terms;
        ListTerms(part, terms);
        std::vector<std::string> texts;
        for (const Expression* term : terms) texts.push_back(Term(*term, bar));
        return Joined(texts);
    }

    std::string Call(const Expression& part, std::size_t bar) {
        if (part.name == "sum") {
            const auto count = std::min(static_cast<std::size_t>(part.parts[1].number), bar + 1);
            std::vector<std::string> terms;
            for (std::size_t i = bar + 1 - count; i <= bar; ++i) terms.push_back(Term(part.parts[0], i));
            return "(" + Joined(terms) + ")";
        }
        if (part.name == "fill" && part.parts.size() == 1) return Write(part.parts[0], LastBarWith(part.parts[0], bar));
        std::vector<std::string> arguments;
        for (const Expression& argument : part.parts) arguments.push_back(Write(argument, bar));
        if (isShort && arguments.size() > ShownTerms) {
            arguments.erase(arguments.begin() + 2, arguments.end() - 1);
            arguments.insert(arguments.begin() + 2, "...");
        }
        std::string text = part.name + "(";
        for (std::size_t i = 0; i < arguments.size(); ++i) text += (i > 0 ? ", " : "") + arguments[i];
        return text + ")";
    }

    // Of a sum: a comparison needs brackets.
    std::string Term(const Expression& part, std::size_t bar) {
        const bool isComparison = part.kind == Kind::Binary && part.name.find_first_of("<>=") != std::string::npos;
        return isComparison && !part.isBracketed ? "(" + Write(part, bar) + ")" : Write(part, bar);
    }

    // The last bar on which a name had a value.
    std::size_t LastBarWith(const Expression& part, std::size_t bar) const {
        const auto known = values.find(LowerCase(part.name));
        if (part.kind != Kind::Word || known == values.end()) return bar;
        std::size_t last = bar;
        while (last > 0 && IsUndefined(known->second[last])) --last;
        return last;
    }

    std::string Joined(std::vector<std::string> terms) const {
        if (isShort && terms.size() > ShownTerms) {
            terms.erase(terms.begin() + 2, terms.end() - 1);
            terms.insert(terms.begin() + 2, "...");
        }
        std::string text;
        for (const std::string& term : terms) text += (text.empty() ? "" : " + ") + term;
        return text;
    }

    std::string Value(const std::string& name, std::size_t bar) const {
        const auto known = values.find(LowerCase(name));
        return known == values.end() || bar >= known->second.size() ? name : Number(known->second[bar]);
    }
    std::string Number(double value) const {
        if (IsUndefined(value)) return "(0 / 0)";
        const std::string text = isShort ? fmt::format("{:.10g}", value) : fmt::format("{}", value);
        return text.starts_with('-') ? "(" + text + ")" : text;
    }

    const NamedValues& values;
    bool isShort;
    std::size_t firstBar;
};

}  // namespace

WorkedOut WorkOut(const Expression& expression, const NamedValues& values, std::size_t bar, bool isShort) {
    Writer writer(values, bar, isShort);
    std::string text = writer.Write(expression, bar);
    return {std::move(text), writer.FirstBar()};
}

}  // namespace sarvane::study
