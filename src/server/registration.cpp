#include "server/registration.h"

#include "frame/text.h"
#include "platform/platform.h"
#include "sarvane/class_ids.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace sarvane {
namespace {

constexpr std::u16string_view ScriptTemplate = uR"(HKCR
{
    %NAME%.%NAME%.1 = s '%NAME% Class'
    {
        CLSID = s '%CLSID%'
    }
    %NAME%.%NAME% = s '%NAME% Class'
    {
        CurVer = s '%NAME%.%NAME%.1'
    }
    NoRemove CLSID
    {
        ForceRemove %CLSID% = s '%NAME% Class'
        {
            ProgID = s '%NAME%.%NAME%.1'
            VersionIndependentProgID = s '%NAME%.%NAME%'
            InprocServer32 = s '%MODULE%'
            {
                val ThreadingModel = s 'Apartment'
            }
            'Implemented Categories'
            {
                %CATEGORY%
            }
            Keyword = s '%KEYWORD%'
        }
    }
    NoRemove 'Component Categories'
    {
        %CATEGORY% = s 'Zelmor Operators'
    }
}
)";

std::u16string Replaced(std::u16string_view text, std::u16string_view placeholder, std::u16string_view replacement) {
    std::u16string result;
    for (;;) {
        const std::size_t at = text.find(placeholder);
        result += text.substr(0, at);
        if (at == std::u16string_view::npos) return result;
        result += replacement;
        text.remove_prefix(at + placeholder.size());
    }
}

struct ScriptKey {
    std::u16string name;
    bool forceRemove = false;
    bool noRemove = false;
    std::optional<std::u16string_view> text;
    std::vector<std::pair<std::u16string_view, std::u16string_view>> values;
    std::vector<ScriptKey> keys;
};

struct Word {
    std::u16string text;
    bool quoted;

    bool Is(std::u16string_view bare) const { return !quoted && text == bare; }
};

// Splits a script at white space. A word in apostrophes may contain white space.
std::vector<Word> SplitWords(std::u16string_view script) {
    constexpr std::u16string_view WhiteSpace = u" \t\r\n";
    std::vector<Word> words;
    for (;;) {
        script.remove_prefix(std::min(script.find_first_not_of(WhiteSpace), script.size()));
        if (script.empty()) return words;
        const bool quoted = script.front() == u'\'';
        if (quoted) script.remove_prefix(1);
        const std::size_t end = std::min(quoted ? script.find(u'\'') : script.find_first_of(WhiteSpace), script.size());
        words.push_back({std::u16string(script.substr(0, end)), quoted});
        script.remove_prefix(std::min(end + (quoted ? 1 : 0), script.size()));
    }
}

constexpr int GreatestDepth = 100;  // of nested keys; reading recurses, and this is far from the end of any stack

// Turns the words of a script into keys, which refer to the words' texts. Its functions return false if the words are
// not a script.
class ScriptReader {
public:
    explicit ScriptReader(const std::vector<Word>& script) : words(script) {}

    bool Read(ScriptKey& root) { return Take(u"HKCR") && Take(u"{") && ReadBlock(root) && next == words.size(); }

private:
    bool ReadBlock(ScriptKey& parent) {
        if (++depth > GreatestDepth) return false;
        while (!Take(u"}")) {
            if (!(Take(u"val") ? ReadValue(parent) : ReadKey(parent.keys.emplace_back()))) return false;
        }
        --depth;
        return true;
    }
    bool ReadValue(ScriptKey& parent) {
        auto& [name, text] = parent.values.emplace_back();
        return TakeName(name) && Take(u"=") && Take(u"s") && TakeName(text);
    }
    bool ReadKey(ScriptKey& key) {
        key.forceRemove = Take(u"ForceRemove");
        key.noRemove = Take(u"NoRemove");
        std::u16string_view name;
        if (!TakeName(name) || !IsKeyName(name)) return false;
        key.name = name;
        if (Take(u"=") && !(Take(u"s") && TakeName(key.text.emplace()))) return false;
        return !Take(u"{") || ReadBlock(key);
    }

    bool Take(std::u16string_view bare) {
        const bool found = next < words.size() && words[next].Is(bare);
        next += found;
        return found;
    }
    bool TakeName(std::u16string_view& name) {
        if (next == words.size() || words[next].Is(u"{") || words[next].Is(u"}")) return false;
        name = words[next++].text;
        return true;
    }

    // Whether a name is one step of a path. With an empty name, or one that a NUL cuts short, the platform could take
    // the path for that of the key above, and removal would remove all of that key.
    static bool IsKeyName(std::u16string_view name) {
        constexpr std::u16string_view NotInNames(u"\\\0", 2);
        return !name.empty() && name.find_first_of(NotInNames) == std::u16string_view::npos;
    }

    const std::vector<Word>& words;
    std::size_t next = 0;
    int depth = 0;
};

HRESULT RegisterKeys(const std::vector<ScriptKey>& keys, const std::u16string& parent) {
    for (const ScriptKey& key : keys) {
        const std::u16string path = parent + key.name;
        HRESULT status = key.forceRemove ? RemoveRegistryKey(path) : S_OK;
        if (SUCCEEDED(status)) status = CreateRegistryKey(path);
        if (SUCCEEDED(status) && key.text) status = WriteRegistryValue(path, u"", *key.text);
        for (const auto& [name, text] : key.values) {
            if (SUCCEEDED(status)) status = WriteRegistryValue(path, name, text);
        }
        if (SUCCEEDED(status)) status = RegisterKeys(key.keys, path + u'\\');
        if (FAILED(status)) return status;
    }
    return S_OK;
}

HRESULT RemoveKeys(const std::vector<ScriptKey>& keys, const std::u16string& parent) {
    for (const ScriptKey& key : keys) {
        const std::u16string path = parent + key.name;
        HRESULT status = key.noRemove ? RemoveKeys(key.keys, path + u'\\') : RemoveRegistryKey(path);
        for (const auto& [name, text] : key.values) {
            if (SUCCEEDED(status) && key.noRemove) status = RemoveRegistryValue(path, name);
        }
        if (FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace

std::u16string RegistrationScript(const ClassEntry& entry) {
    std::u16string script = Replaced(ScriptTemplate, u"%NAME%", Widen(entry.name));
    script = Replaced(script, u"%CLSID%", BracedText(entry.id));
    script = Replaced(script, u"%CATEGORY%", BracedText(CategoryId));
    return Replaced(script, u"%KEYWORD%", Widen(entry.keyword));
}

HRESULT RunScript(std::u16string_view script, std::u16string_view modulePath, Direction direction) {
    // Replaced only after splitting, since the path may contain white space and apostrophes.
    std::vector<Word> words = SplitWords(script);
    for (Word& word : words) word.text = Replaced(word.text, u"%MODULE%", modulePath);
    ScriptKey root;
    if (!ScriptReader(words).Read(root)) return E_FAIL;
    return direction == Direction::Register ? RegisterKeys(root.keys, u"") : RemoveKeys(root.keys, u"");
}

}  // namespace sarvane
