// From an encoding to UTF-8, in pieces that may end anywhere: the bytes of an unfinished character are not
// consumed. A table for encodings of one byte, a loop for UTF-16, iconv for everything else.
#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "engine/source/encoding.h"
#include "engine/text/chars.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::source {
namespace {

Fault badByte(char byte, std::string_view encoding) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return {ErrorCode::BadByte, kNoOffset, text::worded("Byte %1 is not valid in %2.", hex, encoding)};
}

Fault cutShort(std::string_view encoding) {
    return {ErrorCode::BadByte, kNoOffset,
            text::worded("The document ends in the middle of a character (encoding %1).", encoding)};
}

// One byte, one character.
class TableTranscoder final : public Transcoder {
public:
    TableTranscoder(Encoding encoding, std::string name) : name_(std::move(name)) {
        for (char32_t c = 0; c < 256; ++c) table_[c] = static_cast<char16_t>(c);
        if (encoding == Encoding::Ascii) std::fill(table_.begin() + 128, table_.end(), kUnusedByte);
        if (encoding == Encoding::Windows1252)
            std::copy(kWindows1252.begin(), kWindows1252.end(), table_.begin() + 128);
    }

    Transcoded convert(std::string_view from, bool, std::string& to) override {
        const std::size_t start = to.size();
        to.resize(start + from.size() * 3);
        char* out = to.data() + start;
        Transcoded result;
        for (; result.consumed < from.size(); ++result.consumed) {
            const char byte = from[result.consumed];
            const char16_t c = table_[static_cast<unsigned char>(byte)];
            if (c < 0x80) {
                *out++ = static_cast<char>(c);
            } else if (c == kUnusedByte) {
                result.fault = badByte(byte, name_);
                break;
            } else {
                out = text::writeUtf8(out, c);
            }
        }
        to.resize(static_cast<std::size_t>(out - to.data()));
        return result;
    }

private:
    std::string name_;
    std::array<char16_t, 256> table_;
};

// A lone surrogate goes through as three bytes, and the filter rejects it by name.
class Utf16Transcoder final : public Transcoder {
public:
    explicit Utf16Transcoder(bool isLittle)
        : swap_(isLittle != (std::endian::native == std::endian::little)) {}

    Transcoded convert(std::string_view from, bool last, std::string& to) override {
        units_.resize(from.size() / 2);
        if (!units_.empty()) std::memcpy(units_.data(), from.data(), units_.size() * 2);
        if (swap_) {
            for (char16_t& unit : units_) unit = static_cast<char16_t>((unit << 8) | (unit >> 8));
        }
        if (!last && !units_.empty() && (units_.back() & 0xFC00) == 0xD800) units_.pop_back();
        const std::size_t start = to.size();
        to.resize(start + units_.size() * 3);
        to.resize(start + text::convertToUtf8({units_.data(), units_.size()}, to.data() + start));
        Transcoded result{units_.size() * 2, {}};
        if (last && from.size() % 2 != 0) result.fault = cutShort("UTF-16");
        return result;
    }

private:
    bool swap_;
    std::vector<char16_t> units_;
};

class ForeignTranscoder final : public Transcoder {
public:
    ForeignTranscoder(iconv_t converter, std::string name) : converter_(converter), name_(std::move(name)) {}
    ~ForeignTranscoder() override { iconv_close(converter_); }
    ForeignTranscoder(const ForeignTranscoder&) = delete;
    ForeignTranscoder& operator=(const ForeignTranscoder&) = delete;

    Transcoded convert(std::string_view from, bool last, std::string& to) override {
        char* in = const_cast<char*>(from.data());  // iconv's signature; it writes nothing there
        std::size_t left = from.size();
        Transcoded result;
        while (left != 0) {
            const std::size_t start = to.size();
            to.resize(start + left * 2 + 16);
            char* out = to.data() + start;
            std::size_t room = to.size() - start;
            const std::size_t status = iconv(converter_, &in, &left, &out, &room);
            const int error = errno;
            to.resize(to.size() - room);
            if (status != static_cast<std::size_t>(-1)) break;
            if (error == E2BIG) continue;
            if (error != EINVAL)
                result.fault = badByte(*in, name_);
            else if (last)
                result.fault = cutShort(name_);
            break;
        }
        result.consumed = from.size() - left;
        return result;
    }

private:
    iconv_t converter_;
    std::string name_;
};

}  // namespace

std::unique_ptr<Transcoder> Transcoder::create(const Detection& detection) {
    switch (detection.encoding) {
        case Encoding::Utf8:
            return nullptr;
        case Encoding::Latin1:
        case Encoding::Ascii:
        case Encoding::Windows1252:
            return std::make_unique<TableTranscoder>(detection.encoding, detection.name);
        case Encoding::Utf16Little:
        case Encoding::Utf16Big:
            return std::make_unique<Utf16Transcoder>(detection.encoding == Encoding::Utf16Little);
        case Encoding::Foreign:
            break;
    }
    iconv_t converter = iconv_open("UTF-8", detection.name.c_str());
    if (converter == reinterpret_cast<iconv_t>(-1)) return nullptr;  // iconv's own mark of failure
    try {
        return std::make_unique<ForeignTranscoder>(converter, detection.name);
    } catch (...) {
        iconv_close(converter);
        throw;
    }
}

}  // namespace engine::source
