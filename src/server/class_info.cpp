// What a class factory tells of its class. It hands out the texts and numbers of the class's description.

#include "frame/operator_contract.h"
#include "platform/guarded_call.h"
#include "server/class_factory.h"

namespace sarvane {
namespace {

// Entry `n` of a list; null if there is no such entry.
template <class List>
auto Find(const List& list, short n) {
    return n >= 0 && static_cast<std::size_t>(n) < list.size() ? std::data(list) + n : nullptr;
}

// A description stands in narrow characters.
HRESULT AnswerText(TextSlot* slot, std::string_view text) {
    return Guarded([&] { return TextOut(slot, Widen(text)); });
}

// Calls `answer` with entry `n` of a list and returns its status. E_INVALIDARG if there is no such entry.
template <class List, class Answering>
HRESULT AnswerFrom(const List& list, short n, Answering answer) {
    const auto found = Find(list, n);
    return found ? answer(*found) : E_INVALIDARG;
}

}  // namespace

STDMETHODIMP CComClassFactory::GetKeyword(TextSlot* keyword) { return AnswerText(keyword, entry.keyword); }

STDMETHODIMP CComClassFactory::GetName(TextSlot* name) { return AnswerText(name, entry.name); }

STDMETHODIMP CComClassFactory::GetSentence(TextSlot* sentence) { return AnswerText(sentence, entry.about->sentence); }

STDMETHODIMP CComClassFactory::GetArgumentCount(ushort* count) { return Answer(count, entry.about->arguments.size()); }

STDMETHODIMP CComClassFactory::GetArgumentName(short argument, TextSlot* name) {
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) { return AnswerText(name, found.name); });
}

STDMETHODIMP CComClassFactory::GetArgumentKind(short argument, ushort* kind) {
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) { return Answer(kind, found.kind); });
}

STDMETHODIMP CComClassFactory::GetArgumentMeaning(short argument, TextSlot* meaning) {
    return AnswerFrom(entry.about->arguments, argument,
                      [&](auto& found) { return AnswerText(meaning, found.meaning); });
}

STDMETHODIMP CComClassFactory::GetArgumentDefault(short argument, TextSlot* text) {
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) { return AnswerText(text, found.standard); });
}

STDMETHODIMP CComClassFactory::GetArgumentRange(short argument, double* least, double* greatest) {
    if (!least || !greatest) return E_POINTER;
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) {
        *least = found.least;
        *greatest = found.greatest;
        return S_OK;
    });
}

STDMETHODIMP CComClassFactory::GetArgumentUse(short argument, ushort* use) {
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) {
        return Answer(use, (found.isOptional ? ArgumentIsOptional : 0) | (found.canBeBound ? ArgumentCanBeBound : 0));
    });
}

STDMETHODIMP CComClassFactory::GetWordCount(short argument, ushort* count) {
    return AnswerFrom(entry.about->arguments, argument, [&](auto& found) { return Answer(count, found.words.size()); });
}

STDMETHODIMP CComClassFactory::GetWord(short argument, short word, TextSlot* text, TextSlot* meaning) {
    if (!text || !meaning) return E_POINTER;
    const ArgumentDescription* const found = Find(entry.about->arguments, argument);
    const WordDescription* const chosen = found ? Find(found->words, word) : nullptr;
    if (!chosen) return E_INVALIDARG;
    TextSlot first = nullptr;
    HRESULT status = AnswerText(&first, chosen->text);
    if (SUCCEEDED(status)) status = AnswerText(meaning, chosen->meaning);
    if (SUCCEEDED(status))
        *text = first;
    else
        CoTaskMemFree(first);
    return status;
}

STDMETHODIMP CComClassFactory::GetOutputCount(ushort* count) { return Answer(count, entry.about->outputs.size()); }

STDMETHODIMP CComClassFactory::GetOutputName(short output, TextSlot* name) {
    return AnswerFrom(entry.about->outputs, output, [&](auto& found) { return TextOut(name, found.name); });
}

STDMETHODIMP CComClassFactory::GetOutputMeaning(short output, TextSlot* meaning) {
    return AnswerFrom(entry.about->outputs, output, [&](auto& found) { return AnswerText(meaning, found.meaning); });
}

STDMETHODIMP CComClassFactory::GetOutputDrawing(short output, ushort* drawing) {
    return AnswerFrom(entry.about->outputs, output, [&](auto& found) { return Answer(drawing, found.drawing); });
}

}  // namespace sarvane
