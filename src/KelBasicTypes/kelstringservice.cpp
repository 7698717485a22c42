// What a string leaves to the host's string support, with the fallbacks for a host that offers none.
#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstddef>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/stringsupport.h"
#include "framework/object/hostlink.h"

namespace {

constexpr char16_t kFirstNonAscii = 128;

// The C library classifies bytes only.
bool isClass(int (*classify)(int), char16_t unit) {
    return unit <= 0xFF && classify(unit) != 0;
}

bool isInside(const KelString& text, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < text.length();
}

KelString shiftLetters(const KelString& text, char16_t first, char16_t last, int distance) {
    if (text.isNull()) return {};
    const auto shifted = [=](char16_t unit) {
        return first <= unit && unit <= last ? static_cast<char16_t>(unit + distance) : unit;
    };
    const std::u16string_view units = text.view();
    KelString result;
    result.overwrite(units.size(),
                     [&](char16_t* out) { std::transform(units.begin(), units.end(), out, shifted); });
    return result;
}

}  // namespace

bool KelString::isDigit(std::int32_t index) const {
    if (!isInside(*this, index)) return false;
    const char16_t unit = text_[index];
    IKelStrSupport* const support = kel::stringSupport();
    return support != nullptr ? support->isDigit(unit) : isClass(std::isdigit, unit);
}

bool KelString::isSpace(std::int32_t index) const {
    if (!isInside(*this, index)) return false;
    const char16_t unit = text_[index];
    IKelStrSupport* const support = kel::stringSupport();
    return support != nullptr ? support->isSpace(unit) : isClass(std::isspace, unit);
}

std::int32_t KelString::compare(const KelString& other) const {
    if (IKelStrSupport* const support = kel::stringSupport()) return support->compare(c_str(), other.c_str());
    return view().compare(other.view());
}

KelString KelString::toLower() const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return shiftLetters(*this, u'A', u'Z', u'a' - u'A');
    KelString result(view());
    support->toLower(result);
    return result;
}

KelString KelString::toUpper() const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return shiftLetters(*this, u'a', u'z', u'A' - u'a');
    KelString result(view());
    support->toUpper(result);
    return result;
}

KelString KelString::mapWhitespace(char16_t replacement) const {
    IKelStrSupport* const support = kel::stringSupport();
    if (support == nullptr) return *this;
    KelString result(view());
    support->normalise(result);
    if (replacement == u' ') return result;
    const std::u16string_view units = result.view();
    KelString mapped;
    mapped.overwrite(units.size(), [&](char16_t* out) {
        const auto isSpace = [support](char16_t unit) { return support->isSpace(unit); };
        std::replace_copy_if(units.begin(), units.end(), out, isSpace, replacement);
    });
    return mapped.assign(mapped.view());  // a NUL as the replacement ends the text
}

const char* KelString::narrow() const& {
    if (narrow_ != nullptr && narrowBytes_ == 0) return narrow_;
    if (IKelStrSupport* const support = kel::stringSupport()) {
        std::string converted;
        support->toNarrow(c_str(), converted);
        *std::copy(converted.begin(), converted.end(), roomForNarrow(converted.size())) = '\0';
        return narrow_;
    }
    const auto isAscii = [](char16_t unit) { return unit < kFirstNonAscii; };
    const std::u16string_view units = view();
    char* out = roomForNarrow(static_cast<std::size_t>(std::count_if(units.begin(), units.end(), isAscii)));
    for (const char16_t unit : units) {
        if (isAscii(unit)) *out++ = static_cast<char>(unit);
    }
    *out = '\0';
    return narrow_;
}

// For that many characters and a NUL.
char* KelString::roomForNarrow(std::size_t length) const {
    const std::size_t bytes = length + 1;
    if (narrow_ == nullptr || static_cast<std::size_t>(narrowBytes_) < bytes) {
        std::int32_t granted = 0;
        auto* const block = static_cast<char*>(kel::takeBuffer(bytes, granted));
        kel::giveBackBuffer(narrowBytes_, narrow_);
        narrow_ = block;
        narrowBytes_ = granted;
    }
    return narrow_;
}

namespace kel {

namespace {

constinit std::atomic<IKelStrSupport*> support{nullptr};  // holds a reference
constinit std::atomic<bool> isLookedUp{false};

// Recursive, for the host may use strings of ours while it is asked. Never destroyed; in place, for the first
// string to ask may be one of a process that has run out of memory.
std::recursive_mutex& lookupLock() {
    alignas(std::recursive_mutex) static std::byte storage[sizeof(std::recursive_mutex)];
    static auto& lock = *new (storage) std::recursive_mutex;
    return lock;
}

void lookUpOnce() {
    const std::scoped_lock guard(lookupLock());
    static constinit bool isRunning = false;
    if (isRunning || isLookedUp.load(std::memory_order_relaxed)) return;
    struct Running {
        Running() { isRunning = true; }
        ~Running() { isRunning = false; }
    } const running;
    void* service = nullptr;
    (void)lookupService(IKelStrSupport::interfaceName(), &service);  // absent: the fallbacks serve
    auto* const found = static_cast<IKelStrSupport*>(service);
    if (found != nullptr) found->addRef();
    support.store(found, std::memory_order_relaxed);
    isLookedUp.store(true, std::memory_order_release);
}

}  // namespace

IKelStrSupport* stringSupport() {
    if (!isLookedUp.load(std::memory_order_acquire)) lookUpOnce();
    return support.load(std::memory_order_relaxed);
}

namespace detail {

void resetStringSupport() {
    isLookedUp = false;
    if (IKelStrSupport* const held = support.exchange(nullptr)) held->release();
}

}  // namespace detail
}  // namespace kel
