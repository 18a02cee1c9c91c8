#include "platform/operator_module.h"

namespace sarvane::study {

// The operators are linked into the same module.
Outcome<OperatorModule> OperatorModule::Load(const std::string& file) {
    if (!file.empty()) return Problem{.message = "cannot load the operator library: there is none but the one built in"};
    OperatorModule module;
    module.getClassObject = &DllGetClassObject;
    module.allocate = &CoTaskMemAlloc;
    module.freeMemory = &CoTaskMemFree;
    return module;
}

}  // namespace sarvane::study
