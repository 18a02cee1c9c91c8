#include "operators/operator_library.h"

#include "language/parser.h"
#include "language/unicode.h"
#include "sarvane/class_ids.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <locale>
#include <new>
#include <sstream>

namespace sarvane::study {
namespace {

constexpr int HistoryIndex = -1, DigitsIndex = -2;

std::string StatusText(HRESULT status) {
    constexpr const char* Hex = "0123456789ABCDEF";
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) text += Hex[static_cast<std::uint32_t>(status) >> shift & 15];
    return text;
}

}  // namespace

std::string_view KindName(ArgumentKind kind) {
    switch (kind) {
    case ArgumentKind::Curve: return "curve";
    case ArgumentKind::Bar: return "bar";
    case ArgumentKind::Count: return "count";
    case ArgumentKind::Number: return "number";
    case ArgumentKind::Switch: return "switch";
    case ArgumentKind::Word: return "word";
    }
    return "";
}

std::string ArgumentInfo::Range() const {
    std::ostringstream range;
    range.imbue(std::locale::classic());
    range << KindName(kind);
    if (std::isfinite(least)) range << " from " << least;
    if (std::isfinite(greatest)) range << " to " << greatest;
    if (canBeBound) range << ", or a curve";
    return range.str();
}

std::optional<std::size_t> OperatorClass::FindArgument(std::string_view wanted) const {
    const auto found = std::ranges::find_if(
        arguments, [&](const ArgumentInfo& argument) { return EqualIgnoringCase(argument.name, wanted); });
    if (found == arguments.end()) return std::nullopt;
    return static_cast<std::size_t>(found - arguments.begin());
}

Outcome<OperatorLibrary> OperatorLibrary::Load(const std::string& file) {
    const Outcome<OperatorModule> module = OperatorModule::Load(file);
    if (!module) return module.Fault();
    OperatorLibrary library(*module);
    for (const GUID& id : ClassId::All) {
        ComPtr<IZelmorClassInfo> info;
        const HRESULT status = module->GetClassObject(id, IID_IZelmorClassInfo, info.Slot());
        if (status == E_OUTOFMEMORY) return OutOfMemory();
        if (FAILED(status)) {
            return Problem{.message =
                               "this operator library does not describe its classes: status " + StatusText(status)};
        }
        library.classes.push_back(library.Described(id, *info.Get()));
        if (auto problem = library.LearnSlots(library.classes.back())) return *problem;
    }
    std::ranges::sort(library.classes, {}, &OperatorClass::keyword);
    return library;
}

OperatorClass OperatorLibrary::Described(const GUID& id, IZelmorClassInfo& info) const {
    TextSlot text = nullptr;
    const auto taken = [&](HRESULT status) { return Take(SUCCEEDED(status) ? text : nullptr); };
    OperatorClass described;
    described.id = id;
    described.keyword = taken(info.GetKeyword(&text));
    described.name = taken(info.GetName(&text));
    described.sentence = taken(info.GetSentence(&text));
    ushort count = 0, number = 0;
    info.GetArgumentCount(&count);
    for (short n = 0; n < count; ++n) {
        ArgumentInfo& argument = described.arguments.emplace_back();
        argument.name = taken(info.GetArgumentName(n, &text));
        argument.meaning = taken(info.GetArgumentMeaning(n, &text));
        argument.standard = taken(info.GetArgumentDefault(n, &text));
        info.GetArgumentRange(n, &argument.least, &argument.greatest);
        if (SUCCEEDED(info.GetArgumentKind(n, &number))) argument.kind = static_cast<ArgumentKind>(number);
        if (SUCCEEDED(info.GetArgumentUse(n, &number))) {
            argument.isOptional = number & ArgumentIsOptional;
            argument.canBeBound = number & ArgumentCanBeBound;
        }
        ushort words = 0;
        info.GetWordCount(n, &words);
        for (short word = 0; word < words; ++word) {
            TextSlot meaning = nullptr;
            if (FAILED(info.GetWord(n, word, &text, &meaning))) continue;
            const HandedText ownedMeaning = Own(meaning);
            argument.words.push_back({Take(text), ownedMeaning ? Utf8(ownedMeaning.get()) : std::string()});
        }
    }
    info.GetOutputCount(&count);
    for (short n = 0; n < count; ++n) {
        OutputInfo& output = described.outputs.emplace_back();
        output.name = taken(info.GetOutputName(n, &text));
        output.meaning = taken(info.GetOutputMeaning(n, &text));
        if (SUCCEEDED(info.GetOutputDrawing(n, &number))) output.drawing = static_cast<DrawnAs>(number);
    }
    return described;
}

// Tried on an object of its own, which goes again.
std::optional<Problem> OperatorLibrary::LearnSlots(OperatorClass& operatorClass) const {
    constexpr short NeverSaved = 32767;
    const Outcome<ComPtr<IZelmorOp>> probe = Create(operatorClass, {});
    if (!probe) return probe.Fault();
    IZelmorOp& op = *probe->Get();
    operatorClass.keepsSnapshots = op.RestoreState(NeverSaved) != S_OK;
    op.SaveState(2);
    op.SaveState(1);
    operatorClass.dropsHigherSlots = op.RestoreState(2) != S_OK;
    return std::nullopt;
}

TextSlot OperatorLibrary::Hand(std::string_view text) const {
    const std::u16string wide = Utf16(text);
    const std::size_t bytes = (wide.size() + 1) * sizeof(char16_t);
    void* const memory = module.Allocate(bytes);
    if (memory) std::memcpy(memory, wide.c_str(), bytes);
    return static_cast<TextSlot>(memory);
}

const OperatorClass* OperatorLibrary::Find(std::string_view keyword) const {
    const auto found = std::ranges::find_if(
        classes, [&](const OperatorClass& known) { return EqualIgnoringCase(known.keyword, keyword); });
    return found == classes.end() ? nullptr : &*found;
}

Outcome<ComPtr<IZelmorOp>> OperatorLibrary::Create(const OperatorClass& operatorClass,
                                                   const OperatorSettings& settings) const {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> created;
    HRESULT status = module.GetClassObject(operatorClass.id, IID_IClassFactory, factory.Slot());
    if (SUCCEEDED(status)) status = factory->CreateInstance(nullptr, IID_IZelmorOp, created.Slot());
    if (status == E_OUTOFMEMORY) return OutOfMemory();
    if (FAILED(status)) {
        return Problem{.message = operatorClass.keyword + " cannot be created: status " + StatusText(status)};
    }
    std::string refusal = SetArgument(*created.Get(), operatorClass, HistoryIndex, std::to_string(settings.history));
    if (refusal.empty() && settings.digits) {
        refusal = SetArgument(*created.Get(), operatorClass, DigitsIndex, std::to_string(*settings.digits));
    }
    if (!refusal.empty()) return Problem{.message = operatorClass.keyword + ": " + refusal};
    return created;
}

std::string OperatorLibrary::SetArgument(IZelmorOp& op, const OperatorClass& operatorClass, int index,
                                         std::string_view text) const {
    TextSlot error = nullptr;
    const HRESULT status = op.SetParameter(static_cast<short>(index), Utf16(text).c_str(), &error);
    const std::string message = Take(error);
    if (status == S_OK) return {};
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
    if (!message.empty()) return message;
    const auto place = static_cast<std::size_t>(index);
    if (index < 0 || place >= operatorClass.arguments.size()) {
        const std::string_view setting = index == HistoryIndex ? "the history" : "the digits";
        return std::string(setting).append(" can't be ").append(text);
    }
    const ArgumentInfo& argument = operatorClass.arguments[place];
    return "`" + argument.name + "` must be a " + argument.Range() + ", but is " + std::string(text);
}

std::string OperatorLibrary::Take(TextSlot text) const {
    const HandedText owned = Own(text);
    return owned ? Utf8(owned.get()) : std::string();
}

}  // namespace sarvane::study
