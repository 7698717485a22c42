// What the engine reports beyond the platform's interfaces. Each platform has a header of this name, with
// functions that report nothing where the engine reports nothing, as here.
#pragma once

#include "msxml_parser/detail/text.h"
#include "msxml_parser/ikelxslstylesheet.h"

namespace msxml {

// Whether the status says that a document goes beyond a limit of the engine.
[[nodiscard]] inline bool isLimitStatus(HRESULT) noexcept {
    return false;
}

// Whether the engine says where a validation without a tree leaves it open if a value of type xs:ID is
// repeated, and the status by which it does.
inline constexpr bool kReportsIdDoubts = false;
[[nodiscard]] constexpr bool isIdDoubt(HRESULT) noexcept {
    return false;
}

// The path of the element that an error of validation is about; empty: none is known.
[[nodiscard]] inline BStr pathOf(ISAXLocator*) {
    return {};
}

// What a style sheet reports: this engine offers no receiver.
class StyleSheetReports final {
public:
    void setHandler(IKelXslMessageHandler*) noexcept {}
    void attachTo(IUnknown*) noexcept {}
    void rethrow() const noexcept {}
};

}  // namespace msxml
