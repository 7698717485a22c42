// A parser of one line: the parts in their fixed order, the last two optional. The first fault ends it.
#include "engine/reader/detail/declaration.h"

#include <string_view>

#include "engine/text/chars.h"
#include "engine/text/worded.h"

namespace engine::reader::detail {

using namespace text;
using source::ErrorCode;
using source::Fault;
using source::TextSource;

namespace {

constexpr std::string_view kStart = "<?xml";
constexpr std::string_view kUsual = R"(<?xml version="1.0" encoding="UTF-8"?>)";
constexpr std::size_t kLongest = 4096;

bool isEncodingName(std::string_view text) {
    if (text.empty() || (classOf(text[0]) & kNameStart) == 0 || text[0] == ':' || text[0] == '_')
        return false;
    for (char c : text) {
        if ((classOf(c) & (kNameChar | kNonAscii)) != kNameChar || c == ':') return false;
    }
    return true;
}

bool isVersion(std::string_view text) {
    return text.size() > 2 && text.starts_with("1.") && text.find_first_not_of("0123456789", 2) == text.npos;
}

class DeclarationParser final {
public:
    explicit DeclarationParser(std::string_view text) : text_(text) {}

    Declaration parse() {
        Declaration result;
        at_ = kStart.size();
        result.isStandalone = parseParts();
        result.fault = std::move(fault_);
        result.length = at_;
        return result;
    }

private:
    bool parseParts() {
        const std::string_view version = part("version");
        if (fault_) return false;
        if (partStart_ == kNone)
            return reject(at_, worded("The XML declaration must begin with version=\"1.0\"."));
        if (!isVersion(version))
            return reject(valueStart_, worded("XML version '%1' is not known; \"1.0\" is.", shown(version)));
        const std::string_view encoding = part("encoding");
        if (!fault_ && partStart_ != kNone && !isEncodingName(encoding)) {
            return reject(valueStart_, worded("'%1' cannot be the name of an encoding.", shown(encoding)));
        }
        const std::string_view standalone = fault_ ? std::string_view() : part("standalone");
        if (!fault_ && partStart_ != kNone && standalone != "yes" && standalone != "no") {
            return reject(valueStart_,
                          worded("standalone must be \"yes\" or \"no\", not '%1'.", shown(standalone)));
        }
        if (fault_) return false;
        skipSpace();
        if (!text_.substr(at_).starts_with("?>")) return rejectRest();
        at_ += 2;
        return standalone == "yes";
    }

    // The value of the next part if it is `name`; partStart_ is kNone if it is not.
    std::string_view part(std::string_view name) {
        const std::size_t before = at_;
        partStart_ = kNone;
        const bool spaced = skipSpace();
        if (!text_.substr(at_).starts_with(name)) {
            at_ = before;
            return {};
        }
        if (!spaced)
            return reject(at_,
                          worded("Whitespace is missing before '%1' in the XML declaration.", shown(name))),
                   text_;
        partStart_ = at_;
        at_ += name.size();
        skipSpace();
        if (next() != '=')
            return reject(at_, worded("'=' is missing after '%1' in the XML declaration.", shown(name))),
                   text_;
        ++at_;
        skipSpace();
        const char quote = next();
        if (quote != '"' && quote != '\'') {
            return reject(at_,
                          worded("The value of '%1' in the XML declaration must be quoted.", shown(name))),
                   text_;
        }
        valueStart_ = at_ + 1;
        const std::size_t end = text_.find(quote, valueStart_);
        if (end == text_.npos || text_.substr(valueStart_, end - valueStart_).find('<') != text_.npos) {
            return reject(at_, worded("The value of '%1' in the XML declaration lacks its closing quote.",
                                      shown(name))),
                   text_;
        }
        at_ = end + 1;
        return text_.substr(valueStart_, end - valueStart_);
    }

    bool rejectRest() {
        const std::string rest(text_.substr(at_));
        const auto length = static_cast<std::size_t>(nameEnd(rest.c_str()) - rest.c_str());
        if (length == 0) return reject(at_, worded("The XML declaration must end with '?>'."));
        return reject(at_, worded("Unexpected '%1' in the XML declaration; expected version, encoding and "
                                  "standalone, in this order.",
                                  shown(rest.substr(0, length))));
    }

    bool reject(std::size_t at, std::string reason) {
        fault_ = {ErrorCode::BadDeclaration, at, std::move(reason)};
        return false;
    }
    bool skipSpace() {
        const std::size_t before = at_;
        while (at_ < text_.size() && isSpace(text_[at_])) ++at_;
        return at_ != before;
    }
    [[nodiscard]] char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    static constexpr std::size_t kNone = std::string_view::npos;
    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t partStart_ = kNone;
    std::size_t valueStart_ = 0;
    Fault fault_;
};

}  // namespace

Declaration readDeclaration(TextSource& source) {
    const auto window = [&] {
        return std::string_view(source.begin(), static_cast<std::size_t>(source.end() - source.begin()));
    };
    if (window().starts_with(kUsual)) return {kUsual.size(), false, {}};  // of a short document a tenth
    while (window().size() <= kStart.size() && kStart.starts_with(window().substr(0, kStart.size())) &&
           source.fill(0)) {
    }
    if (!window().starts_with(kStart) || window().size() == kStart.size()) return {};
    const char after = window()[kStart.size()];
    if (!isSpace(after) && after != '?') return {};  // <?xml-stylesheet and the like
    while (window().find("?>") == std::string_view::npos && window().size() < kLongest && source.fill(0)) {
    }
    Declaration result = DeclarationParser(window()).parse();
    // Cut short by bad bytes: those are the error.
    if (result.fault && source.fault() && window().find("?>") == std::string_view::npos)
        result.fault = source.fault();
    return result;
}

}  // namespace engine::reader::detail
