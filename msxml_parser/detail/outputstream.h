// A stream of the caller's as the engine writes to it. Everything is borrowed, as in inputstream.h.
#pragma once

#include <exception>

#include "KelBasicTypes/binio.h"
#include "msxml_parser/detail/inputstream.h"

namespace msxml {

class OutputStream final : public PlainStream {
public:
    explicit OutputStream(BinOutput& out) noexcept : out_(out) {}

    HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* done) override {
        if (done != nullptr) *done = 0;
        if (hasFailed_) return E_FAIL;
        try {
            const std::size_t taken = out_.writeRaw(bytes, count);
            hasFailed_ = taken < count;
            if (done != nullptr) *done = static_cast<ULONG>(taken < count ? taken : count);
        } catch (...) {
            thrown_ = std::current_exception();
            hasFailed_ = true;
        }
        return hasFailed_ ? E_FAIL : S_OK;
    }

    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }
    // What the caller's stream threw.
    void rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

private:
    BinOutput& out_;
    bool hasFailed_ = false;
    std::exception_ptr thrown_;
};

}  // namespace msxml
