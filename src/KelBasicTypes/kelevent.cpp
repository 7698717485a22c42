#include "KelBasicTypes/kelevent.h"

#include "KelBasicTypes/platform/event.h"
#include "KelBasicTypes/platform/nativecondition.h"

using kel::platform::Event;

KelEvent::KelEvent() noexcept = default;

KelEvent::~KelEvent() = default;

bool KelEvent::create() noexcept {
    if (!isNull()) return false;
    event_ = Event::create(kel::platform::EventReset::Manual, false);
    return !isNull();
}

bool KelEvent::close() noexcept {
    if (isNull()) return false;
    event_.reset();
    return true;
}

bool KelEvent::set() noexcept {
    if (isNull()) return false;
    event_->set();
    return true;
}

bool KelEvent::reset() noexcept {
    if (isNull()) return false;
    event_->reset();
    return true;
}

bool KelEvent::wait() noexcept {
    if (isNull()) return false;
    event_->wait();
    return true;
}

bool KelEvent::waitFor(std::uint32_t timeoutMs) noexcept {
    return !isNull() && event_->waitFor(timeoutMs);
}

bool initializeNativeCondition(void* condition) noexcept {
    return kel::platform::initializeNativeCondition(condition);
}
