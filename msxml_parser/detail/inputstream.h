// Bytes as the engine takes them: a stream over memory, or over a stream of the caller's. Everything is
// borrowed, and counting does nothing: it lives for one call of the engine. Threads: that of the call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <limits>
#include <string_view>

#include "KelBasicTypes/binio.h"
#include "msxml_parser/detail/platformcom.h"

namespace msxml {

// A stream of which an operation or two remain to be written.
class PlainStream : public IStream {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        const bool isOurs = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ISequentialStream) ||
                            IsEqualIID(iid, IID_IStream);
        *object = isOurs ? static_cast<IStream*>(this) : nullptr;
        return isOurs ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IStream** clone) override {
        if (clone != nullptr) *clone = nullptr;
        return E_NOTIMPL;
    }

protected:
    virtual ~PlainStream() = default;
};

class InputStream final : public PlainStream {
public:
    explicit InputStream(std::string_view bytes) noexcept : bytes_(bytes) {}
    explicit InputStream(BinInput& in) noexcept : in_(&in) {}

    HRESULT STDMETHODCALLTYPE Read(void* to, ULONG count, ULONG* done) override {
        ULONG given = 0;
        const HRESULT status = take(static_cast<char*>(to), count, given);
        if (done != nullptr) *done = given;
        return status;
    }

    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }
    // What the caller's stream threw, which must not cross the engine.
    void rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

private:
    HRESULT take(char* to, ULONG count, ULONG& given) noexcept {
        if (hasFailed_) return E_FAIL;
        if (in_ == nullptr) {
            given = static_cast<ULONG>(bytes_.copy(to, count));
            bytes_.remove_prefix(given);
            return given == count ? S_OK : S_FALSE;
        }
        try {
            given = static_cast<ULONG>(std::min<std::size_t>(in_->readRaw(to, count), count));
            hasFailed_ = given == 0 && count != 0 && !in_->good();
        } catch (...) {
            thrown_ = std::current_exception();
            hasFailed_ = true;
        }
        return hasFailed_ ? E_FAIL : given == 0 ? S_FALSE : S_OK;
    }

    std::string_view bytes_;
    BinInput* in_ = nullptr;
    bool hasFailed_ = false;
    std::exception_ptr thrown_;
};

}  // namespace msxml
