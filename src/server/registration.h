#pragma once

#include "server/class_table.h"

#include <string>
#include <string_view>

namespace sarvane {

// The registration script of a class, with the placeholder %MODULE% for the module's path.
std::u16string RegistrationScript(const ClassEntry& entry);

enum class Direction { Register, Remove };

// Runs a script against the platform's registry, with %MODULE% replaced by `modulePath`. E_FAIL if the text is not
// a script; nothing is done then. Otherwise the status of the first step that failed, or S_OK.
//
// Script language: "HKCR" opens the root of class registrations, braces nest keys, `Key = s 'text'` gives a key's
// default value, and `val Name = s 'text'` a named one. Registering a key with `ForceRemove` ahead of it first removes
// the old key with everything below it. On removal a key is deleted with everything below it. A `NoRemove` key stays,
// and only the keys and values that the script lists below it are removed.
HRESULT RunScript(std::u16string_view script, std::u16string_view modulePath, Direction direction);

}  // namespace sarvane
