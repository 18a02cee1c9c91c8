#include "expression.h"

#include "failure.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

// An expression with all its brackets.
std::string Shown(const Expression& part) {
    switch (part.kind) {
    case Expression::Kind::Empty: return "_";
    case Expression::Kind::Number: return fmt::format("{}", part.number);
    case Expression::Kind::Word: return part.name;
    case Expression::Kind::Output: return fmt::format("{}.{}", Shown(part.parts[0]), part.name);
    case Expression::Kind::Binary:
        return fmt::format("({}{}{})", Shown(part.parts[0]), part.name, Shown(part.parts[1]));
    case Expression::Kind::Call: break;
    }
    std::string list = part.name + "[";
    for (const Expression& argument : part.parts) list += Shown(argument) + ";";
    return list + "]";
}

std::string Repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

TEST(Expression, Reads) {
    const std::pair<const char*, const char*> readings[] = {
        {" Sim( Close ,5) ", "Sim[Close;5;]"},
        {"CountOp(Bar, , Close < Sim(Close, 20), a)", "CountOp[Bar;_;(Close<Sim[Close;20;]);a;]"},
        {"Op()", "Op[]"},
        {"Op(,)", "Op[_;_;]"},
        {"1 - 2 - 3 * -4.5e1", "((1-2)-(3*-45))"},
        {"-Close + 1", "((0-Close)+1)"},
        {"a + b >= c - d", "((a+b)>=(c-d))"},
        {"(Bar / 2).high.x", "(Bar/2).high.x"},
        {"'adj close' * \"x\"", "(adj close*x)"},
        {".5", "0.5"},
        {"(a < b) = (b > c)", "((a<b)=(b>c))"},
        {"gr\xc3\xbc\xc3\x9f"
         "e_1",
         "gr\xc3\xbc\xc3\x9f"
         "e_1"},
    };
    for (const auto& [text, shown] : readings) EXPECT_EQ(Shown(ParseExpression(text)), shown) << text;
}

TEST(Expression, NamesThePlaceOfAFault) {
    const std::pair<std::string, const char*> faults[] = {
        {"", "column 1: expected a value"},
        {"Sim(Close, 5", "column 13: expected ',' or ')'"},
        {"(1", "column 3: expected ')'"},
        {"1)", "column 2: expected an operation"},
        {"5 5", "column 3: expected an operation"},
        {"5x", "column 2: expected an operation behind the number"},
        {"a.5", "column 3: expected the name of an output"},
        {"a + * b", "column 5: expected a value"},
        {"'abc", "column 1: a quote that is not closed"},
        {"1e999", "column 1: a number that no double holds"},
        {"\x01", "column 1: expected a value"},
        {std::string(1000, '('), "nested too deeply"},
        {std::string(1000, '-') + "a", "nested too deeply"},
        {Repeated("-a", 600), "too long, or nested too deeply"},
        {"a" + Repeated(".high", 600), "too long, or nested too deeply"},
        {Repeated("Sim(", 300) + "a", "nested too deeply"},
        {Repeated("(", 100000), "more than 4096 characters"},
        {"Close > Open > Low", "column 14: comparisons are not chained"},
        {"a = b <> 1", "column 7: comparisons are not chained"},
        {std::string(5000, 'a'), "more than 4096 characters"},
    };
    for (const auto& [text, message] : faults) {
        try {
            ParseExpression(text);
            ADD_FAILURE() << text << " was read";
        } catch (const Failure& failure) {
            EXPECT_NE(std::string(failure.what()).find(message), std::string::npos) << failure.what();
            EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos);
        }
    }
}

}  // namespace
}  // namespace sarvane::study
