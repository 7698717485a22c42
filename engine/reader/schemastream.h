// Validation of a document while its events go by.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/com/com.h"
#include "engine/reader/events.h"

namespace engine::reader {

// What does not fit a schema, and where.
struct Violation {
    ParseError error;
    // An XPath expression for the element, with the names as written; more than a few dozen steps are cut to
    // the last ones, after "...".
    std::string path;
    // No violation: the document may repeat a value of type xs:ID, which only a tree shows.
    bool isDoubt = false;
};
using ViolationReport = std::function<void(const Violation&)>;

// What a schema collection implements when it is given to a streaming reader.
struct ISchemaStream : IUnknown {
    // A sink that validates the one document whose events it gets, and reports each violation during the
    // event that shows it. What `report` throws comes out of the event. Throws com::Exception if there is no
    // schema.
    virtual std::unique_ptr<EventSink> newValidator(ViolationReport report) = 0;
};
inline constexpr IID IID_ISchemaStream{
    0x91E5B07D, 0xC3A4, 0x4E62, {0xA7, 0x58, 0x1D, 0x0C, 0xF2, 0x86, 0x4B, 0x39}};

}  // namespace engine::reader
