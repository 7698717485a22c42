// The way back from UTF-8: the bytes of a document in the encoding that it is to be written in. The names are
// those that the reader knows. Threads: an object belongs to one thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace engine::source {

class Encoder {
public:
    Encoder() = default;
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    virtual ~Encoder() = default;

    // Null: the encoding is not known. The names of UTF-8 give an encoder, too, which changes nothing.
    [[nodiscard]] static std::unique_ptr<Encoder> create(std::string_view name);

    // Has a code for every character.
    [[nodiscard]] virtual bool isUnicode() const noexcept { return true; }
    [[nodiscard]] virtual bool isUtf8() const noexcept { return false; }
    [[nodiscard]] virtual bool has(char32_t) { return true; }
    // What a document begins with; empty for most.
    [[nodiscard]] virtual std::string_view mark() const noexcept { return {}; }
    // Appends the bytes of a text that ends with a whole character, all of which the encoding has.
    virtual void append(std::string_view utf8, std::string& to) = 0;
    // What the bytes end with, in an encoding that has states.
    virtual void finish(std::string&) {}
};

}  // namespace engine::source
