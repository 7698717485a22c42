#include "tools/kelxml/platform/encoding.h"

#include <cerrno>
#include <cstddef>

#include <iconv.h>
#include <langinfo.h>

namespace kelxml {

namespace {

// Empty: texts stay as they are.
std::string foreignEncoding() {
    std::string name = ::nl_langinfo(CODESET);
    return name == "UTF-8" || name == "ANSI_X3.4-1968" || name == "US-ASCII" ? std::string() : name;
}

class Converter {
public:
    explicit Converter(const std::string& encoding)
        : handle_(::iconv_open((encoding + "//TRANSLIT").c_str(), "UTF-8")) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (isThere()) ::iconv_close(handle_);
    }

    [[nodiscard]] bool isThere() const {
        return handle_ != reinterpret_cast<iconv_t>(-1);  // NOLINT(performance-no-int-to-ptr): its own sign
    }

    [[nodiscard]] std::string convert(std::string_view text) const {
        std::string result;
        char* in = const_cast<char*>(text.data());  // iconv only reads it
        std::size_t inLeft = text.size();
        while (inLeft > 0) {
            char block[1024];
            char* out = block;
            std::size_t outLeft = sizeof block;
            const std::size_t status = ::iconv(handle_, &in, &inLeft, &out, &outLeft);
            const int error = errno;
            result.append(block, sizeof block - outLeft);
            if (status != static_cast<std::size_t>(-1) || error == E2BIG) continue;
            result += '?';
            for (++in, --inLeft; inLeft > 0 && (static_cast<unsigned char>(*in) & 0xC0) == 0x80; --inLeft)
                ++in;
        }
        return result;
    }

private:
    iconv_t handle_;
};

}  // namespace

std::string inTerminalEncoding(std::string_view utf8) {
    static const std::string encoding = foreignEncoding();
    if (encoding.empty()) return std::string(utf8);
    const Converter converter(encoding);
    return converter.isThere() ? converter.convert(utf8) : std::string(utf8);
}

}  // namespace kelxml
