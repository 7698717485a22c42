#include "framework/component/componentstate.h"

#include <cstdlib>
#include <cstring>

#include "framework/component/detail/resetcomponent.h"

namespace kel {

constinit IKelClassFactory* defaultClassFactory = nullptr;
constinit IKelComponentFactory* componentFactory = nullptr;
constinit IKelComponentCustomizer* customizerHook = nullptr;

namespace {

constexpr std::size_t kTestClassCapacity = 20;

bool readBreakEnabled() noexcept {
    const char* const value = std::getenv("KEL_BREAK_ENABLED");
    return value == nullptr || std::strcmp(value, "0") != 0;
}

bool breakEnabled = readBreakEnabled();

}  // namespace

bool isBreakEnabled() noexcept {
    return breakEnabled;
}
void setBreakEnabled(bool on) noexcept {
    breakEnabled = on;
}

OneBasedList<KelClassId>& testClassList() {
    static auto& list = *new OneBasedList<KelClassId>(kTestClassCapacity);  // never destroyed
    return list;
}

namespace detail {

void rereadEnvironment() {
    breakEnabled = readBreakEnabled();
}

}  // namespace detail
}  // namespace kel
