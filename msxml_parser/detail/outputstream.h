// Where the engine's bytes go: a stream of the caller's, or a text in memory. Everything is borrowed, and
// counting does nothing: it lives for one call of the engine. Threads: that of the call.
#pragma once

#include <cerrno>
#include <cstddef>
#include <exception>
#include <string>

#include "KelBasicTypes/binio.h"
#include "msxml_parser/detail/inputstream.h"

namespace msxml {

class OutputStream final : public PlainStream {
public:
    explicit OutputStream(BinOutput& out) noexcept : out_(&out) {}
    explicit OutputStream(std::string& text) noexcept : text_(&text) {}

    HRESULT STDMETHODCALLTYPE Write(const void* from, ULONG count, ULONG* done) override {
        ULONG taken = 0;
        const HRESULT status = put(static_cast<const char*>(from), count, taken);
        if (done != nullptr) *done = taken;
        return status;
    }

    // Whether a write failed, and the system's error; 0: none given.
    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }
    [[nodiscard]] int systemError() const noexcept { return systemError_; }
    // What the caller's stream threw, which must not cross the engine.
    void rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

private:
    HRESULT put(const char* from, ULONG count, ULONG& taken) noexcept {
        try {
            if (text_ != nullptr) {
                text_->append(from, count);
                taken = count;
                return S_OK;
            }
            errno = 0;
            while (taken != count) {
                const std::size_t now = out_->writeRaw(from + taken, count - taken);
                if (now == 0) break;
                taken += static_cast<ULONG>(now);
            }
            if (taken == count) return S_OK;
            systemError_ = errno;
        } catch (...) {
            thrown_ = std::current_exception();
        }
        hasFailed_ = true;
        return STG_E_MEDIUMFULL;
    }

    BinOutput* out_ = nullptr;
    std::string* text_ = nullptr;
    std::exception_ptr thrown_;
    int systemError_ = 0;
    bool hasFailed_ = false;
};

}  // namespace msxml
