// Hosts bind to objects without our headers, by the places of the methods in their tables.

#include "support/operator_driver.h"

#include <gtest/gtest.h>

namespace sarvane::test {
namespace {

template <class... Arguments>
HRESULT CallPlace(IUnknown* object, std::size_t place, Arguments... arguments) {
    using Method = HRESULT (*)(void*, Arguments...);
    void* const* const table = *reinterpret_cast<void***>(object);
    return reinterpret_cast<Method>(table[place])(object, arguments...);
}

// What a describing method puts into the slot ahead of its last one.
template <class Answer, class... Arguments>
Answer AnswerAt(IUnknown* object, std::size_t place, Arguments... arguments) {
    Answer answer{};
    EXPECT_EQ(CallPlace(object, place, arguments..., &answer, static_cast<TextSlot*>(nullptr)), S_OK) << place;
    return answer;
}

TEST(BinaryInterface, OperatorMethodsStandInTheirPlaces) {
    const OperatorDriver driver("Sim");
    IUnknown* const op = driver.operator->();
    EXPECT_EQ(CallPlace(op, 1), 2);
    EXPECT_EQ(CallPlace(op, 2), 1);
    EXPECT_EQ(CallPlace(op, 4, short{1}, u"2", static_cast<TextSlot*>(nullptr)), S_OK);
    EXPECT_EQ(Taken(AnswerAt<TextSlot>(op, 3)), "Sim( %s, 2)");
    EXPECT_EQ(AnswerAt<ushort>(op, 5), 1);
    EXPECT_EQ(AnswerAt<ushort>(op, 6, short{7}), 7);
    EXPECT_EQ(Taken(AnswerAt<TextSlot>(op, 7, short{0})), "");
    EXPECT_EQ(AnswerAt<ushort>(op, 8), 1);
    EXPECT_EQ(Taken(AnswerAt<TextSlot>(op, 9, short{0})), "curve1");
    ushort kind = 9, second = 9;
    EXPECT_EQ(AnswerAt<ushort>(op, 10, short{0}, &kind, &second), 0);
    EXPECT_EQ(kind * 10 + second, 10);
    uint first = 9, last = 9;
    EXPECT_EQ(CallPlace(op, 11, 5, 5, &first, &last), S_OK);
    EXPECT_EQ(first * 10 + last, 1u);
    EXPECT_EQ(AnswerAt<ushort>(op, 12), 1);
    EXPECT_EQ(Taken(AnswerAt<TextSlot>(op, 13, short{0})), "2");
    EXPECT_EQ(AnswerAt<uint>(op, 14), 2u);
    const double one = 1.0, two = 2.0;
    double value = 0.0;
    EXPECT_EQ(CallPlace(op, 15, 1, &one), S_OK);
    EXPECT_EQ(CallPlace(op, 16, 1, &one, 1, &value), S_OK);
    EXPECT_EQ(CallPlace(op, 17, short{1}), S_OK);
    EXPECT_EQ(CallPlace(op, 16, 1, &two, 1, &value), S_OK);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(CallPlace(op, 18, short{2}), S_FALSE);
    EXPECT_EQ(CallPlace(op, 18, short{1}), S_OK);
    EXPECT_EQ(CallPlace(op, 16, 1, &one, 1, &value), S_OK);
    EXPECT_EQ(value, 1.0);
}

TEST(BinaryInterface, BarMethodsStandInTheirPlaces) {
    const OperatorDriver driver("BarAdd");
    IUnknown* const bars = driver.Bars();
    const double first[] = {1, 4, 0, 2, 10}, gap[] = {U, 5, 1, U, 10};
    double out[] = {0, 0, 0, 0};
    EXPECT_EQ(CallPlace(bars, 3, 1, 9, 5, first), S_OK);
    EXPECT_EQ(CallPlace(bars, 4, 0, 5, gap, 4, out), S_OK);
    EXPECT_EQ(std::vector<double>(out, out + 4), (std::vector<double>{11, 15, 11, 12}));
    for (const auto& [place, expected] : {std::pair{5, 0u}, {6, 1u}, {7, 0u}, {8, 3u}}) {
        uint flag = 9;
        EXPECT_EQ(CallPlace(bars, static_cast<std::size_t>(place), &flag), S_OK);
        EXPECT_EQ(flag, expected) << place;
    }
    EXPECT_EQ(CallPlace(bars, 9, 2, first), S_OK);

    double untouched[] = {7, 7, 7, 7, 7};
    EXPECT_EQ(driver->Calculate(5, first, 3, untouched), S_OK) << "bars come through the second interface alone";
    EXPECT_EQ(std::vector<double>(untouched, untouched + 5), (std::vector<double>{U, U, U, 7, 7}));
}

// A caller in another language can hand over null for an identifier.
TEST(BinaryInterface, MissingIdsAreRefused) {
    const GUID* const none = nullptr;
    const GUID id = ClassIdOf("Sim");
    void* object = &object;
    const auto getClassObject =
        reinterpret_cast<HRESULT (*)(const GUID*, const GUID*, void**)>(reinterpret_cast<void*>(&DllGetClassObject));
    EXPECT_EQ(getClassObject(none, &IID_IUnknown, &object), E_INVALIDARG);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(getClassObject(&id, none, &object), E_INVALIDARG);

    ComPtr<IClassFactory> factory;
    ASSERT_EQ(DllGetClassObject(id, IID_IClassFactory, factory.Slot()), S_OK);
    EXPECT_EQ(CallPlace(factory.Get(), 0, none, &object), E_INVALIDARG);
    EXPECT_EQ(CallPlace(factory.Get(), 3, static_cast<IUnknown*>(nullptr), none, &object), E_INVALIDARG);
    const OperatorDriver driver("Sim");
    EXPECT_EQ(CallPlace(driver.operator->(), 0, none, &object), E_INVALIDARG);
}

}  // namespace
}  // namespace sarvane::test
