// Error information of each thread, and the ways a failure is reported.
#include <exception>

#include "engine/com/com.h"
#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::com {

namespace {

// One description.
class ErrorInfo final : public Object<ErrorInfo, IErrorInfo, ICreateErrorInfo> {
public:
    ErrorInfo() = default;
    ErrorInfo(const ErrorInfo&) = delete;
    ErrorInfo& operator=(const ErrorInfo&) = delete;
    ~ErrorInfo() { SysFreeString(description_); }

    HRESULT GetDescription(BSTR* description) override {
        if (description == nullptr) return E_POINTER;
        *description = nullptr;
        if (description_ == nullptr) return S_OK;
        *description = SysAllocStringLen(description_, SysStringLen(description_));
        return *description == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    HRESULT SetDescription(OLECHAR* description) override {
        BSTR copy = nullptr;
        if (description != nullptr && (copy = SysAllocString(description)) == nullptr) return E_OUTOFMEMORY;
        takeDescription(copy);
        return S_OK;
    }
    void takeDescription(BSTR description) noexcept {
        SysFreeString(description_);
        description_ = description;
    }

private:
    BSTR description_ = nullptr;
};

// The pointer itself has no destructor, so that it can be used until the thread is gone.
constinit thread_local IErrorInfo* threadInfo = nullptr;
constinit thread_local bool threadEnds = false;  // nothing set from here on would be released

struct ThreadInfoEnd {
    ~ThreadInfoEnd() {
        (void)SetErrorInfo(0, nullptr);
        threadEnds = true;
    }
};

HRESULT failWith(HRESULT status, BSTR description) noexcept {
    auto* info = new (std::nothrow) ErrorInfo;
    if (info == nullptr) {
        SysFreeString(description);
        (void)SetErrorInfo(0, nullptr);
        return status;
    }
    info->takeDescription(description);
    (void)SetErrorInfo(0, info);
    info->Release();
    return status;
}

}  // namespace

HRESULT fail(HRESULT status, std::u16string_view description) noexcept {
    return failWith(status, SysAllocStringLen(description.data(), static_cast<UINT>(description.size())));
}

HRESULT fail(HRESULT status, std::string_view utf8Description) noexcept {
    BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(text::utf16Length(utf8Description)));
    if (text != nullptr) text::convertToUtf16(utf8Description, text);
    return failWith(status, text);
}

HRESULT nullPointer(std::string_view operation) noexcept {
    return guarded([&]() -> HRESULT {
        throw Exception(E_POINTER, std::string(operation) + " was given no address for its result.");
    });
}

HRESULT detail::translateException() noexcept {
    try {
        throw;
    } catch (const Exception& exception) {
        return fail(exception.status(), exception.description());
    } catch (const std::bad_alloc&) {
        return fail(E_OUTOFMEMORY, text::worded("There is not enough memory to complete this operation."));
    } catch (const std::exception& exception) {
        return fail(E_FAIL, std::string_view(exception.what()));
    } catch (...) {
        return fail(E_FAIL, text::worded("The operation failed for a reason that it did not give."));
    }
}

}  // namespace engine::com

HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept {
    if (info == nullptr) return E_POINTER;
    *info = new (std::nothrow) engine::com::ErrorInfo;
    return *info == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SetErrorInfo(ULONG, IErrorInfo* info) noexcept {
    using engine::com::threadInfo;
    if (info != nullptr) {
        if (engine::com::threadEnds) return S_OK;
        thread_local engine::com::ThreadInfoEnd end;
        (void)end;
        info->AddRef();
    }
    IErrorInfo* old = threadInfo;
    threadInfo = info;
    if (old != nullptr) old->Release();
    return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** info) noexcept {
    if (info == nullptr) return E_POINTER;
    *info = engine::com::threadInfo;
    engine::com::threadInfo = nullptr;
    return *info == nullptr ? S_FALSE : S_OK;
}

void _com_issue_error(HRESULT status) {
    throw _com_error(status);
}

void _com_issue_errorex(HRESULT status, IUnknown*, REFIID) {
    engine::com::Ref<IErrorInfo> info;
    (void)GetErrorInfo(0, info.receive());
    if (!info) throw _com_error(status);
    BSTR text = nullptr;
    (void)info->GetDescription(&text);
    _bstr_t description;
    try {
        description = _bstr_t(engine::com::textOf(text));
    } catch (const std::bad_alloc&) {
        description = {};  // the status matters more than its words
    }
    SysFreeString(text);
    throw _com_error(status, description);
}
