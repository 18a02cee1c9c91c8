// What class factories tell of their classes, read through the interface as a host reads it.

#include "sarvane/class_info.h"
#include "support/operator_driver.h"
#include "support/random_bars.h"

#include <gtest/gtest.h>
#include <limits>
#include <set>

namespace sarvane::test {
namespace {

// Asks the factory of a class, which answers every call.
class ClassInfo {
public:
    explicit ClassInfo(std::string_view keyword) {
        EXPECT_EQ(DllGetClassObject(ClassIdOf(keyword), IID_IZelmorClassInfo, info.Slot()), S_OK) << keyword;
    }
    IZelmorClassInfo* operator->() const { return info.Get(); }

    template <class Slot>
    Slot Ask(HRESULT (STDMETHODCALLTYPE IZelmorClassInfo::*method)(Slot*)) const {
        Slot slot{};
        EXPECT_EQ((info.Get()->*method)(&slot), S_OK);
        return slot;
    }
    template <class Slot>
    Slot Ask(HRESULT (STDMETHODCALLTYPE IZelmorClassInfo::*method)(short, Slot*), int n) const {
        Slot slot{};
        EXPECT_EQ((info.Get()->*method)(static_cast<short>(n), &slot), S_OK) << n;
        return slot;
    }
    std::string Text(HRESULT (STDMETHODCALLTYPE IZelmorClassInfo::*method)(short, TextSlot*), int n) const {
        return Taken(Ask(method, n));
    }

private:
    ComPtr<IZelmorClassInfo> info;
};

TEST(ClassInfo, TellsArgumentsAndOutputsOfAClass) {
    const ClassInfo info("HiLev");
    EXPECT_EQ(Taken(info.Ask(&IZelmorClassInfo::GetName)), "HiLevOp");
    EXPECT_EQ(Taken(info.Ask(&IZelmorClassInfo::GetKeyword)), "HiLev");
    EXPECT_EQ(Taken(info.Ask(&IZelmorClassInfo::GetName)), "HiLevOp");
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetArgumentCount), 4);
    EXPECT_EQ(info.Text(&IZelmorClassInfo::GetArgumentName, 2), "period");
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetArgumentKind, 2), static_cast<ushort>(ArgumentKind::Count));
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetArgumentUse, 2), ArgumentCanBeBound);
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetArgumentUse, 3), ArgumentIsOptional);
    EXPECT_EQ(info.Text(&IZelmorClassInfo::GetArgumentDefault, 3), "0");
    double least = 0.0, greatest = 0.0;
    EXPECT_EQ(info->GetArgumentRange(2, &least, &greatest), S_OK);
    EXPECT_EQ(least, 1.0);
    EXPECT_EQ(greatest, std::numeric_limits<double>::infinity());
    EXPECT_EQ(info.Text(&IZelmorClassInfo::GetOutputName, 1), "integer1");
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetOutputDrawing, 1), static_cast<ushort>(DrawnAs::Step));
}

TEST(ClassInfo, TellsTheWordsOfAnArgument) {
    const ClassInfo info("VolStop");
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetWordCount, 7), 3);
    EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetWordCount, 8), 0) << "a switch";
    TextSlot text = nullptr, meaning = nullptr;
    ASSERT_EQ(info->GetWord(7, 1, &text, &meaning), S_OK);
    EXPECT_EQ(Taken(text), "Smo");
    EXPECT_EQ(Taken(meaning), "smoothed average");
    EXPECT_EQ(info->GetWord(7, 3, &text, &meaning), E_INVALIDARG);
    EXPECT_EQ(info->GetWord(13, 0, &text, &meaning), E_INVALIDARG);
}

TEST(ClassInfo, RefusesNumbersOutOfRangeAndNullSlots) {
    const ClassInfo info("Sim");
    TextSlot text = nullptr;
    ushort number = 7;
    double least = 0.0;
    for (const short n : {short{-1}, short{3}, std::numeric_limits<short>::max()}) {
        EXPECT_EQ(info->GetArgumentName(n, &text), E_INVALIDARG);
        EXPECT_EQ(info->GetArgumentKind(n, &number), E_INVALIDARG);
        EXPECT_EQ(info->GetOutputMeaning(n, &text), E_INVALIDARG);
        EXPECT_EQ(info->GetWord(1, n, &text, &text), E_INVALIDARG) << "a count has no words";
    }
    EXPECT_EQ(info->GetSentence(nullptr), E_POINTER);
    EXPECT_EQ(info->GetArgumentCount(nullptr), E_POINTER);
    EXPECT_EQ(info->GetArgumentRange(1, &least, nullptr), E_POINTER);
    EXPECT_EQ(info->GetWord(1, 0, nullptr, &text), E_POINTER);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(number, 7);
}

TEST(ClassInfo, BelongsToTheFactory) {
    ComPtr<IClassFactory> factory;
    const ClassInfo info("Sim");
    ASSERT_EQ(info->QueryInterface(IID_IClassFactory, factory.Slot()), S_OK);
    ComPtr<IUnknown> fromInfo, fromFactory, fromOperator;
    info->QueryInterface(IID_IUnknown, fromInfo.Slot());
    factory->QueryInterface(IID_IUnknown, fromFactory.Slot());
    EXPECT_EQ(fromInfo.Get(), fromFactory.Get());
    EXPECT_EQ(OperatorDriver("Sim")->QueryInterface(IID_IZelmorClassInfo, fromOperator.Slot()), E_NOINTERFACE);
}

// What is said of a class is what its objects do.
TEST(ClassInfo, AgreesWithTheObjectsOfEachClass) {
    for (const std::string& keyword : AllKeywords()) {
        SCOPED_TRACE(keyword);
        const ClassInfo info(keyword);
        OperatorDriver op(keyword);
        EXPECT_NE(Taken(info.Ask(&IZelmorClassInfo::GetSentence)), "");
        EXPECT_EQ(info.Ask(&IZelmorClassInfo::GetOutputCount), op.OutputCount());
        for (short n = 0; n < op.OutputCount(); ++n) {
            EXPECT_EQ(info.Text(&IZelmorClassInfo::GetOutputName, n), op.OutputName(n));
            EXPECT_NE(info.Text(&IZelmorClassInfo::GetOutputMeaning, n), "");
        }
        std::set<std::string> names;
        const short count = static_cast<short>(info.Ask(&IZelmorClassInfo::GetArgumentCount));
        for (short n = 0; n < count; ++n) {
            EXPECT_TRUE(names.insert(info.Text(&IZelmorClassInfo::GetArgumentName, n)).second);
            EXPECT_NE(info.Text(&IZelmorClassInfo::GetArgumentMeaning, n), "");
        }
    }
}

// The values of a class over random bars, with 3 for each number that it needs, and one argument more.
std::vector<double> Values(const std::string& keyword, int argument, const std::string& text) {
    const ClassInfo info(keyword);
    OperatorDriver op(keyword);
    op.Set(-1, "400");
    for (int n = 1; n < info.Ask(&IZelmorClassInfo::GetArgumentCount); ++n) {
        const auto kind = static_cast<ArgumentKind>(info.Ask(&IZelmorClassInfo::GetArgumentKind, n));
        const bool isNumber = kind == ArgumentKind::Count || kind == ArgumentKind::Number;
        if (n == argument)
            op.Set(n, text);
        else if (isNumber && !info.Ask(&IZelmorClassInfo::GetArgumentUse, n))
            op.Set(n, "3");
    }
    RandomBars random(5);
    std::vector<double> values;
    op.Reset();
    for (int bar = 0; bar < 60; ++bar) {
        const std::vector<double> outputs = op.Step(random.Next(op.InputCount()));
        values.insert(values.end(), outputs.begin(), outputs.end());
    }
    return values;
}

TEST(ClassInfo, NamesTheDefaultsThatArgumentsHaveWhenTheyAreLeftOut) {
    int defaults = 0;
    for (const std::string& keyword : AllKeywords()) {
        const ClassInfo info(keyword);
        for (int n = 1; n < info.Ask(&IZelmorClassInfo::GetArgumentCount); ++n) {
            const std::string standard = info.Text(&IZelmorClassInfo::GetArgumentDefault, n);
            if (standard.empty()) continue;
            ++defaults;
            ExpectSameBits(Values(keyword, n, standard), Values(keyword, 0, ""), keyword + " " + std::to_string(n));
        }
    }
    EXPECT_GT(defaults, 40);
}

}  // namespace
}  // namespace sarvane::test
