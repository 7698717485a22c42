// What our own engine reports beyond the platform's interfaces. Each platform has a header of this name, with
// functions that tell nothing where the engine tells nothing.
#pragma once

#include "engine/com/reports.h"
#include "msxml_parser/detail/bstr.h"

namespace msxml {

// Whether the status says that a document goes beyond a limit of the engine.
using ::isLimitStatus;

// The path of the element that an error of validation is about; empty: none is known.
[[nodiscard]] inline BStr pathOf(ISAXLocator* locator) {
    BStr path;
    void* place = nullptr;
    if (locator == nullptr || FAILED(locator->QueryInterface(IID_IXMLErrorPlace, &place))) return path;
    (void)static_cast<IXMLErrorPlace*>(place)->getPath(path.receive());
    static_cast<IXMLErrorPlace*>(place)->Release();
    return path;
}

}  // namespace msxml
