#pragma once

namespace sarvane {

// What keeps the module loaded: live operators, factories in use and LockServer calls. Objects of several threads count
// here, so this count is atomic, unlike their own.
void LockModule();
void UnlockModule();
bool IsModuleLocked();

}  // namespace sarvane
