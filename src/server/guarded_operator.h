#pragma once

// The layer between an operator and its object forms: it keeps exceptions inside the module, and decides what an object
// may still be asked for after one.

#include "platform/guarded_call.h"
#include "sarvane/operator.h"
#include "server/lost_snapshots.h"

#include <cstdint>
#include <type_traits>

namespace sarvane {

// What both kinds of operators need. An exception in the middle of a bar, of a new run or of a restore leaves the running
// state half changed: bars are refused from then on, until a new run or a restored snapshot has replaced all of it.
template <class Operator>
class GuardedState : public Operator {
public:
    // Operators read the text before they change anything, so a parameter keeps its value when that fails.
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) noexcept override {
        return Guarded([&] { return Operator::SetParameter(index, value, error); });
    }

    // A failed save leaves a slot that can't be restored, be it new or used before.
    STDMETHODIMP SaveState(short slot) noexcept override {
        if constexpr (noexcept(this->Operator::SaveState(slot))) {
            return Operator::SaveState(slot);
        } else {
            if (slot < 0) return Operator::SaveState(slot);
            if (IsRunningState(slot)) return IsUsable() ? Operator::SaveState(slot) : E_OUTOFMEMORY;
            const HRESULT status = Guarded([&] {
                if (!IsUsable()) return E_OUTOFMEMORY;
                lost.MakeRoom(slot);
                return Operator::SaveState(slot);
            });
            FAILED(status) ? lost.Lose(slot) : lost.Keep(slot);
            return status;
        }
    }

    STDMETHODIMP RestoreState(short slot) noexcept override {
        if (IsRunningState(slot)) return IsUsable() ? Operator::RestoreState(slot) : E_OUTOFMEMORY;
        if (lost.Contains(slot)) return S_FALSE;
        return Renew([&] { return Operator::RestoreState(slot); });
    }

protected:
    // Runs what replaces the running state.
    template <class Call>
    HRESULT Renew(Call call) noexcept {
        const HRESULT status = Guarded(call);
        if (status == S_OK) refusedUpTo = Null;
        if (status == E_OUTOFMEMORY) refusedUpTo = AnyAddress;
        return status;
    }

    // Runs one bar. All bars pay for what comes before it: two comparisons and a call.
    template <class Bar>
    HRESULT TakeBar(const double* in, const double* out, Bar bar) noexcept {
        if constexpr (noexcept(bar())) {
            return in && out ? bar() : E_POINTER;
        } else {
            if (AddressOf(in) <= refusedUpTo || !out) return Refuse(in, out);
            // In memory, since a register that outlives the call would have to be saved and restored.
            GuardedState* const volatile self = this;
            try {
                return bar();
            } catch (...) {
                return self->Fail();
            }
        }
    }

private:
    static constexpr std::uintptr_t Null = 0;
    static constexpr std::uintptr_t AnyAddress = UINTPTR_MAX;

    static std::uintptr_t AddressOf(const double* values) { return reinterpret_cast<std::uintptr_t>(values); }

    // In most operators slot 0 is the running state itself, and saving or restoring it copies nothing.
    static constexpr bool IsRunningState(short slot) {
        return slot == 0 && !requires { Operator::HasSnapshotZero; };
    }

    bool IsUsable() const { return refusedUpTo == Null; }

    [[gnu::cold, gnu::noinline]] static HRESULT Refuse(const double* in, const double* out) noexcept {
        return in && out ? E_OUTOFMEMORY : E_POINTER;
    }
    [[gnu::cold, gnu::noinline]] HRESULT Fail() noexcept {
        refusedUpTo = AnyAddress;
        return E_OUTOFMEMORY;
    }

    // Bars whose inputs lie at or below this address are refused. One comparison so finds both arrays that are null and
    // a running state that is unusable.
    std::uintptr_t refusedUpTo = Null;
    LostSnapshots lost;
};

// An operator that is driven by `Reset` and `Calculate`, or, with the second interface, by `ResetBar` and `CalculateBar`.
template <class Operator, bool TakesBars = std::is_base_of_v<IZelmorOp2, Operator>>
class GuardedOperator : public GuardedState<Operator> {
public:
    STDMETHODIMP Reset(int count, const double* seed) noexcept override {
        return this->Renew([&] { return Operator::Reset(count, seed); });
    }
    STDMETHODIMP Calculate(int inCount, const double* in, int outCount, double* out) noexcept override {
        constexpr bool NeverThrows = noexcept(this->Operator::Calculate(inCount, in, outCount, out));
        return this->TakeBar(in, out,
                             [&]() noexcept(NeverThrows) { return Operator::Calculate(inCount, in, outCount, out); });
    }
};

template <class Operator>
class GuardedOperator<Operator, true> : public GuardedState<Operator> {
public:
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* first) noexcept override {
        return this->Renew([&] { return Operator::ResetBar(mode, lastBar, count, first); });
    }
    STDMETHODIMP CalculateBar(int bar, int inputCount, const double* inputs, int outputCount,
                              double* outputs) noexcept override {
        constexpr bool NeverThrows =
            noexcept(this->Operator::CalculateBar(bar, inputCount, inputs, outputCount, outputs));
        return this->TakeBar(inputs, outputs, [&]() noexcept(NeverThrows) {
            return Operator::CalculateBar(bar, inputCount, inputs, outputCount, outputs);
        });
    }
};

}  // namespace sarvane
