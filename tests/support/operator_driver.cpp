#include "support/operator_driver.h"

#include "server/class_table.h"

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

namespace sarvane::test {
namespace {

bool SameBits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

}  // namespace

std::string Taken(TextSlot text) {
    std::string narrow;
    for (const char16_t* c = text; c && *c; ++c) narrow += static_cast<char>(*c);
    CoTaskMemFree(text);
    return narrow;
}

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::vector<std::string> AllKeywords() {
    std::vector<std::string> keywords;
    for (const ClassEntry& entry : ClassTable()) keywords.emplace_back(entry.keyword);
    return keywords;
}

GUID ClassIdOf(std::string_view keyword) {
    const auto entry = std::ranges::find(ClassTable(), keyword, &ClassEntry::keyword);
    return entry == ClassTable().end() ? GUID{} : entry->id;
}

OperatorDriver::OperatorDriver(std::string_view keyword) {
    ComPtr<IClassFactory> factory;
    if (DllGetClassObject(ClassIdOf(keyword), IID_IClassFactory, factory.Slot()) != S_OK ||
        factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot()) != S_OK)
        throw std::runtime_error("no operator " + std::string(keyword));
    op->QueryInterface(IID_IZelmorOp2, barOp.Slot());
}

HRESULT OperatorDriver::Set(int index, std::string_view value) {
    TextSlot error = nullptr;
    const HRESULT status = op->SetParameter(static_cast<short>(index), Wide(value).c_str(), &error);
    CoTaskMemFree(error);
    return status;
}

void OperatorDriver::SetArguments(std::string_view words) {
    std::istringstream stream{std::string(words)};
    std::string word;
    for (int index = 1; stream >> word; ++index) {
        if (word != "-") Set(index, word);
    }
}

int OperatorDriver::InputCount() const {
    ushort count = 0;
    EXPECT_EQ(op->GetInputCount(&count, nullptr), S_OK);
    return count;
}

int OperatorDriver::OutputCount() const {
    ushort count = 0;
    EXPECT_EQ(op->GetOutputCount(&count, nullptr), S_OK);
    return count;
}

std::string OperatorDriver::OutputName(int output) const {
    TextSlot name = nullptr;
    EXPECT_EQ(op->GetOutputName(static_cast<short>(output), &name, nullptr), S_OK);
    return Taken(name);
}

std::string OperatorDriver::Description() const {
    TextSlot text = nullptr;
    EXPECT_EQ(op->GetFormula(&text, nullptr), S_OK);
    std::string all = Taken(text) + " | in";
    for (short input = 0; input < InputCount(); ++input) {
        ushort argument = 0;
        EXPECT_EQ(op->GetInputCurve(input, &argument, nullptr), S_OK);
        EXPECT_EQ(op->GetInputBarType(input, &text, nullptr), S_OK);
        const std::string field = Taken(text);
        all.append(" ").append(std::to_string(argument)).append(field.empty() ? "" : field.substr(9, 1));
    }
    all += " | out";
    for (short output = 0; output < OutputCount(); ++output) {
        ushort kind = 0, second = 1, third = 1;
        EXPECT_EQ(op->GetOutputUnits(output, &kind, &second, &third, nullptr), S_OK);
        EXPECT_EQ(second + third, 0);
        all.append(" ").append(OutputName(output)).append(":").append(std::to_string(kind));
    }
    all += " | par";
    ushort parameters = 0;
    EXPECT_EQ(op->GetParameterCount(&parameters, nullptr), S_OK);
    for (short parameter = 0; parameter < parameters; ++parameter) {
        EXPECT_EQ(op->GetParameterText(parameter, &text, nullptr), S_OK);
        all.append(" ").append(Taken(text));
    }
    uint bars = 0;
    EXPECT_EQ(op->GetLookback(&bars, nullptr), S_OK);
    return all + " | back " + std::to_string(static_cast<int>(bars));
}

void OperatorDriver::Reset(const std::vector<double>& seed, int mode, int lastBar) {
    nextBar = 0;
    const std::vector<double> none(static_cast<std::size_t>(InputCount()), UndefinedValue);
    const std::vector<double>& first = seed.empty() ? none : seed;
    const int count = static_cast<int>(first.size());
    EXPECT_EQ(barOp ? barOp->ResetBar(mode, lastBar, count, first.data()) : op->Reset(count, first.data()), S_OK);
}

std::vector<double> OperatorDriver::Step(const std::vector<double>& bar) {
    EXPECT_EQ(bar.size(), static_cast<std::size_t>(InputCount()));
    std::vector<double> out(static_cast<std::size_t>(OutputCount()), 12345.0);
    const int inputs = static_cast<int>(bar.size()), outputs = static_cast<int>(out.size());
    EXPECT_EQ(barOp ? barOp->CalculateBar(nextBar, inputs, bar.data(), outputs, out.data())
                    : op->Calculate(inputs, bar.data(), outputs, out.data()),
              S_OK);
    ++nextBar;
    return out;
}

void ExpectSameBits(const std::vector<double>& actual, const std::vector<double>& expected, std::string_view where) {
    ASSERT_EQ(actual.size(), expected.size()) << where;
    for (std::size_t i = 0; i < actual.size(); ++i)
        EXPECT_TRUE(SameBits(actual[i], expected[i]))
            << where << ", output " << i << ": " << actual[i] << " instead of " << expected[i];
}

void CheckRun(std::string_view keyword, const RunCase& run) {
    SCOPED_TRACE(run.fact);
    OperatorDriver op(keyword);
    if (run.depth) op.Set(-1, run.depth);
    op.SetArguments(run.arguments);
    op.Reset(run.seed, run.mode, static_cast<int>(run.bars.size()) - 1);
    std::vector<double> outputs;
    for (const std::vector<double>& bar : run.bars) {
        const std::vector<double> out = op.Step(bar);
        outputs.insert(outputs.end(), out.begin(), out.end());
    }
    std::vector<double> expected = run.outputs;
    if (expected.size() < outputs.size()) expected.insert(expected.begin(), outputs.size() - expected.size(), U);
    ExpectSameBits(outputs, expected, run.fact);
}

void CheckCases(std::string_view keyword, std::span<const DescriptionCase> descriptions,
                std::span<const RunCase> runs) {
    for (const DescriptionCase& expected : descriptions) {
        OperatorDriver op(keyword);
        op.SetArguments(expected.arguments);
        EXPECT_EQ(op.Description(), expected.description) << expected.fact;
    }
    for (const RunCase& run : runs) CheckRun(keyword, run);
}

}  // namespace sarvane::test
