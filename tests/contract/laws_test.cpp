// What holds for every class of the table.

#include "server/class_table.h"
#include "support/allocation_counter.h"
#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>

namespace sarvane::test {
namespace {

constexpr int Seeds = 24;
constexpr int Bars = 80;

// Runs `law` for every class with several lists of random arguments, the first of them none.
template <class Law>
void ForEveryClass(Law law) {
    for (const ClassEntry& entry : ClassTable()) {
        for (unsigned seed = 0; seed < Seeds; ++seed) {
            RandomBars random(seed);
            const std::string arguments = seed > 0 ? RandomArguments(random, *entry.about) : "";
            SCOPED_TRACE(std::string(entry.keyword) + ", arguments " + arguments);
            OperatorDriver op(entry.keyword);
            if (seed % 4 == 1) op.Set(-1, std::vector{"5", "0", "-7", "x"}[seed / 4 % 4]);
            op.SetArguments(arguments);
            law(entry.keyword, op, random);
            if (testing::Test::HasFailure()) return;
        }
    }
}

using Rows = std::vector<std::vector<double>>;

Rows RunBars(OperatorDriver& op, const Rows& bars) {
    Rows outputs;
    for (const std::vector<double>& bar : bars) outputs.push_back(op.Step(bar));
    return outputs;
}

Rows SomeBars(const OperatorDriver& op, RandomBars& random, int count) {
    Rows bars;
    for (int i = 0; i < count; ++i) bars.push_back(random.Next(op.InputCount()));
    return bars;
}

TEST(Law, ARestoredStateGoesOnAsItDidBefore) {
    ForEveryClass([](const std::string& keyword, OperatorDriver& op, RandomBars& random) {
        if (keyword == "TimeAvg") return;  // has a one-step undo instead of snapshots
        op.Reset();
        for (int round = 0; round < 6; ++round) {
            RunBars(op, SomeBars(op, random, random.Below(Bars)));
            const short slot = static_cast<short>(1 + random.Below(3));
            ASSERT_EQ(op->SaveState(slot), S_OK);
            const auto bars = SomeBars(op, random, 1 + random.Below(Bars));
            op.SetNextBar(0);
            const auto first = RunBars(op, bars);
            if (round % 2 == 0 && keyword != "MedOp" && keyword != "VolStop") op->SaveState(4);
            ASSERT_EQ(op->RestoreState(slot), S_OK);
            op.SetNextBar(0);
            for (std::size_t bar = 0; bar < bars.size(); ++bar)
                ExpectSameBits(op.Step(bars[bar]), first[bar], "bar " + std::to_string(bar));
        }
    });
}

// Saving there and restoring from there does nothing, however many bars lie between.
TEST(Law, SlotZeroIsTheRunningState) {
    ForEveryClass([](const std::string& keyword, OperatorDriver& op, RandomBars& random) {
        if (keyword == "TimeAvg" || keyword == "MedOp") return;  // one has no slots, the other an ordinary slot 0
        const auto bars = SomeBars(op, random, Bars);
        op.Reset({}, 1, Bars - 1);
        const auto first = RunBars(op, bars);
        op.Reset({}, 1, Bars - 1);
        for (std::size_t bar = 0; bar < bars.size(); ++bar) {
            const short slot = 0;
            EXPECT_EQ(bar % 7 == 2 ? op->SaveState(slot) : op->RestoreState(slot), S_OK);
            ExpectSameBits(op.Step(bars[bar]), first[bar], "bar " + std::to_string(bar));
        }
    });
}

TEST(Law, ARunAfterResetEqualsTheFirstHoweverOftenDescribed) {
    ForEveryClass([](const std::string&, OperatorDriver& op, RandomBars& random) {
        const auto bars = SomeBars(op, random, Bars);
        op.Reset({}, 1, Bars - 1);
        const auto first = RunBars(op, bars);
        const std::string description = op.Description();
        op.Reset({}, 1, Bars - 1);
        for (std::size_t bar = 0; bar < bars.size(); ++bar) {
            EXPECT_EQ(op.Description(), description);
            ExpectSameBits(op.Step(bars[bar]), first[bar], "bar " + std::to_string(bar));
        }
    });
}

TEST(Law, OutputsHaveNamesOfTheVocabulary) {
    const std::regex vocabulary("curve[1-4]|integer[1-8]|label[1-6]|percent|open|high|low|close");
    for (const std::string& keyword : AllKeywords()) {
        const OperatorDriver op(keyword);
        std::set<std::string> names;
        for (int output = 0; output < op.OutputCount(); ++output) {
            const std::string name = op.OutputName(output);
            EXPECT_TRUE(std::regex_match(name, vocabulary) && names.insert(name).second) << keyword << " " << name;
        }
        EXPECT_GT(op.OutputCount(), 0) << keyword;
    }
}

TEST(Law, MissingSlotsAndTextsDoNoHarm) {
    for (const std::string& keyword : AllKeywords()) {
        SCOPED_TRACE(keyword);
        OperatorDriver op(keyword);
        TextSlot text = nullptr;
        ushort number = 0;
        EXPECT_EQ(op->GetFormula(nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetInputCount(nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetInputCurve(0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetInputBarType(0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetOutputCount(nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetOutputName(0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetOutputUnits(0, nullptr, &number, &number, nullptr), E_POINTER);
        EXPECT_EQ(op->GetOutputRange(0, 0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetParameterCount(nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetParameterText(0, nullptr, nullptr), E_POINTER);
        EXPECT_EQ(op->GetLookback(nullptr, nullptr), E_POINTER);
        for (const int n : {-32768, -1, 99, 32767}) {
            const short index = static_cast<short>(n);
            op->GetInputCurve(index, &number, nullptr);
            if (op->GetInputBarType(index, &text, nullptr) == S_OK) Taken(text);
            if (op->GetOutputName(index, &text, nullptr) == S_OK) Taken(text);
            if (op->GetParameterText(index, &text, nullptr) == S_OK) Taken(text);
            EXPECT_EQ(op->SetParameter(index, u"1", nullptr), S_OK);
        }
        if (op.Bars()) {
            EXPECT_EQ(op.Bars()->GetBarFlagA(nullptr), E_POINTER);
            EXPECT_EQ(op.Bars()->GetBarStyle(nullptr), E_POINTER);
            EXPECT_EQ(op.Bars()->ResetBar(1, 0, 5, nullptr), S_OK);
        }
        for (short index = 1; index < 16; ++index) op->SetParameter(index, nullptr, nullptr);
        EXPECT_EQ(op->Reset(1, nullptr), S_OK);
        double value = 0.0;
        EXPECT_EQ(op->Calculate(1, &value, 1, nullptr), E_POINTER);
        if (op.Bars()) {
            EXPECT_EQ(op.Bars()->CalculateBar(0, 5, nullptr, 1, &value), E_POINTER);
            EXPECT_EQ(op.Bars()->CalculateBar(0, 5, &value, 1, nullptr), E_POINTER);
        } else {
            EXPECT_EQ(op->Calculate(1, nullptr, 1, &value), E_POINTER);
        }
        EXPECT_LE(op->SaveState(-1), keyword == "TimeAvg" ? S_OK : S_FALSE);
        EXPECT_LE(op->RestoreState(-1), keyword == "TimeAvg" ? S_OK : S_FALSE);
    }
}

// A window beyond all memory costs address space: what was never pushed is never touched or copied.
TEST(Law, HugeParametersCostNoMemory) {
    for (const std::string& keyword : AllKeywords()) {
        SCOPED_TRACE(keyword);
        OperatorDriver op(keyword);
        for (int argument = 1; argument < 16; ++argument) op.Set(argument, "2147483647");
        op.Reset();
        RandomBars random(1);
        const auto bars = SomeBars(op, random, 3);
        if (keyword == "TimeAvg") {  // its windows have a fixed capacity
            double out = 0.0;
            EXPECT_EQ(op->Calculate(2, bars[0].data(), 1, &out), E_OUTOFMEMORY);
            continue;
        }
        RunBars(op, bars);
        for (short slot = 1; slot <= 3; ++slot) EXPECT_EQ(op->SaveState(slot), S_OK);
        RunBars(op, bars);
        EXPECT_EQ(op->RestoreState(2), S_OK);
        RunBars(op, bars);
    }
    std::ifstream status("/proc/self/statm");
    long pages = 0, resident = 0;
    status >> pages >> resident;
    EXPECT_LT(resident, 1 << 18) << "a gigabyte in pages of 4096 bytes";
}

// In steady state a bar, a snapshot into a used slot and the way back take nothing from the free store.
TEST(Law, ASteadyRunAllocatesNothing) {
    for (const std::string& keyword : AllKeywords()) {
        for (const char* number : {"1", "3", "8", "50", "400"}) {
            // Two of the arguments multiply to the bars that these look back over. So many would not be full.
            if (number == std::string("400") && (keyword == "KaseCCSS" || keyword == "KasePermStoch")) continue;
            SCOPED_TRACE(keyword + " with " + number);
            OperatorDriver op(keyword);
            for (int argument = 1; argument < 16; ++argument) op.Set(argument, number);
            op.Reset();
            RandomBars random(7);
            std::vector<double> in, out(static_cast<std::size_t>(op.OutputCount()));
            const int inputs = op.InputCount(), outputs = op.OutputCount();
            std::size_t before = 0;
            for (int bar = 0; bar < 4200; ++bar) {  // a ring that only grew would have to grow at 4096
                in = random.Next(inputs);
                in.back() = static_cast<double>(bar % 4);  // a key, where the last input is one
                if (bar >= 3000) before = AllocationCount();
                op->SaveState(1);
                for (int tick = 0; tick < 2; ++tick) {
                    op->RestoreState(1);
                    op.Bars() ? op.Bars()->CalculateBar(bar, inputs, in.data(), outputs, out.data())
                              : op->Calculate(inputs, in.data(), outputs, out.data());
                }
                ASSERT_TRUE(bar < 3000 || AllocationCount() == before) << "bar " << bar;
            }
        }
    }
}

}  // namespace
}  // namespace sarvane::test
