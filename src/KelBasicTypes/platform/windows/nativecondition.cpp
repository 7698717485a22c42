#include "KelBasicTypes/platform/nativecondition.h"

#include <windows.h>

namespace kel::platform {

bool initializeNativeCondition(void* condition) noexcept {
    if (condition == nullptr) return false;
    InitializeConditionVariable(static_cast<CONDITION_VARIABLE*>(condition));
    return true;
}

}  // namespace kel::platform
