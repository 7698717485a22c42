#include "KelBasicTypes/platform/nativecondition.h"

#include <pthread.h>

namespace kel::platform {

bool initializeNativeCondition(void* condition) noexcept {
    return condition != nullptr && pthread_cond_init(static_cast<pthread_cond_t*>(condition), nullptr) == 0;
}

}  // namespace kel::platform
