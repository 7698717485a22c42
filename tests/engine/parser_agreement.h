// Whether the direct parser and libxml2, each by itself, say the same about a document without a DOCTYPE.
//
// Compared: the verdict; of an accepted document every event; of a rejected one the events before the error
// as far as both have delivered them, without the text that the error cuts short; that both or neither find
// an error about namespaces; the position of one about encoding, characters or depth that both find. Other
// codes, positions and words are each parser's own.
#pragma once

#include <string>
#include <string_view>

#include "engine/source/errors.h"
#include "tests/engine/reader_log.h"

namespace engine::reader::test {

[[nodiscard]] inline bool isBetween(const ParseError& error, ErrorCode first, ErrorCode last) {
    const auto code = static_cast<std::uint32_t>(error.code);
    return code >= static_cast<std::uint32_t>(first) && code <= static_cast<std::uint32_t>(last);
}

[[nodiscard]] inline bool isAboutTheSource(const ParseError& error) {
    return isBetween(error, ErrorCode::CannotOpen, ErrorCode::BadCharacter) ||
           error.code == statusOf(ErrorCode::TooDeep);
}

[[nodiscard]] inline bool isAboutNamespaces(const ParseError& error) {
    return isBetween(error, ErrorCode::UndeclaredPrefix, ErrorCode::DuplicateExpandedAttribute);
}

// Empty when they agree, else what they disagree about.
[[nodiscard]] inline std::string disagreement(const Reading& direct, const Reading& libxml2) {
    if (direct.error.failed() != libxml2.error.failed()) return "verdict";
    if (!direct.error.failed()) return direct.events == libxml2.events ? "" : "events";
    // One may have come further than the other when it noticed.
    const bool isSameWay = direct.finishedEvents.starts_with(libxml2.finishedEvents) ||
                           libxml2.finishedEvents.starts_with(direct.finishedEvents);
    if (!isSameWay) return "events before the error";
    if (direct.error.code == libxml2.error.code && isAboutTheSource(direct.error)) {
        const bool isSamePosition = direct.error.filePosition == libxml2.error.filePosition &&
                                    direct.error.position.line == libxml2.error.position.line &&
                                    direct.error.position.column == libxml2.error.position.column;
        return isSamePosition ? "" : "position of the error";
    }
    const bool mustBeSame = isAboutNamespaces(direct.error) || isAboutNamespaces(libxml2.error);
    return mustBeSame && direct.error.code != libxml2.error.code ? "code of the error" : "";
}

}  // namespace engine::reader::test
