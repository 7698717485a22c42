// Whether the direct parser and libxml2, each by itself, say the same about a document without a DOCTYPE.
//
// Compared: the verdict; of an accepted document every event; of a rejected one the events before the error
// as far as both have delivered them, without the text that the error cuts short; the position where both
// name the same error. Not compared: the words, and the code and position where libxml2 has found the error
// its own way, for then these are libxml2's. Errors that are found outside both parsers (encoding,
// characters, namespaces, depth) must be the same.
#pragma once

#include <string>
#include <string_view>

#include "engine/reader/errors.h"
#include "tests/engine/reader_log.h"

namespace engine::reader::test {

[[nodiscard]] inline bool isFoundOutsideTheParsers(const ParseError& error) {
    const auto code = static_cast<std::uint32_t>(error.code);
    const auto isBetween = [code](ErrorCode first, ErrorCode last) {
        return code >= static_cast<std::uint32_t>(first) && code <= static_cast<std::uint32_t>(last);
    };
    return isBetween(ErrorCode::CannotOpen, ErrorCode::BadCharacter) ||
           error.code == statusOf(ErrorCode::TooDeep) ||
           isBetween(ErrorCode::UndeclaredPrefix, ErrorCode::DuplicateExpandedAttribute);
}

// Empty when they agree, else what they disagree about.
[[nodiscard]] inline std::string disagreement(const Reading& direct, const Reading& libxml2) {
    if (direct.error.failed() != libxml2.error.failed()) return "verdict";
    if (!direct.error.failed()) return direct.events == libxml2.events ? "" : "events";
    // One may have come further than the other when it noticed.
    const bool isSameWay = direct.finishedEvents.starts_with(libxml2.finishedEvents) ||
                           libxml2.finishedEvents.starts_with(direct.finishedEvents);
    if (!isSameWay) return "events before the error";
    if (direct.error.code == libxml2.error.code) {
        const bool isSamePlace = direct.error.filePosition == libxml2.error.filePosition &&
                                 direct.error.position.line == libxml2.error.position.line &&
                                 direct.error.position.column == libxml2.error.position.column;
        return isSamePlace ? "" : "position of the error";
    }
    const bool mustBeSame = isFoundOutsideTheParsers(direct.error) || isFoundOutsideTheParsers(libxml2.error);
    return mustBeSame ? "code of the error" : "";
}

}  // namespace engine::reader::test
