#pragma once

namespace sarvane {

// Counts what keeps the module loaded: live operators, references of factories, and locks of LockServer. Operators on
// different threads change this count at the same time, so it is atomic, unlike the reference count of an operator.
void LockModule();
void UnlockModule();
bool IsModuleLocked();

}  // namespace sarvane
