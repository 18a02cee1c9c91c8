#include "compiled_operator.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

constexpr double U = UndefinedValue;

class CompiledOperatorTest : public testing::Test {
protected:
    ComPtr<IZelmorOp> Compiled(const std::string& expression) {
        Outcome<std::shared_ptr<StudyLibrary>> library = StudyLibrary::Load();
        EXPECT_TRUE(library);
        Compiler compiler(*library, {"Volume", "close", "Open"});
        const auto problem = compiler.Add(expression);
        EXPECT_FALSE(problem) << problem->message;
        ComPtr<IZelmorOp> op;
        *op.Slot() = static_cast<IZelmorOp*>(new CompiledOperator(compiler.Finish()));
        studies = *library;
        return op;
    }
    std::string Taken(TextSlot text) { return studies->Operators().Take(text); }

    std::shared_ptr<const StudyLibrary> studies;
};

TEST_F(CompiledOperatorTest, DescribesTheWholeExpression) {
    const auto op = Compiled("Sim(Close, 3) / Sim(Volume, 2)");
    TextSlot text = nullptr;
    ushort count = 0, column = 9;
    EXPECT_EQ(op->GetFormula(&text, nullptr), S_OK);
    EXPECT_EQ(Taken(text), "(Sim( close, 3) / Sim( Volume, 2))");
    EXPECT_EQ(op->GetInputCount(&count, nullptr), S_OK);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(op->GetInputCurve(1, &column, nullptr), S_OK);
    EXPECT_EQ(column, 1);
    EXPECT_EQ(op->GetInputBarType(1, &text, nullptr), S_OK);
    EXPECT_EQ(Taken(text), "BAR_TYPE_CLOSE");
    EXPECT_EQ(op->GetInputBarType(0, &text, nullptr), S_OK);
    EXPECT_EQ(Taken(text), "");
    uint bars = 0;
    EXPECT_EQ(op->GetLookback(&bars, nullptr), S_OK);
    EXPECT_EQ(bars, 3u);
    EXPECT_EQ(op->GetFormula(nullptr, nullptr), E_POINTER);
}

TEST_F(CompiledOperatorTest, CalculatesAndGoesBackThroughAllOperators) {
    const auto op = Compiled("Sim(Sim(Close, 2) + Close[1], 2)");
    double out = 0.0;
    const auto step = [&](double close) {
        EXPECT_EQ(op->Calculate(1, &close, 1, &out), S_OK);
        return out;
    };
    ASSERT_EQ(op->Reset(0, nullptr), S_OK);
    EXPECT_EQ(step(1), U);
    EXPECT_EQ(step(3), U);    // 2 + 1
    EXPECT_EQ(step(5), 5.0);  // mean of 3 and 4 + 3
    EXPECT_EQ(op->SaveState(1), S_OK);
    EXPECT_EQ(step(9), 9.5);      // mean of 7 and 7 + 5
    EXPECT_EQ(step(100), 37.75);  // mean of 12 and 54.5 + 9
    EXPECT_EQ(op->RestoreState(2), S_FALSE);
    EXPECT_EQ(op->RestoreState(1), S_OK);
    EXPECT_EQ(step(7), 9.0);  // mean of 7 and 6 + 5
    EXPECT_EQ(op->Calculate(1, nullptr, 1, &out), E_POINTER);
}

TEST_F(CompiledOperatorTest, HasTheOutputsOfItsExpression) {
    const auto op = Compiled("pair(x) = {twice = 2 * x; half = x / 2}; pair(Open)");
    ushort count = 0;
    TextSlot name = nullptr;
    EXPECT_EQ(op->GetOutputCount(&count, nullptr), S_OK);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(op->GetOutputName(1, &name, nullptr), S_OK);
    EXPECT_EQ(Taken(name), "half");
    ComPtr<IZelmorOp2> bars;
    ASSERT_EQ(op->QueryInterface(IID_IZelmorOp2, bars.Slot()), S_OK);
    ASSERT_EQ(bars->ResetBar(0, 0, 0, nullptr), S_OK);
    const double open = 3.0;
    double out[2] = {};
    EXPECT_EQ(bars->CalculateBar(0, 1, &open, 2, out), S_OK);
    EXPECT_EQ(out[0], 6.0);
    EXPECT_EQ(out[1], 1.5);
}

}  // namespace
}  // namespace sarvane::study
