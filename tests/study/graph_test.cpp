#include "compilation.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

TEST(Graph, HoldsEqualPartsOnce) {
    const std::pair<std::vector<std::string>, std::size_t> cases[] = {
        {{"Close > Sim(Close, 20)", "Sim(close,20)", "Sim(Close, period = 20)"}, 2},
        {{"a = Close[2] + 1", "a * 2", "Close[2] + 1"}, 3},
        {{"f(x) = prev(x) + Close[1] * x", "f(2)", "f(2)", "f(1 + 1)[1]"}, 7},
        {{"prev(0) + Close", "prev(0) - Close", "prev(1) + Close"}, 12},
        {{"f(x) = prev(x) + x", "f(2) + f(3)"}, 9},  // last value, start, sum, keeping; and the sum of both
        {{"f(x) = prev(0) + x", "f(f(1))", "f(f(1)) * 2"}, 9},
        {{"g() = {a = prev(0) + High; b = max(a, prev(a))}", "g().a", "g().b", "g().b"}, 8},
    };
    for (const auto& [expressions, nodes] : cases) {
        const auto library = StudyLibrary::Load();
        ASSERT_TRUE(library);
        Compiler compiler(*library, {"high", "close"});
        for (const std::string& expression : expressions) {
            const auto problem = compiler.Add(expression);
            ASSERT_FALSE(problem) << expression << ": " << problem->message;
        }
        EXPECT_EQ(compiler.Compiled().graph.Nodes().size(), nodes) << expressions.back();
    }
}

}  // namespace
}  // namespace sarvane::study
