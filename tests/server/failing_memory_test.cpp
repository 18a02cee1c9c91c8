// What a host finds when memory runs out: a status, and objects that go on once there is memory again. Each test is
// repeated with the first, the second, the third... allocation failing until none is left to fail.

#include "sarvane/class_info.h"
#include "support/allocation_counter.h"
#include "support/operator_driver.h"
#include "support/random_bars.h"
#include "support/registry.h"

#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <utility>

namespace sarvane::test {
namespace {

// Repeats `attempt` for each allocation that can fail; from the 30th on only for some.
template <class Attempt>
void ForEveryFailure(Attempt attempt, std::size_t share = 0) {
    for (std::size_t n = 1;; n += 1 + (n > 30 ? n * share / 16 : 0)) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
        FailingAllocation failure(n);
        attempt(failure, n);
        if (!failure.HasHappened() || testing::Test::HasFailure()) return;
    }
}

ComPtr<IClassFactory> FactoryOf(std::string_view keyword) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(DllGetClassObject(ClassIdOf(keyword), IID_IClassFactory, factory.Slot()), S_OK);
    return factory;
}

// Owns the operator that it aggregates.
struct Outer final : IUnknown {
    STDMETHODIMP QueryInterface(const GUID&, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }

    ULONG references = 1;
};

// A host that drives an operator and, in the same way, its twin, whose memory never runs out. A call that fails is made
// once more after what it takes to go on; then both have to give the same outputs.
class Session {
public:
    Session(std::string_view operatorKeyword, bool isAggregated, FailingAllocation& failingAllocation, bool byRestoring)
        : keyword(operatorKeyword), failure(failingAllocation), restores(byRestoring), twin(operatorKeyword) {
        Create(isAggregated);
    }

    void SetArgument(int index, std::string_view value) {
        const std::u16string text = Wide(value);
        const auto set = [&] { return op->SetParameter(static_cast<short>(index), text.c_str(), nullptr); };
        const std::string before = failure.HasHappened() ? "" : DescriptionOf(*op.Get());
        const HRESULT expected = twin.Set(index, value);  // TimeAvg refuses a window of 0
        if (Fails(set, expected)) {
            EXPECT_EQ(DescriptionOf(*op.Get()), before) << "after argument " << index;
            EXPECT_EQ(set(), expected);
        }
    }

    void Describe() {
        TextSlot text = nullptr;
        for (const auto& describe : Describing(*op.Get(), text)) {
            if (Fails(describe)) {
                EXPECT_EQ(text, nullptr);
                EXPECT_EQ(describe(), S_OK);
            }
            CoTaskMemFree(std::exchange(text, nullptr));
        }
        inputs = twin.InputCount();
        seed.assign(static_cast<std::size_t>(inputs), UndefinedValue);
    }

    void Reset() {
        if (Fails([&] { return StartRun(); })) {
            CheckRefusal();
            EXPECT_EQ(StartRun(), S_OK);
        }
        twin.Reset();
        if (keyword == "VolStop") saved = 0;  // a new run drops its snapshots
    }

    void Step(int bar, const std::vector<double>& in) {
        std::vector<double> out(static_cast<std::size_t>(twin.OutputCount()), 12345.0);
        const auto step = [&] { return TakeBar(bar, in, out.data()); };
        if (Fails(step)) {
            CheckRefusal();
            restores&& saved ? Restore() : Reset();
            EXPECT_EQ(step(), S_OK);
        }
        twin.SetNextBar(bar);
        ExpectSameBits(out, twin.Step(in), "bar " + std::to_string(bar));
    }

    void Save(short slot) {
        if (keyword == "TimeAvg") return;  // has a one-step undo instead of snapshots
        const auto save = [&] { return op->SaveState(slot); };
        if (Fails(save)) {
            EXPECT_EQ(op->RestoreState(slot), S_FALSE);
            if (restores) {  // go on without the slot
                if (saved == slot) saved = 0;
                return;
            }
            EXPECT_EQ(save(), S_OK);
        }
        EXPECT_EQ(twin->SaveState(slot), S_OK);
        saved = slot;
    }

    void Restore() {
        if (!saved) return;
        const auto restore = [&] { return op->RestoreState(saved); };
        if (Fails(restore)) {
            CheckRefusal();
            EXPECT_EQ(restore(), S_OK);
        }
        EXPECT_EQ(twin->RestoreState(saved), S_OK);
    }

    int Inputs() const { return inputs; }

private:
    void Create(bool isAggregated) {
        const auto factory = FactoryOf(keyword);
        IUnknown* const outside = isAggregated && keyword != "Trix" ? &outer : nullptr;
        const GUID& iid = outside ? IID_IUnknown : IID_IZelmorOp;
        void* object = nullptr;
        const auto create = [&] { return factory->CreateInstance(outside, iid, &object); };
        if (Fails(create)) {
            EXPECT_EQ(object, nullptr);
            EXPECT_EQ(create(), S_OK);
        }
        inner = static_cast<IUnknown*>(object);
        EXPECT_EQ(inner->QueryInterface(IID_IZelmorOp, op.Slot()), S_OK);
        inner->QueryInterface(IID_IZelmorOp2, bars.Slot());
    }

    // Whether a call met the failure, which it must then report.
    template <class Call>
    bool Fails(Call call, HRESULT expected = S_OK) {
        const bool happenedBefore = failure.HasHappened();
        const HRESULT status = failure.During(call);
        // Rings go on with the memory that they have, so that not every failure shows.
        if (status == expected) return false;
        EXPECT_TRUE(!happenedBefore && failure.HasHappened());
        EXPECT_EQ(status, E_OUTOFMEMORY);
        return true;
    }

    // A running state that a failure left half changed serves nobody.
    void CheckRefusal() {
        std::vector<double> in(static_cast<std::size_t>(inputs)), out(static_cast<std::size_t>(twin.OutputCount()));
        EXPECT_EQ(TakeBar(0, in, out.data()), E_OUTOFMEMORY);
        if (keyword == "TimeAvg") return;
        EXPECT_EQ(op->SaveState(2), E_OUTOFMEMORY);
        EXPECT_EQ(op->RestoreState(2), S_FALSE);
        if (keyword != "MedOp") {  // slot 0 is the running state
            EXPECT_EQ(op->RestoreState(0), E_OUTOFMEMORY);
        }
        EXPECT_EQ(TakeBar(0, in, out.data()), E_OUTOFMEMORY);
    }

    HRESULT StartRun() { return bars ? bars->ResetBar(0, 0, inputs, seed.data()) : op->Reset(inputs, seed.data()); }
    HRESULT TakeBar(int bar, const std::vector<double>& in, double* out) {
        return bars ? bars->CalculateBar(bar, inputs, in.data(), twin.OutputCount(), out)
                    : op->Calculate(inputs, in.data(), twin.OutputCount(), out);
    }

    static std::vector<std::function<HRESULT()>> Describing(IZelmorOp& op, TextSlot& text) {
        return {[&] { return op.GetFormula(&text, nullptr); }, [&] { return op.GetInputBarType(0, &text, nullptr); },
                [&] { return op.GetOutputName(0, &text, nullptr); },
                [&] { return op.GetParameterText(0, &text, nullptr); }};
    }
    static std::string DescriptionOf(IZelmorOp& op) {
        std::string all;
        TextSlot text = nullptr;
        op.GetFormula(&text, nullptr);
        all = Taken(text);
        for (short parameter = 0; parameter < 15; ++parameter) {
            op.GetParameterText(parameter, &text, nullptr);
            all += " " + Taken(text);
        }
        uint lookback = 0;
        op.GetLookback(&lookback, nullptr);
        return all + " " + std::to_string(lookback);
    }

    struct ReleasedLast {
        ~ReleasedLast() {
            if (object) object->Release();
        }
        ReleasedLast& operator=(IUnknown* made) {
            object = made;
            return *this;
        }
        IUnknown* operator->() const { return object; }
        IUnknown* object = nullptr;
    };

    const std::string keyword;
    FailingAllocation& failure;
    const bool restores;  // from a snapshot, where there is one, in place of a new run
    short saved = 0;      // the slot that was saved last
    int inputs = 0;
    std::vector<double> seed;
    OperatorDriver twin;
    Outer outer;
    ReleasedLast inner;
    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> bars;
};

// Long texts do not fit into a string without memory.
constexpr const char* ArgumentLists[] = {"000000000000000003 3 3 3 3 3 3 3 3 3 3 3 3 3 3",
                                         "1 0 000000000000000000 4.00000000000000000 3 3 2 1 2 1 2 1 2 1 2"};

void Play(std::string_view keyword, bool second, FailingAllocation& failure, std::size_t n) {
    Session session(keyword, second, failure, n % 2 == 0);
    session.SetArgument(-1, "00000000000000000012");
    std::istringstream arguments(ArgumentLists[second]);
    std::string value;
    for (int index = 1; arguments >> value; ++index) session.SetArgument(index, value);
    session.Describe();
    session.Reset();
    RandomBars random(3);
    for (int bar = 0; bar < 32; ++bar) {
        if (bar % 6 == 2) session.Save(1);
        if (bar % 9 == 4) session.Save(3);
        if (bar % 7 == 5) session.Restore();
        if (bar == 20) session.Reset();
        if (bar == 26) session.Save(9);
        session.Step(bar, random.Next(session.Inputs()));
    }
}

TEST(FailingMemory, OperatorsGoOnAsIfItHadNotBeen) {
    for (const std::string& keyword : AllKeywords()) {
        FactoryOf(keyword);  // which stays
        for (const bool second : {false, true}) {
            SCOPED_TRACE(keyword + (second ? " with the second arguments, aggregated" : ""));
            ForEveryFailure([&](FailingAllocation& failure, std::size_t n) {
                const std::size_t before = LiveAllocations();
                Play(keyword, second, failure, n);
                EXPECT_EQ(LiveAllocations(), before);
                EXPECT_EQ(DllCanUnloadNow(), S_OK);
            });
            if (HasFailure()) return;
        }
    }
}

TEST(FailingMemory, AFactoryIsThereTheNextTime) {
    for (const std::string& keyword : AllKeywords()) {
        ForEveryFailure([&](FailingAllocation& failure, std::size_t) {
            void* object = &failure;
            const GUID id = ClassIdOf(keyword);
            const auto get = [&] { return DllGetClassObject(id, IID_IUnknown, &object); };
            if (failure.During(get) != S_OK) {
                EXPECT_EQ(object, nullptr);
                EXPECT_EQ(get(), S_OK);
            }
            static_cast<IUnknown*>(object)->Release();
            EXPECT_EQ(DllCanUnloadNow(), S_OK);
        });
    }
}

TEST(FailingMemory, AFactoryDescribesItsClassTheNextTime) {
    ComPtr<IZelmorClassInfo> info;
    ASSERT_EQ(DllGetClassObject(ClassIdOf("VolStop"), IID_IZelmorClassInfo, info.Slot()), S_OK);
    TextSlot text = nullptr, meaning = nullptr;
    const std::function<HRESULT()> calls[] = {
        [&] { return info->GetSentence(&text); },
        [&] { return info->GetArgumentMeaning(6, &text); },
        [&] { return info->GetWord(7, 0, &text, &meaning); },
        [&] { return info->GetOutputName(0, &text); },
    };
    for (const auto& call : calls) {
        ForEveryFailure([&](FailingAllocation& failure, std::size_t) {
            text = meaning = nullptr;
            if (failure.During(call) != S_OK) {
                EXPECT_EQ(text, nullptr);
                EXPECT_EQ(meaning, nullptr);
                EXPECT_EQ(call(), S_OK);
            }
            CoTaskMemFree(text);
            CoTaskMemFree(meaning);
        });
    }
}

TEST(FailingMemory, RegistrationReportsItAndSucceedsLater) {
    const TestRegistry registry;
    for (HRESULT (*const run)() : {&DllRegisterServer, &DllUnregisterServer}) {
        ForEveryFailure(
            [&](FailingAllocation& failure, std::size_t) {
                const HRESULT status = failure.During(run);
                EXPECT_TRUE(status == S_OK || (status == E_OUTOFMEMORY && failure.HasHappened())) << status;
                EXPECT_EQ(status == S_OK ? status : run(), S_OK);
            },
            12);
    }
}

}  // namespace
}  // namespace sarvane::test
