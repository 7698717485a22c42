#include "tools/kelxml/platform/encoding.h"

#include <cerrno>
#include <cstddef>

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

namespace kelxml {

namespace {

// The characters of the locale that the environment names. Loaded when something is first shown, for most
// runs show nothing; and not into the process's locale, which other threads may be using by then.
class Locale {
public:
    Locale() : handle_(::newlocale(LC_CTYPE_MASK, "", nullptr)) {}
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;
    ~Locale() = delete;  // lives as long as the program

    [[nodiscard]] ::locale_t handle() const { return handle_; }

    // Empty: texts stay as they are, as where the system does not know the locale.
    [[nodiscard]] std::string foreignEncoding() const {
        if (handle_ == nullptr) return {};
        std::string name = ::nl_langinfo_l(CODESET, handle_);
        return name == "UTF-8" || name == "ANSI_X3.4-1968" || name == "US-ASCII" ? std::string() : name;
    }

private:
    ::locale_t handle_;
};

// What a character is spelt with where the encoding lacks it depends on the language: the calling thread is
// in the user's locale meanwhile.
class Converter {
public:
    Converter(const Locale& locale, const std::string& encoding)
        : before_(::uselocale(locale.handle())),
          handle_(::iconv_open((encoding + "//TRANSLIT").c_str(), "UTF-8")) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (isThere()) ::iconv_close(handle_);
        ::uselocale(before_);
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
    ::locale_t before_;
    iconv_t handle_;
};

}  // namespace

std::string inTerminalEncoding(std::string_view utf8) {
    static const Locale& locale = *new Locale;
    static const std::string encoding = locale.foreignEncoding();
    if (encoding.empty()) return std::string(utf8);
    const Converter converter(locale, encoding);
    return converter.isThere() ? converter.convert(utf8) : std::string(utf8);
}

}  // namespace kelxml
