#include "msxml_parser/detail/customizer.h"

#include <atomic>
#include <new>

#include "msxml_parser/detail/platformcom.h"

bool MSXMLParserComponentCustomizer::start() {
    (void)CoInitialize(nullptr);
    return true;
}

bool MSXMLParserComponentCustomizer::stop() {
    CoUninitialize();
    return true;
}

namespace msxml {
namespace {

struct Kept {
    const void* object;
    Kept* next;
};

constinit std::atomic<Kept*> newest{nullptr};

}  // namespace

void keepUntilProcessEnd(const void* object) noexcept {
    if (object == nullptr) return;
    auto* const entry = new (std::nothrow) Kept{object, nullptr};
    if (entry == nullptr) return;  // the object stays alive all the same
    entry->next = newest.load(std::memory_order_relaxed);
    while (!newest.compare_exchange_weak(entry->next, entry, std::memory_order_release)) {
    }
}

}  // namespace msxml
