// What our own engine reports beyond the platform's interfaces. Each platform has a header of this name, with
// functions that report nothing where the engine reports nothing.
#pragma once

#include <exception>
#include <utility>

#include "engine/com/extension.h"
#include "msxml_parser/detail/reasons.h"
#include "msxml_parser/detail/text.h"
#include "msxml_parser/ikelxslstylesheet.h"

namespace msxml {

// Whether the status says that a document goes beyond a limit of the engine.
using ::isLimitStatus;

// Whether the engine says where a validation without a tree leaves it open if a value of type xs:ID is
// repeated, and the status by which it does.
inline constexpr bool kReportsIdDoubts = true;
[[nodiscard]] constexpr bool isIdDoubt(HRESULT status) noexcept {
    return status == kMayRepeatIdStatus;
}

// The path of the element that an error of validation is about; empty: none is known.
[[nodiscard]] inline BStr pathOf(ISAXLocator* locator) {
    BStr path;
    void* extension = nullptr;
    if (locator == nullptr || FAILED(locator->QueryInterface(IID_IXMLErrorPath, &extension))) return path;
    (void)static_cast<IXMLErrorPath*>(extension)->getPath(path.receive());
    static_cast<IXMLErrorPath*>(extension)->Release();
    return path;
}

// Hands what a style sheet says to a handler. No exception crosses the engine. Life: its owner's business.
class StyleSheetReports final : public IXSLReports {
public:
    void setHandler(IKelXslMessageHandler* handler) noexcept { handler_ = handler; }  // borrowed; null: none
    // To a template or processor, before it works.
    void attachTo(IUnknown* speaker) {
        void* reporting = nullptr;
        if (FAILED(speaker->QueryInterface(IID_IXSLReporting, &reporting))) return;
        (void)static_cast<IXSLReporting*>(reporting)->putReports(handler_ != nullptr ? this : nullptr);
        static_cast<IXSLReporting*>(reporting)->Release();
    }
    // After it has worked: what the handler threw.
    void rethrow() {
        if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
    }

    HRESULT QueryInterface(REFIID, void** object) override {
        if (object != nullptr) *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return 2; }
    ULONG Release() override { return 1; }
    HRESULT message(const OLECHAR* text, bool isLast) override {
        return notify([&] { handler_->message(text, isLast); });
    }
    HRESULT warning(const OLECHAR* text) override {
        return notify([&] {
            const KelString words = translatedReason(text);
            handler_->warning(words.view());
        });
    }

private:
    template <typename Call>
    HRESULT notify(Call&& call) noexcept {
        try {
            if (handler_ != nullptr) call();
            return S_OK;
        } catch (...) {
            thrown_ = std::current_exception();
            return E_ABORT;
        }
    }
    IKelXslMessageHandler* handler_ = nullptr;
    std::exception_ptr thrown_;
};

}  // namespace msxml
