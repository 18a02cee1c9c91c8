#include "expression.h"

#include "failure.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace sarvane::study {
namespace {

// Recursion stays far from the end of the stack: of this parser, and of what walks through the parts.
constexpr int DeepestNesting = 200;
constexpr int LongestChain = 500;
constexpr std::size_t LongestText = 4096;

using Signs = std::span<const std::string_view>;  // longer ones first
constexpr std::string_view Comparisons[] = {"<=", ">=", "<>", "<", ">", "="};
constexpr std::string_view SumSigns[] = {"+", "-"};
constexpr std::string_view ProductSigns[] = {"*", "/"};

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool StartsWord(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

class Parser {
public:
    explicit Parser(std::string_view expression) : text(expression) {}

    Expression ParseAll() {
        Expression whole = ParseComparison();
        if (SkipSpace() < text.size()) FailHere("expected an operation or the end");
        return whole;
    }

private:
    using Rule = Expression (Parser::*)();

    // Operands of one rule with signs between them, from left to right.
    Expression ParseSigns(Rule operand, Signs signs) {
        Expression left = (this->*operand)();
        for (;;) {
            const std::string_view sign = TakeOneOf(signs);
            if (sign.empty()) return left;
            left = Pair(std::move(left), sign, (this->*operand)());
        }
    }

    Expression Pair(Expression left, std::string_view sign, Expression right) const {
        Expression both = Make(Expression::Kind::Binary, left.begin, std::string(sign));
        Adopt(both, std::move(left));
        Adopt(both, std::move(right));
        both.end = at;
        return both;
    }

    Expression ParseComparison() {
        Expression left = ParseSum();
        const std::string_view sign = TakeOneOf(Comparisons);
        if (sign.empty()) return left;
        Expression whole = Pair(std::move(left), sign, ParseSum());
        const std::size_t next = SkipSpace();
        if (!TakeOneOf(Comparisons).empty())
            FailAt(text, next, "comparisons are not chained; put one of them in brackets");
        return whole;
    }
    Expression ParseSum() { return ParseSigns(&Parser::ParseProduct, SumSigns); }
    Expression ParseProduct() { return ParseSigns(&Parser::ParseFactor, ProductSigns); }

    Expression ParseFactor() {
        const std::size_t begin = SkipSpace();
        if (++nesting > DeepestNesting) FailHere("nested too deeply");
        Expression factor = Take("-") ? ParseNegative(begin) : ParseSelection();
        --nesting;
        return factor;
    }

    // A minus belongs to a number, or takes the factor from 0.
    Expression ParseNegative(std::size_t begin) {
        Expression operand = ParseFactor();
        if (operand.kind == Expression::Kind::Number) {
            operand.number = -operand.number;
            operand.begin = begin;
            return operand;
        }
        return Pair(Make(Expression::Kind::Number, begin, ""), "-", std::move(operand));
    }

    // A primary with ".output" behind it.
    Expression ParseSelection() {
        Expression selected = ParsePrimary();
        while (Take(".")) {
            Expression output = Make(Expression::Kind::Output, selected.begin, TakeWord("the name of an output"));
            Adopt(output, std::move(selected));
            output.end = at;
            selected = std::move(output);
        }
        return selected;
    }

    Expression ParsePrimary() {
        const std::size_t begin = SkipSpace();
        if (at == text.size()) FailHere("expected a value");
        const char c = text[at];
        if (IsDigit(c) || (c == '.' && at + 1 < text.size() && IsDigit(text[at + 1]))) return ParseNumber();
        if (Take("(")) {
            Expression inner = ParseComparison();
            if (!Take(")")) FailHere("expected ')'");
            inner.begin = begin;
            inner.end = at;
            return inner;
        }
        const bool quoted = c == '"' || c == '\'';
        Expression word = Make(Expression::Kind::Word, begin, TakeWord("a value"));
        word.end = at;
        if (!quoted && Take("(")) {
            word.kind = Expression::Kind::Call;
            for (Expression& argument : ParseArguments()) Adopt(word, std::move(argument));
            word.end = at;
        }
        return word;
    }

    Expression ParseNumber() {
        Expression number = Make(Expression::Kind::Number, at, "");
        const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), number.number);
        if (error != std::errc()) FailHere("a number that no double holds");
        at = static_cast<std::size_t>(end - text.data());
        if (at < text.size() && StartsWord(text[at])) FailHere("expected an operation behind the number");
        number.end = at;
        return number;
    }

    // What stands between the brackets of a call. No argument at all is an empty list.
    std::vector<Expression> ParseArguments() {
        std::vector<Expression> arguments;
        if (Take(")")) return arguments;
        for (;;) {
            const std::size_t begin = SkipSpace();
            const bool left = at < text.size() && (text[at] == ',' || text[at] == ')');
            arguments.push_back(left ? Make(Expression::Kind::Empty, begin, "") : ParseComparison());
            if (Take(")")) return arguments;
            if (!Take(",")) FailHere("expected ',' or ')'");
        }
    }

    std::string TakeWord(std::string_view expected) {
        SkipSpace();
        const std::size_t begin = at;
        if (at < text.size() && (text[at] == '"' || text[at] == '\'')) {
            const std::size_t close = text.find(text[at], at + 1);
            if (close == std::string_view::npos) FailHere("a quote that is not closed");
            at = close + 1;
            return std::string(text.substr(begin + 1, close - begin - 1));
        }
        if (at == text.size() || !StartsWord(text[at])) FailHere(fmt::format("expected {}", expected));
        while (at < text.size() && (StartsWord(text[at]) || IsDigit(text[at]))) ++at;
        return std::string(text.substr(begin, at - begin));
    }

    std::size_t SkipSpace() {
        while (at < text.size() && IsSpace(text[at])) ++at;
        return at;
    }

    bool Take(std::string_view sign) { return !TakeOneOf({&sign, 1}).empty(); }
    std::string_view TakeOneOf(Signs signs) {
        const std::size_t before = at;
        SkipSpace();
        for (const std::string_view sign : signs) {
            if (text.substr(at).starts_with(sign)) {
                at += sign.size();
                return sign;
            }
        }
        at = before;
        return {};
    }

    Expression Make(Expression::Kind kind, std::size_t begin, std::string name) const {
        Expression made;
        made.kind = kind;
        made.begin = begin;
        made.end = at;
        made.name = std::move(name);
        return made;
    }

    void Adopt(Expression& whole, Expression part) const {
        whole.depth = std::max(whole.depth, part.depth + 1);
        if (whole.depth > LongestChain) FailHere("too long, or nested too deeply");
        whole.parts.push_back(std::move(part));
    }

    [[noreturn]] void FailHere(std::string_view message) const { FailAt(text, at, message); }

    std::string_view text;
    std::size_t at = 0;
    int nesting = 0;
};

}  // namespace

Expression ParseExpression(std::string_view text) {
    if (text.size() > LongestText) Fail("an expression of more than {} characters", LongestText);
    return Parser(text).ParseAll();
}

void FailAt(std::string_view expression, std::size_t place, std::string_view message) {
    Fail("{}, column {}: {}", Quoted(expression), place + 1, message);
}

}  // namespace sarvane::study
