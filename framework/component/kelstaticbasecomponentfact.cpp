#include "framework/component/kelstaticbasecomponentfact.h"

#include <new>

#include "framework/component/kelstaticbasecomponent.h"

IKelComponent* KelStaticBaseComponentFact::createComponent() {
    return new (std::nothrow) KelStaticBaseComponent;
}
