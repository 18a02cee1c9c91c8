#pragma once

// An operator in the middle of a run over random bars, for all that measures operators: made and stepped through the
// binary interface, as a host does.

#include "sarvane/class_ids.h"
#include "sarvane/class_info.h"
#include "sarvane/com_ptr.h"
#include "sarvane/operator.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace sarvane::bench {

inline std::string Taken(TextSlot text) {
    std::string taken;
    for (const char16_t* c = text; c && *c; ++c) taken += static_cast<char>(*c);
    CoTaskMemFree(text);
    return taken;
}

inline ComPtr<IZelmorClassInfo> InfoOf(const GUID& id) {
    ComPtr<IZelmorClassInfo> info;
    DllGetClassObject(id, IID_IZelmorClassInfo, info.Slot());
    return info;
}

inline std::string KeywordOf(const GUID& id) {
    TextSlot keyword = nullptr;
    InfoOf(id)->GetKeyword(&keyword);
    return Taken(keyword);
}

inline ComPtr<IZelmorOp> Create(const GUID& id) {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> op;
    DllGetClassObject(id, IID_IClassFactory, factory.Slot());
    factory->CreateInstance(nullptr, IID_IZelmorOp, op.Slot());
    return op;
}

struct Argument {
    short index = 0;
    ArgumentKind kind = ArgumentKind::Count;
    ushort use = 0;  // bits of ArgumentUse
    double least = 0.0;
    double greatest = 0.0;
};

// The arguments that are numbers.
inline std::vector<Argument> NumbersOf(const GUID& id) {
    const ComPtr<IZelmorClassInfo> info = InfoOf(id);
    std::vector<Argument> numbers;
    ushort count = 0, kind = 0;
    info->GetArgumentCount(&count);
    for (short index = 0; index < count; ++index) {
        Argument argument;
        argument.index = index;
        info->GetArgumentKind(index, &kind);
        info->GetArgumentUse(index, &argument.use);
        info->GetArgumentRange(index, &argument.least, &argument.greatest);
        argument.kind = static_cast<ArgumentKind>(kind);
        if (argument.kind == ArgumentKind::Count || argument.kind == ArgumentKind::Number) numbers.push_back(argument);
    }
    return numbers;
}

// The argument that is the length of a class's window: its first count that may be large, or in a class without counts
// such a number. Null if it has none.
inline const Argument* LengthAmong(const std::vector<Argument>& numbers) {
    const auto canBeLong = [](const Argument& argument) { return argument.greatest > 1000.0; };
    auto length = std::ranges::find_if(
        numbers, [&](const Argument& argument) { return argument.kind == ArgumentKind::Count && canBeLong(argument); });
    if (length == numbers.end()) length = std::ranges::find_if(numbers, canBeLong);
    return length == numbers.end() ? nullptr : &*length;
}

inline bool LengthCanBeBound(const GUID& id) {
    const std::vector<Argument> numbers = NumbersOf(id);
    const Argument* length = LengthAmong(numbers);
    return length && length->use & ArgumentCanBeBound;
}

// How an operator gets the length of its window: as a constant, or from a curve, on every bar.
enum class Length { Constant, Bound };

struct Setting {
    short index = 0;
    std::u16string text;
};

inline constexpr int SmallNumber = 3;

// The arguments that a class can't do without are SmallNumber. A window that is read from a curve only needs a
// history that is deep enough.
inline std::vector<Setting> SettingsFor(const GUID& id, int window, Length kind) {
    const auto setting = [](short index, int number) {
        const std::string text = std::to_string(number);
        return Setting{index, std::u16string(text.begin(), text.end())};
    };
    const std::vector<Argument> numbers = NumbersOf(id);
    const Argument* const length = LengthAmong(numbers);
    std::vector<Setting> settings;
    if (kind == Length::Bound) settings.push_back(setting(-1, window + 1));
    for (const Argument& argument : numbers) {
        const bool isLength = &argument == length;
        const bool isNeeded = isLength ? kind == Length::Constant : !(argument.use & ArgumentIsOptional);
        if (isNeeded) settings.push_back(setting(argument.index, isLength ? window : SmallNumber));
    }
    return settings;
}

inline void Prepare(IZelmorOp* op, const std::vector<Setting>& settings) {
    for (const auto& [index, text] : settings) op->SetParameter(index, text.c_str(), nullptr);
}

class SteadyRun {
public:
    static constexpr std::size_t SeriesLength = 4096;  // bars; a run goes round and round

    SteadyRun(const GUID& id, int window, Length kind = Length::Constant) : op(Create(id)) {
        const std::vector<Argument> numbers = NumbersOf(id);
        const Argument* const length = LengthAmong(numbers);
        Prepare(op.Get(), SettingsFor(id, window, kind));
        op->QueryInterface(IID_IZelmorOp2, bars.Slot());
        ushort count = 0;
        op->GetOutputCount(&count, nullptr);
        out.resize(count);
        op->GetInputCount(&count, nullptr);
        inputs = count;
        MakeSeries(length && kind == Length::Bound ? length->index : short{-1}, window, numbers);
        bars ? bars->ResetBar(0, 0, 0, nullptr) : op->Reset(0, nullptr);
        for (std::size_t bar = 0; bar < SeriesLength; ++bar) Step();
    }

    // One new bar.
    void Step() {
        Repeat();
        next = (next + 1) % SeriesLength;
    }
    // The bar that the next Step takes: a host that calls this restores a snapshot before it goes on.
    void Repeat() {
        const double* const in = &series[next * static_cast<std::size_t>(inputs)];
        const int index = static_cast<int>(next), outputs = static_cast<int>(out.size());
        bars ? bars->CalculateBar(index, inputs, in, outputs, out.data())
             : op->Calculate(inputs, in, outputs, out.data());
    }

    IZelmorOp* operator->() const { return op.Get(); }
    void Save() { op->SaveState(1); }
    void Restore() { op->RestoreState(1); }

private:
    void MakeSeries(short boundLength, int window, const std::vector<Argument>& numbers) {
        std::mt19937 random(1);
        std::normal_distribution<double> change(0.0, 0.01);
        std::uniform_real_distribution<double> above(0.0, 1.0);
        double close = 100.0;
        for (std::size_t bar = 0; bar < SeriesLength; ++bar) {
            const double open = close;
            close *= 1.0 + change(random);
            const double high = std::max(open, close) + above(random), low = std::min(open, close) - above(random);
            for (short input = 0; input < inputs; ++input) {
                TextSlot text = nullptr;
                ushort argument = 0;
                op->GetInputBarType(input, &text, nullptr);
                op->GetInputCurve(input, &argument, nullptr);
                const std::string type = Taken(text);
                const bool isNumber = std::ranges::find(numbers, argument, &Argument::index) != numbers.end();
                series.push_back(argument == boundLength   ? window
                                 : isNumber                ? SmallNumber
                                 : type == "BAR_TYPE_OPEN" ? open
                                 : type == "BAR_TYPE_HIGH" ? high
                                 : type == "BAR_TYPE_LOW"  ? low
                                                           : close);
            }
        }
    }

    ComPtr<IZelmorOp> op;
    ComPtr<IZelmorOp2> bars;
    int inputs = 0;
    std::vector<double> series;  // inputs of a bar side by side
    std::vector<double> out;
    std::size_t next = 0;
};

}  // namespace sarvane::bench
