#include "library.h"

#include "failure.h"
#include "sarvane/class_ids.h"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/locale/encoding_utf.hpp>
#include <fmt/ranges.h>
#include <numeric>

namespace sarvane::study {
namespace {

constexpr int HistoryIndex = -1, DigitsIndex = -2;

std::string Utf8(std::u16string_view text) {
    return boost::locale::conv::utf_to_utf<char>(text.data(), text.data() + text.size());
}

// Letters to insert, remove or change until `a` is `b`.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const bool same = EqualIgnoringCase(a.substr(i, 1), b.substr(j, 1));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::u16string Utf16(std::string_view utf8) {
    return boost::locale::conv::utf_to_utf<char16_t>(utf8.data(), utf8.data() + utf8.size());
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    return boost::algorithm::iequals(a, b, std::locale::classic());
}

Library::Library(const std::filesystem::path& file) : module(file) {
    const std::u16string category = BracedText(CategoryId);
    for (const std::u16string& wideId : module.ReadKeys(u"CLSID")) {
        const std::string id = Utf8(wideId), key = "CLSID\\" + id;
        const auto guid = ParsedId(std::string_view(id));
        const auto categories = module.ReadKeys(Utf16(key + "\\Implemented Categories"));
        if (!guid || std::ranges::find(categories, category) == categories.end()) continue;
        const std::string progId = ReadValue(key + "\\VersionIndependentProgID");
        classes.push_back({ReadValue(key + "\\Keyword"), progId.substr(0, progId.find('.')), id, *guid});
    }
    std::ranges::sort(classes, {}, &OperatorClass::keyword);
}

std::string Library::ReadValue(const std::string& key) const { return Utf8(module.ReadValue(Utf16(key))); }

const OperatorClass* Library::Find(std::string_view keyword) const {
    const auto found =
        std::ranges::find_if(classes, [&](const auto& known) { return EqualIgnoringCase(known.keyword, keyword); });
    return found == classes.end() ? nullptr : &*found;
}

std::vector<std::string> Library::Nearest(std::string_view keyword) const {
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const OperatorClass& known : classes) {
        const std::size_t distance = EditDistance(keyword, known.keyword);
        if (distance <= 1 + known.keyword.size() / 3) ranked.emplace_back(distance, known.keyword);
    }
    std::ranges::stable_sort(ranked, {}, [](const auto& entry) { return entry.first; });
    std::vector<std::string> nearest;
    for (const auto& [distance, known] : ranked) {
        if (nearest.size() < 3) nearest.push_back(known);
    }
    return nearest;
}

const OperatorClass& Library::FindOrFail(std::string_view keyword) const {
    if (const OperatorClass* const found = Find(keyword)) return *found;
    const std::vector<std::string> nearest = Nearest(keyword);
    Fail("no operator {}{}{}", Quoted(keyword), nearest.empty() ? "" : "; nearest: ", fmt::join(nearest, ", "));
}

ComPtr<IZelmorOp> Library::Create(const OperatorClass& operatorClass, const OperatorSettings& settings) const {
    ComPtr<IClassFactory> factory;
    ComPtr<IZelmorOp> created;
    HRESULT status = module.GetClassObject(operatorClass.guid, IID_IClassFactory, factory.Slot());
    if (SUCCEEDED(status)) status = Checked(factory->CreateInstance(nullptr, IID_IZelmorOp, created.Slot()));
    if (FAILED(status)) {
        Fail("{} cannot be created: status {:#010x}", operatorClass.keyword, static_cast<ULONG>(status));
    }
    const auto handOver = [&](int index, int value) {
        const std::string error = SetArgument(*created.Get(), index, fmt::format("{}", value));
        if (!error.empty()) Fail("{}: {}", operatorClass.keyword, error);
    };
    handOver(HistoryIndex, settings.history);
    if (settings.digits) handOver(DigitsIndex, *settings.digits);
    return created;
}

std::string Library::SetArgument(IZelmorOp& op, int index, std::string_view text) const {
    TextSlot error = nullptr;
    const HRESULT status = op.SetParameter(static_cast<short>(index), Utf16(text).c_str(), &error);
    const std::string message = Take(error);
    if (Checked(status) == S_OK) return {};
    return message.empty() ? fmt::format("refused with status {:#010x}", static_cast<ULONG>(status)) : message;
}

std::string Library::Take(TextSlot text) const {
    if (!text) return {};
    const std::string taken = Utf8(text);
    module.FreeMemory(text);
    return taken;
}

}  // namespace sarvane::study
