#pragma once

// The layer between an operator and its object forms. It turns exceptions into statuses, and refuses calls that an
// exception has left without a valid state to work on.

#include "platform/guarded_call.h"
#include "sarvane/operator.h"
#include "server/lost_snapshots.h"

#include <cstdint>
#include <type_traits>

namespace sarvane {

// What operators with one and with both interfaces have in common. An exception in the middle of a bar, a reset or a
// restore leaves the running state half changed. From then on bars are refused, until a reset or a restore has replaced
// the whole state.
template <class Operator>
class GuardedState : public Operator {
public:
    // Operators do what may throw before they change the parameter, so that it keeps its value after an exception.
    STDMETHODIMP SetParameter(short index, const char16_t* value, TextSlot* error) noexcept override {
        return Guarded([&] { return Operator::SetParameter(index, value, error); });
    }

    // After a failed save the slot can't be restored, whether it held a snapshot before or not.
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
    // Runs a call that replaces the running state: a reset or a restore.
    template <class Call>
    HRESULT Renew(Call call) noexcept {
        const HRESULT status = Guarded(call);
        if (status == S_OK) refusedUpTo = Null;
        if (status == E_OUTOFMEMORY) refusedUpTo = AnyAddress;
        return status;
    }

    // Runs one bar. Every bar pays for the checks ahead of it, so they are kept to two comparisons.
    template <class Bar>
    HRESULT TakeBar(const double* in, const double* out, Bar bar) noexcept {
        if constexpr (noexcept(bar())) {
            return in && out ? bar() : E_POINTER;
        } else {
            if (AddressOf(in) <= refusedUpTo || !out) return Refuse(in, out);
            // Volatile, so that the handler reads `this` from memory. Keeping it in a register during the call would
            // cost every bar a save and a restore of that register.
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

    // In most operators slot 0 is the running state itself, and saving or restoring it copies nothing. An operator with
    // a member HasSnapshotZero treats slot 0 in a way of its own.
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

    // Bars whose `in` array has this address or a lower one are refused. It is null while the running state is usable,
    // and the highest address otherwise. Thus one comparison finds both a null array and an unusable state.
    std::uintptr_t refusedUpTo = Null;
    LostSnapshots lost;
};

// Guards the methods that run an operator: `Reset` and `Calculate`, or `ResetBar` and `CalculateBar` if it has the
// second interface.
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
    STDMETHODIMP ResetBar(int mode, int lastBar, int count, const double* seed) noexcept override {
        return this->Renew([&] { return Operator::ResetBar(mode, lastBar, count, seed); });
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
