// The text of a whole document, as the parser has read it and its tree keeps it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace engine::source {

struct SourceText {
    struct Free {
        void operator()(char* block) const noexcept { std::free(block); }
    };
    using Buffer = std::unique_ptr<char, Free>;

    Buffer buffer;          // from malloc
    std::string_view text;  // in the buffer; kSlack bytes may be read beyond its end, the first of them a NUL
    static constexpr std::size_t kSlack = 32;
};

}  // namespace engine::source
