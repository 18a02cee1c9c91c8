#include "language/parser.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

// An expression with all its brackets.
std::string Shown(const Expression& part) {
    using Kind = Expression::Kind;
    const auto inner = [&](std::size_t n) { return Shown(part.parts[n]); };
    switch (part.kind) {
    case Kind::Empty: return "_";
    case Kind::Number: return fmt::format("{}", part.number);
    case Kind::Word: return part.isQuoted ? fmt::format("'{}'", part.name) : part.name;
    case Kind::Unary: return fmt::format("({} {})", part.name, inner(0));
    case Kind::Binary: return fmt::format("({}{}{})", inner(0), part.name, inner(1));
    case Kind::Output: return fmt::format("{}.{}", inner(0), part.name);
    case Kind::Delay: return fmt::format("{}[{}]", inner(0), inner(1));
    case Kind::Call: break;
    }
    std::string list = part.name + "<";
    for (const Expression& argument : part.parts) list += Shown(argument) + ";";
    return list + ">";
}

// A statement with its name, its parameters and the comment above it.
std::string Shown(const Statement& statement) {
    std::string shown = statement.comment.empty() ? "" : fmt::format("#{}# ", statement.comment);
    if (!statement.name.empty()) shown += statement.name;
    if (statement.isFunction) {
        shown += "(";
        for (const FormalParameter& parameter : statement.parameters)
            shown += parameter.name + (parameter.standard ? "=" + Shown(*parameter.standard) : "") + ";";
        shown += ")";
    }
    if (!statement.name.empty()) shown += " := ";
    if (statement.outputs.empty()) return shown + Shown(statement.body);
    for (const Statement& output : statement.outputs) shown += "{" + Shown(output) + "}";
    return shown;
}

std::string Repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

TEST(Parser, ReadsExpressionsAndStatements) {
    const std::pair<const char*, const char*> readings[] = {
        {" Sim( Close ,5) ", "Sim<Close;5;>"},
        {"CountOp(Bar, , Close < Sim(Close, 20), a)", "CountOp<Bar;_;(Close<Sim<Close;20;>);a;>"},
        {"Op()", "Op<>"},
        {"Op(,)", "Op<_;_;>"},
        {"StochXOp(Bar, slowLength = 3)", "StochXOp<Bar;(slowLength=3);>"},
        {"1 - 2 - 3 * -4.5e1", "((1-2)-(3*-45))"},
        {"-Close + 1", "((- Close)+1)"},
        {"a + b >= c - d", "((a+b)>=(c-d))"},
        {"not a and b or not (c = d)", "(((not a)and"
                                       "b)or(not (c=d)))"},
        {"NOT a AND b", "((not a)andb)"},
        {"android", "android"},
        {"(Bar / 2).high.x", "(Bar/2).high.x"},
        {"-Close[3].x", "(- Close[3].x)"},
        {"Sim(a, 2)[1] != b", "(Sim<a;2;>[1]!=b)"},
        {"'adj close' * \"x\"", "('adj close'*'x')"},
        {".5", "0.5"},
        {"(a < b) = (b > c)", "((a<b)=(b>c))"},
        {"gr\xc3\xbc\xc3\x9f"
         "e_1",
         "gr\xc3\xbc\xc3\x9f"
         "e_1"},
        {"fast = Exp(x, 12); slow = 3\nfast - slow", "fast := Exp<x;12;> | slow := 3 | (fast-slow)"},
        {"x = 1 +\n  2 # the rest\n;;", "x := (1+2)"},
        {"Op(a,\n  # why\n  b)", "Op<a;b;>"},
        {"# far\n\n# near\n# nearer\nF(x, n = 2 * 7) = x", "#near\nnearer# F(x;n=(2*7);) := x"},
        {"B(x) = {up = x;\n # below\n low = up - 1}", "B(x;) := {up := x}{#below# low := (up-1)}"},
        {"f(x) == 3", "(f<x;>==3)"},
        {"", ""},
    };
    for (const auto& [text, shown] : readings) {
        const Outcome<Script> script = ParseScript(text);
        ASSERT_TRUE(script) << text << ": " << script.Fault().message;
        std::string all;
        for (const Statement& statement : script->statements) all += (all.empty() ? "" : " | ") + Shown(statement);
        EXPECT_EQ(all, shown) << text;
    }
}

TEST(Parser, NamesThePlaceOfAFault) {
    struct Case {
        std::string text;
        std::size_t offset;
        const char* message;
    };
    const Case faults[] = {
        {"Sim(Close, 5", 12, "expected ')'"},
        {"(1", 2, "expected ')'"},
        {"1)", 1, "expected an operation"},
        {"5 5", 2, "expected an operation"},
        {"Sim(Adj  Close , 5)", 9, "expected ')'; a column whose name has a blank stands in quotes: 'Adj  Close'"},
        {"1 + Adj Close", 8, "a column whose name has a blank stands in quotes: 'Adj Close'"},
        {"5x", 1, "expected an operation behind the number"},
        {"a.5", 2, "expected the name of an output"},
        {"a + * b", 4, "expected a value"},
        {"a[1", 3, "expected ']'"},
        {"'abc", 0, "a quote that is not closed"},
        {"1e999", 0, "a number that no double holds"},
        {"\x01", 0, "expected a value"},
        {"x =", 3, "expected a value"},
        {"f(x) = {a 1}", 10, "expected '='"},
        {"and", 0, "expected a value"},
        {"Close > Open > Low", 13, "a comparison is not compared again"},
        {"a == (b <> 1) = 2", 14, "a comparison is not compared again"},
        {Repeated("(", 100000), 126, "nested too deeply"},
        {Repeated("-", 100000) + "a", 126, "nested too deeply"},
        {Repeated("not ", 1000) + "a", 504, "nested too deeply"},
        {Repeated("Sim(", 300) + "a", 504, "nested too deeply"},
        {"a" + Repeated("+a", 600), 0, "too many operations in a row"},
        {"a" + Repeated(".high", 600), 0, "too many operations in a row"},
        {std::string(LongestText + 1, 'a'), 0, "longer than a megabyte"},
    };
    for (const auto& [text, offset, message] : faults) {
        const Outcome<Script> script = ParseScript(text);
        ASSERT_FALSE(script) << text.substr(0, 40) << " was read";
        EXPECT_NE(script.Fault().message.find(message), std::string::npos) << script.Fault().message;
        EXPECT_EQ(script.Fault().offset, offset) << text.substr(0, 40);
    }
}

}  // namespace
}  // namespace sarvane::study
