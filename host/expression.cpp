#include "expression.h"

#include "failure.h"

#include <charconv>

namespace sarvane::study {
namespace {

// What is read recursively stays far from the end of the stack.
constexpr int DeepestNesting = 200;
constexpr std::size_t LongestText = 4096;

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

    // Operands of one rule with signs between them, from left to right. Longer signs come first in `signs`.
    Expression ParseSigns(Rule operand, std::initializer_list<std::string_view> signs) {
        Expression left = (this->*operand)();
        for (;;) {
            const std::string_view sign = TakeOneOf(signs);
            if (sign.empty()) return left;
            Expression both = Make(Expression::Kind::Binary, left.begin, std::string(sign));
            both.parts.push_back(std::move(left));
            both.parts.push_back((this->*operand)());
            both.end = at;
            left = std::move(both);
        }
    }

    Expression ParseComparison() { return ParseSigns(&Parser::ParseSum, {"<=", ">=", "<>", "<", ">", "="}); }
    Expression ParseSum() { return ParseSigns(&Parser::ParseProduct, {"+", "-"}); }
    Expression ParseProduct() { return ParseSigns(&Parser::ParseFactor, {"*", "/"}); }

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
        Expression difference = Make(Expression::Kind::Binary, begin, "-");
        difference.parts = {Make(Expression::Kind::Number, begin, ""), std::move(operand)};
        difference.end = at;
        return difference;
    }

    // A primary with ".output" behind it.
    Expression ParseSelection() {
        Expression selected = ParsePrimary();
        while (Take(".")) {
            Expression output = Make(Expression::Kind::Output, selected.begin, TakeWord("the name of an output"));
            output.parts.push_back(std::move(selected));
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
            word.parts = ParseArguments();
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

    bool Take(std::string_view sign) { return !TakeOneOf({sign}).empty(); }
    std::string_view TakeOneOf(std::initializer_list<std::string_view> signs) {
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
