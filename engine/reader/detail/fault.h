// Why and where a layer of the reader stopped; `read` turns it into a ParseError.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "engine/reader/errors.h"

namespace engine::reader::detail {

inline constexpr std::uint64_t kNoOffset = ~std::uint64_t{0};

struct Fault {
    ErrorCode code = ErrorCode::None;
    std::uint64_t offset = kNoOffset;  // of the culprit, in bytes of the decoded text
    std::string reason;

    [[nodiscard]] explicit operator bool() const noexcept { return code != ErrorCode::None; }
};

}  // namespace engine::reader::detail
