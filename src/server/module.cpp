#include "server/module.h"

#include <atomic>

namespace sarvane {
namespace {

std::atomic<int> locks = 0;

}  // namespace

void LockModule() { ++locks; }
void UnlockModule() { --locks; }
bool IsModuleLocked() { return locks != 0; }

}  // namespace sarvane
