#include "language/parser.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <span>
#include <tuple>
#include <utility>

namespace sarvane::study {
namespace {

using Kind = Expression::Kind;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool StartsWord(char c) {
    return (Lower(c) >= 'a' && Lower(c) <= 'z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool ContinuesWord(char c) { return StartsWord(c) || IsDigit(c); }

constexpr std::string_view Comparisons[] = {"<=", ">=", "<>", "!=", "==", "<", ">", "="};

// Reads from left to right. The first fault stays: from then on every rule ends at once, with what it has.
class Parser {
public:
    explicit Parser(std::string_view whole) : text(whole) {}

    Outcome<Script> ParseAll() {
        Script script;
        script.text = text;
        if (text.size() > LongestText) return Problem{0, text.size(), "this text is longer than a megabyte"};
        SkipSeparators();
        while (!HasFailed() && at < text.size()) {
            script.statements.push_back(ParseStatement());
            if (!HasFailed() && !SkipSeparators() && at < text.size())
                FailBehindWord("expected an operation or the end");
        }
        if (HasFailed()) return fault;
        return script;
    }

    Outcome<Expression> ParseOne(Span place) {
        text = text.substr(0, place.end);
        at = place.begin;
        Expression expression = ParseExpression();
        SkipGaps();
        if (!HasFailed() && at < text.size()) FailBehindWord("expected an operation or the end");
        if (HasFailed()) return fault;
        return expression;
    }

private:
    // ---- Statements

    Statement ParseStatement() {
        Statement statement;
        statement.comment = std::move(comment);
        comment.clear();
        const std::size_t begin = at;
        if (!ParseHead(statement)) {
            statement.name.clear();
            at = last = begin;
        }
        if (!statement.name.empty() && Take("{")) {
            ParseOutputs(statement);
        } else {
            statement.body = ParseExpression();
        }
        statement.span = {begin, last};
        return statement;
    }

    // `name =` or `name(parameters) =`. False, and nothing reported, if the statement starts in another way.
    bool ParseHead(Statement& statement) {
        if (at == text.size() || !StartsWord(text[at])) return false;
        std::tie(statement.name, statement.nameSpan) = TakeWord();
        if (IsReserved(statement.name)) return false;
        SkipBlanks();
        if (at < text.size() && text[at] == '(') {
            // Only the sign behind the brackets tells a definition from a call.
            const std::size_t close = ClosingBracket(at);
            if (close == text.size() || !IsDefinitionSign(close + 1)) return false;
            statement.isFunction = true;
            Take("(");
            ParseParameters(statement);
        }
        if (HasFailed()) return true;
        if (!IsDefinitionSign(at)) return false;
        return Take("=");
    }

    // "=" that is not the start of "==".
    bool IsDefinitionSign(std::size_t from) const {
        while (from < text.size() && IsBlank(text[from])) ++from;
        return text.substr(from, 1) == "=" && text.substr(from, 2) != "==";
    }

    // The place of the bracket that closes the one at `open`; the text's end if there is none.
    std::size_t ClosingBracket(std::size_t open) const {
        int depth = 0;
        for (std::size_t i = open; i < text.size(); ++i) {
            if (text[i] == '(') ++depth;
            if (text[i] == ')' && --depth == 0) return i;
            if (text[i] == '"' || text[i] == '\'') {
                i = text.find(text[i], i + 1);
                if (i == std::string_view::npos) return text.size();
            }
        }
        return text.size();
    }

    void ParseParameters(Statement& statement) {
        ++brackets;
        if (!Take(")")) {
            do {
                FormalParameter parameter;
                std::tie(parameter.name, parameter.span) = TakeName("the name of a parameter");
                if (Take("=")) parameter.standard = ParseExpression();
                statement.parameters.push_back(std::move(parameter));
            } while (!HasFailed() && Take(","));
            Expect(")");
        }
        --brackets;
    }

    void ParseOutputs(Statement& statement) {
        const int outside = std::exchange(brackets, 0);
        SkipSeparators();
        while (!HasFailed() && !Take("}")) {
            Statement output;
            output.comment = std::exchange(comment, {});
            const std::size_t begin = at;
            std::tie(output.name, output.nameSpan) = TakeName("the name of an output, or '}'");
            Expect("=");
            output.body = ParseExpression();
            output.span = {begin, last};
            statement.outputs.push_back(std::move(output));
            if (!HasFailed() && !SkipSeparators() && text.substr(at, 1) != "}") FailHere("expected ';' or '}'");
        }
        brackets = outside;
    }

    // ---- Expressions

    Expression ParseExpression() { return ParseSigns(&Parser::ParseConjunction, {"or"}); }
    Expression ParseConjunction() { return ParseSigns(&Parser::ParseNegation, {"and"}); }

    Expression ParseNegation() {
        SkipGaps();
        const std::size_t begin = at;
        if (TakeSign({"not"}).empty()) return ParseComparison();
        return MakeUnary("not", begin, Nested(&Parser::ParseNegation));
    }

    Expression ParseComparison() {
        Expression left = ParseSum();
        if (HasFailed()) return left;
        const Span place = NextSign();
        const std::string_view sign = TakeSign(Comparisons);
        if (sign.empty()) return left;
        Expression comparison = MakeBinary(std::move(left), sign, place, ParseSum());
        if (HasFailed()) return comparison;
        const Span again = NextSign();
        if (!TakeSign(Comparisons).empty()) {
            Fail(again, "a comparison is not compared again: write `a > b and b > c`");
        }
        return comparison;
    }

    Expression ParseSum() { return ParseSigns(&Parser::ParseProduct, {"+", "-"}); }
    Expression ParseProduct() { return ParseSigns(&Parser::ParseFactor, {"*", "/"}); }

    using Rule = Expression (Parser::*)();

    // Operands of one rule with signs between them, from left to right.
    Expression ParseSigns(Rule operand, std::initializer_list<std::string_view> signs) {
        Expression left = (this->*operand)();
        while (!HasFailed()) {
            const Span place = NextSign();
            const std::string_view sign = TakeSign(signs);
            if (sign.empty()) break;
            left = MakeBinary(std::move(left), sign, place, (this->*operand)());
        }
        return left;
    }

    Expression ParseFactor() {
        SkipGaps();
        const std::size_t begin = at;
        if (!Take("-")) return ParsePostfix();
        Expression operand = Nested(&Parser::ParseFactor);
        if (operand.kind != Kind::Number || operand.isBracketed) return MakeUnary("-", begin, std::move(operand));
        operand.number = -operand.number;
        operand.span.begin = begin;
        return operand;
    }

    // A primary with ".output" and "[bars]" behind it.
    Expression ParsePostfix() {
        Expression value = ParsePrimary();
        while (!HasFailed()) {
            const std::size_t sign = at;
            if (Take(".")) {
                Expression output = Make(Kind::Output, value.span.begin);
                std::tie(output.name, output.nameSpan) = TakeName("the name of an output");
                value = Around(std::move(output), std::move(value));
            } else if (Take("[")) {
                Expression delay = Make(Kind::Delay, value.span.begin);
                delay.nameSpan = {sign, at};
                Expression bars = Bracketed(']');
                value = Around(std::move(delay), std::move(value), std::move(bars));
            } else {
                break;
            }
        }
        return value;
    }

    Expression ParsePrimary() {
        SkipGaps();
        const std::size_t begin = at;
        if (at == text.size()) return FailHere("expected a value");
        const char c = text[at];
        if (IsDigit(c) || (c == '.' && at + 1 < text.size() && IsDigit(text[at + 1]))) return ParseNumber();
        if (Take("(")) {
            Expression inner = Bracketed(')');
            inner.span = {begin, last};
            inner.isBracketed = true;
            return inner;
        }
        Expression word = Make(Kind::Word, begin);
        word.isQuoted = c == '"' || c == '\'';
        std::tie(word.name, word.nameSpan) = word.isQuoted ? TakeQuoted() : TakeName("a value");
        if (!HasFailed() && !word.isQuoted && Take("(")) {
            word.kind = Kind::Call;
            ParseArguments(word);
        }
        word.span.end = last;
        return word;
    }

    Expression ParseNumber() {
        Expression number = Make(Kind::Number, at);
        const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), number.number);
        const auto length = static_cast<std::size_t>(end - text.data()) - at;
        if (error != std::errc()) return Fail({at, at + length}, "a number that no double holds");
        at += length;
        number.span.end = last = at;
        if (at < text.size() && ContinuesWord(text[at])) return FailHere("expected an operation behind the number");
        return number;
    }

    // A number with a unit, such as 1W, as a text.
    Expression ParseFrame() {
        Expression frame = Make(Kind::Word, at);
        while (at < text.size() && (ContinuesWord(text[at]) || text[at] == '.')) ++at;
        frame.span.end = frame.nameSpan.end = last = at;
        frame.name = text.substr(frame.span.begin, at - frame.span.begin);
        frame.isQuoted = true;
        return frame;
    }

    // What stands between the brackets of a call. No argument at all is an empty list.
    void ParseArguments(Expression& call) {
        ++brackets;
        if (!Take(")")) {
            do {
                SkipGaps();
                const bool isLeftOut = at < text.size() && (text[at] == ',' || text[at] == ')');
                const bool isFrame =
                    call.parts.empty() && EqualIgnoringCase(call.name, "at") && at < text.size() && IsDigit(text[at]);
                call.parts.push_back(isLeftOut ? Make(Kind::Empty, at)
                                     : isFrame ? ParseFrame()
                                               : Nested(&Parser::ParseExpression));
            } while (!HasFailed() && Take(","));
            Expect(")");
        }
        --brackets;
        for (const Expression& part : call.parts) Raise(call, part);
    }

    // An expression up to a closing bracket. The opening one has been taken.
    Expression Bracketed(char close) {
        ++brackets;
        Expression inner = Nested(&Parser::ParseExpression);
        Expect(std::string_view(&close, 1));
        --brackets;
        return inner;
    }

    // Another rule, one level further in.
    Expression Nested(Rule rule) {
        if (++nesting > GreatestHeight / 2) return FailHere("nested too deeply");
        Expression inner = (this->*rule)();
        --nesting;
        return inner;
    }

    // ---- Trees

    Expression Make(Kind kind, std::size_t begin) const {
        Expression made;
        made.kind = kind;
        made.span = made.nameSpan = {begin, begin};
        return made;
    }

    Expression MakeUnary(std::string_view sign, std::size_t begin, Expression operand) {
        Expression unary = Make(Kind::Unary, begin);
        unary.name = sign;
        unary.nameSpan.end = begin + sign.size();
        return Around(std::move(unary), std::move(operand));
    }

    Expression MakeBinary(Expression left, std::string_view sign, Span place, Expression right) {
        Expression binary = Make(Kind::Binary, left.span.begin);
        binary.name = sign;
        binary.nameSpan = place;
        return Around(std::move(binary), std::move(left), std::move(right));
    }

    template <class... Parts>
    Expression Around(Expression outer, Parts... parts) {
        (outer.parts.push_back(std::move(parts)), ...);
        outer.span.end = last;
        for (const Expression& part : outer.parts) Raise(outer, part);
        return outer;
    }

    void Raise(Expression& outer, const Expression& part) {
        outer.height = std::max(outer.height, part.height + 1);
        if (outer.height > GreatestHeight) Fail(outer.span, "nested too deeply, or too many operations in a row");
    }

    // ---- Signs and words

    std::pair<std::string, Span> TakeWord() {
        const std::size_t begin = at;
        while (at < text.size() && ContinuesWord(text[at])) ++at;
        last = at;
        return {std::string(text.substr(begin, at - begin)), {begin, at}};
    }

    // A word that is no sign of the language.
    std::pair<std::string, Span> TakeName(std::string_view expected) {
        SkipGaps();
        if (at == text.size() || !StartsWord(text[at])) {
            FailHere("expected " + std::string(expected));
            return {};
        }
        auto word = TakeWord();
        if (IsReserved(word.first)) Fail(word.second, "expected " + std::string(expected) + " ahead of this");
        return word;
    }

    std::pair<std::string, Span> TakeQuoted() {
        const std::size_t begin = at, close = text.find(text[at], at + 1);
        if (close == std::string_view::npos) {
            Fail({begin, text.size()}, "a quote that is not closed");
            return {};
        }
        at = last = close + 1;
        return {std::string(text.substr(begin + 1, close - begin - 1)), {begin, at}};
    }

    static bool IsReserved(std::string_view word) {
        return std::ranges::any_of(std::initializer_list<std::string_view>{"and", "or", "not"},
                                   [&](std::string_view sign) { return EqualIgnoringCase(word, sign); });
    }

    bool Take(std::string_view sign) { return !TakeSign({sign}).empty(); }

    // The first of the signs that comes next; empty if none does. A sign of letters is a whole word.
    std::string_view TakeSign(std::initializer_list<std::string_view> signs) {
        return TakeSign(std::span(signs.begin(), signs.size()));
    }
    std::string_view TakeSign(std::span<const std::string_view> signs) {
        const std::size_t before = at;
        SkipBlanks();
        for (const std::string_view sign : signs) {
            if (!EqualIgnoringCase(text.substr(at, sign.size()), sign)) continue;
            const std::size_t end = at + sign.size();
            if (StartsWord(sign.front()) && end < text.size() && ContinuesWord(text[end])) continue;
            at = last = end;
            return sign;
        }
        at = before;
        return {};
    }

    // Where the next sign stands.
    Span NextSign() const {
        std::size_t begin = at;
        while (begin < text.size() && IsBlank(text[begin])) ++begin;
        std::size_t end = begin;
        while (end < text.size() && end < begin + 2 &&
               std::string_view("<>!=").find(text[end]) != std::string_view::npos) {
            ++end;
        }
        return {begin, std::max(end, std::min(begin + 1, text.size()))};
    }

    void Expect(std::string_view sign) {
        if (!HasFailed() && !Take(sign)) FailBehindWord("expected '" + std::string(sign) + "'");
    }

    // ---- Blanks, line ends and comments

    bool IsBlank(char c) const { return c == ' ' || c == '\t' || c == '\r' || (brackets > 0 && c == '\n'); }

    void SkipBlanks() {
        while (at < text.size() && (IsBlank(text[at]) || (brackets > 0 && text[at] == '#'))) SkipOne();
    }
    // Where an operand is still to come a line's end separates nothing.
    void SkipGaps() {
        while (at < text.size() && (IsBlank(text[at]) || text[at] == '\n' || text[at] == '#')) SkipOne();
    }
    void SkipOne() { at = text[at] == '#' ? std::min(text.find('\n', at), text.size()) : at + 1; }

    // Between two statements. A comment that stands right above a statement belongs to it. False if nothing separates.
    bool SkipSeparators() {
        const std::size_t before = at;
        bool separated = at == 0;
        std::size_t lineEnds = 0;  // since the last comment
        for (; at < text.size(); ++at) {
            const char c = text[at];
            if (c == '#') {
                if (lineEnds > 1) comment.clear();
                const std::size_t end = std::min(text.find('\n', at), text.size());
                std::string_view line = text.substr(at + 1, end - at - 1);
                if (line.starts_with(' ')) line.remove_prefix(1);
                if (line.ends_with('\r')) line.remove_suffix(1);
                if (before == 0 || separated) comment.append(comment.empty() ? "" : "\n").append(line);
                at = end - 1;
                lineEnds = 0;
            } else if (c == '\n' || c == ';') {
                separated = true;
                lineEnds += c == '\n';
            } else if (c != ' ' && c != '\t' && c != '\r') {
                break;
            }
        }
        if (lineEnds > 1) comment.clear();
        return separated || at == text.size();
    }

    // ---- Faults

    bool HasFailed() const { return hasFailed; }
    Expression Fail(Span place, std::string message) {
        if (!hasFailed) fault = {place.begin, place.end - place.begin, std::move(message)};
        hasFailed = true;
        at = text.size();
        return {};
    }
    Expression FailHere(std::string message) {
        SkipBlanks();
        return Fail({at, std::min(at + 1, text.size())}, std::move(message));
    }
    // Where a word follows a word, both may be the name of a column.
    Expression FailBehindWord(std::string message) {
        SkipBlanks();
        std::size_t begin = last, end = at;
        while (begin > 0 && ContinuesWord(text[begin - 1])) --begin;
        while (end < text.size() && (ContinuesWord(text[end]) || text[end] == ' ')) ++end;
        while (end > at && text[end - 1] == ' ') --end;
        const bool isName = begin < last && StartsWord(text[begin]) && at > last && end > at &&
                            text.substr(last, at - last).find_first_not_of(' ') == text.npos;
        if (isName) {
            message.append("; a column whose name has a blank stands in quotes: '")
                .append(text.substr(begin, end - begin))
                .append("'");
        }
        return FailHere(std::move(message));
    }

    std::string_view text;
    std::size_t at = 0;
    std::size_t last = 0;  // end of what was taken last
    int nesting = 0;
    int brackets = 0;  // open at present
    std::string comment;
    bool hasFailed = false;
    Problem fault;
};

}  // namespace

Outcome<Script> ParseScript(std::string_view text) { return Parser(text).ParseAll(); }
Outcome<Expression> ParseExpression(std::string_view text, Span place) { return Parser(text).ParseOne(place); }

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return Lower(x) == Lower(y); });
}

}  // namespace sarvane::study
