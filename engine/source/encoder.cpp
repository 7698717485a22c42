// UTF-8 and UTF-16 are conversions, ASCII, ISO-8859-1 and windows-1252 a table; everything else goes through
// iconv, with a second handle to find out whether a character has a form.
#include "engine/source/encoder.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <new>
#include <vector>

#include "engine/source/encoding.h"
#include "engine/text/chars.h"
#include "engine/text/utf.h"

namespace engine::source {
namespace {

using text::Decoded;

class Utf8Encoder final : public Encoder {
public:
    bool isUtf8() const noexcept override { return true; }
    void append(std::string_view utf8, std::string& to) override { to += utf8; }
};

class Utf16Encoder final : public Encoder {
public:
    Utf16Encoder(bool isLittle, bool isMarked)
        : swap_(isLittle != (std::endian::native == std::endian::little)),
          mark_(!isMarked  ? std::string_view()
                : isLittle ? "\xFF\xFE"
                           : "\xFE\xFF") {}

    std::string_view mark() const noexcept override { return mark_; }
    void append(std::string_view utf8, std::string& to) override {
        units_.resize(utf8.size());
        const std::size_t count = text::convertToUtf16(utf8, units_.data());
        if (swap_) {
            for (std::size_t i = 0; i < count; ++i)
                units_[i] = static_cast<char16_t>((units_[i] << 8) | (units_[i] >> 8));
        }
        to.append(reinterpret_cast<const char*>(units_.data()), count * 2);
    }

private:
    bool swap_;
    std::string_view mark_;
    std::vector<char16_t> units_;
};

// One character, one byte.
class TableEncoder final : public Encoder {
public:
    explicit TableEncoder(Encoding encoding) : encoding_(encoding) {}

    bool isUnicode() const noexcept override { return false; }
    bool has(char32_t c) override { return byteOf(c) >= 0; }
    void append(std::string_view utf8, std::string& to) override {
        for (const char* at = utf8.data(); at != utf8.data() + utf8.size();) {
            const Decoded next = text::decodeAt(at);
            to += static_cast<char>(byteOf(next.character));
            at += next.length;
        }
    }

private:
    // Negative: there is none.
    [[nodiscard]] int byteOf(char32_t c) const noexcept {
        if (c < 0x80) return static_cast<int>(c);
        if (encoding_ == Encoding::Ascii) return -1;
        if (encoding_ == Encoding::Latin1 || c - 0xA0 < 0x60) return c < 0x100 ? static_cast<int>(c) : -1;
        const auto& table = kWindows1252;
        const auto* const found = std::find(table.begin(), table.end(), c);
        return found == table.end() ? -1 : 0x80 + static_cast<int>(found - table.begin());
    }

    Encoding encoding_;
};

class Converter final {
public:
    explicit Converter(const std::string& name) noexcept : handle_(iconv_open(name.c_str(), "UTF-8")) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (isOpen()) iconv_close(handle_);
    }
    [[nodiscard]] bool isOpen() const noexcept { return handle_ != reinterpret_cast<iconv_t>(-1); }
    [[nodiscard]] iconv_t handle() const noexcept { return handle_; }

private:
    iconv_t handle_;
};

// Whatever iconv knows. Asked for each character of the basic plane once.
class ForeignEncoder final : public Encoder {
public:
    explicit ForeignEncoder(const std::string& name) : text_(name), trial_(name) {}

    [[nodiscard]] bool isKnown() const noexcept { return text_.isOpen() && trial_.isOpen(); }
    bool isUnicode() const noexcept override { return false; }
    bool has(char32_t c) override {
        if (c > 0xFFFF) return ask(c);
        if (known_.empty()) known_.resize(0x10000);
        Known& known = known_[c];
        if (known == Known::Unasked) known = ask(c) ? Known::Present : Known::Absent;
        return known == Known::Present;
    }
    void append(std::string_view utf8, std::string& to) override {
        char* in = const_cast<char*>(utf8.data());  // iconv's signature; it writes nothing there
        std::size_t left = utf8.size();
        while (left != 0) {
            const std::size_t start = to.size();
            to.resize(start + left * 2 + 16);
            char* out = to.data() + start;
            std::size_t room = to.size() - start;
            const std::size_t status = iconv(text_.handle(), &in, &left, &out, &room);
            const int error = errno;
            to.resize(to.size() - room);
            if (status == static_cast<std::size_t>(-1) && error != E2BIG) throw std::bad_alloc();
        }
    }

    void finish(std::string& to) override {
        char bytes[64];
        char* out = bytes;
        std::size_t room = sizeof bytes;
        if (iconv(text_.handle(), nullptr, nullptr, &out, &room) != static_cast<std::size_t>(-1))
            to.append(bytes, sizeof bytes - room);
    }

private:
    enum class Known : std::uint8_t { Unasked, Present, Absent };

    [[nodiscard]] bool ask(char32_t c) noexcept {
        char utf8[4];
        char bytes[64];
        char* in = utf8;
        char* out = bytes;
        std::size_t left = static_cast<std::size_t>(text::writeUtf8(utf8, c) - utf8);
        std::size_t room = sizeof bytes;
        (void)iconv(trial_.handle(), nullptr, nullptr, nullptr, nullptr);
        return iconv(trial_.handle(), &in, &left, &out, &room) == 0;  // and not by something similar
    }

    Converter text_;
    Converter trial_;
    std::vector<Known> known_;
};

}  // namespace

std::unique_ptr<Encoder> Encoder::create(std::string_view name) {
    switch (encodingNamed(name)) {
        case Encoding::Utf8:
            return std::make_unique<Utf8Encoder>();
        case Encoding::Utf16Little:
            return std::make_unique<Utf16Encoder>(true, name.size() <= 6);  // "UTF-16" leaves the order open
        case Encoding::Utf16Big:
            return std::make_unique<Utf16Encoder>(false, false);
        case Encoding::Latin1:
        case Encoding::Ascii:
        case Encoding::Windows1252:
            return std::make_unique<TableEncoder>(encodingNamed(name));
        case Encoding::Foreign:
            break;
    }
    auto encoder = std::make_unique<ForeignEncoder>(std::string(name));
    return encoder->isKnown() ? std::move(encoder) : nullptr;
}

}  // namespace engine::source
