#pragma once

#include "server/class_table.h"

#include <string>
#include <string_view>

namespace sarvane {

// The registration script of a class. It still holds %MODULE% where the module's path goes.
std::u16string RegistrationScript(const ClassEntry& entry);

enum class Direction { Register, Remove };

// Runs a script against the platform's registry, with %MODULE% replaced by `modulePath`. E_FAIL for a text that is no
// script, before anything is done; otherwise the status of the first step that failed.
//
// Script language: "HKCR" opens the root of class registrations, braces nest keys, `Key = s 'text'` gives a key's
// default value, and `val Name = s 'text'` a named one. `ForceRemove` ahead of a key removes it with all below it
// before it is created. Towards removal keys go with all below them, but for a key with `NoRemove`, where only what
// the script has below it is handled.
HRESULT RunScript(std::u16string_view script, std::u16string_view modulePath, Direction direction);

}  // namespace sarvane
