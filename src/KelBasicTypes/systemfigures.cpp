#include <algorithm>

#include "KelBasicTypes/detail/systemfigures.h"
#include "KelBasicTypes/platform/memorystatus.h"

namespace kel::detail {

bool systemFigures(MemoryFigures& result, std::uint32_t divisor) noexcept {
    result = {};
    platform::MemoryStatus status;
    if (!platform::readMemoryStatus(status)) return false;
    const std::uint64_t unit = std::max<std::uint32_t>(divisor, 1);
    const auto beyond = [](std::uint64_t whole, std::uint64_t part) {
        return whole > part ? whole - part : 0;
    };
    const std::uint64_t swapTotal =
        std::min(beyond(status.totalVirtual, status.totalPhysical), status.totalPageFile);
    const std::uint64_t swapFree = std::min(
        {swapTotal, beyond(status.availableVirtual, status.availablePhysical), status.availablePageFile});
    result = {status.availablePhysical / unit, status.totalPhysical / unit, swapFree / unit,
              swapTotal / unit};
    return true;
}

}  // namespace kel::detail
