// A recursive descent over XPath 1.0's grammar, one function for each kind of expression that matters here.
// Operators do not, but for the union, so their precedence is left to the compiler that reads the result.
#include "engine/xslt/pathwriter.h"

#include <algorithm>

namespace engine::xslt {

namespace {

constexpr int kMaxDepth = 100;  // of brackets

bool isSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}
bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
bool startsName(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}
bool continuesName(char c) noexcept {
    return startsName(c) || isDigit(c) || c == '-' || c == '.';
}

bool isNodeType(std::string_view name) noexcept {
    return name == "node" || name == "text" || name == "comment" || name == "processing-instruction";
}

bool mayRepeat(std::string_view axis) noexcept {
    return axis != "child" && axis != "attribute" && axis != "namespace" && axis != "self";
}

class Deeper final {
public:
    explicit Deeper(int& depth) : depth_(depth) {
        if (++depth_ > kMaxDepth) {
            --depth_;
            throw PathWriter::GiveUp();
        }
    }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    ~Deeper() { --depth_; }

private:
    int& depth_;
};

}  // namespace

std::string PathWriter::write() {
    std::string written = expression();
    skipSpace();
    if (at_ != text_.size()) throw GiveUp();
    return written;
}

std::string PathWriter::expression() {
    const Deeper deeper(depth_);
    std::string written = operand();
    for (std::string sign = binaryOperator(); !sign.empty(); sign = binaryOperator()) {
        written += ' ' + sign + ' ' + operand();
    }
    return written;
}

std::string PathWriter::operand() {
    std::string signs;
    while (take("-")) signs += "- ";
    return signs + unionOrPath();
}

std::string PathWriter::binaryOperator() {
    for (const char* const sign : {"!=", "<=", ">=", "=", "<", ">", "+", "-", "*"}) {
        if (take(sign)) return sign;
    }
    skipSpace();
    const std::string_view word = peekName(at_);
    if (word != "and" && word != "or" && word != "div" && word != "mod") return {};
    at_ += word.size();
    return std::string(word);
}

std::string PathWriter::unionOrPath() {
    std::string written = path();
    int count = 1;
    for (; take("|"); ++count) written += ", " + path();
    if (count == 1) return written;
    hasChanged_ = true;
    return "engine-union(" + written + ')';
}

std::string PathWriter::path() {
    Path path{{}, true};
    skipSpace();
    if (startsPrimary()) {
        path = primary();
    } else if (take("//")) {
        path.text = "/";
        appendDescendants(path, step());
    } else if (take("/")) {
        path.text = "/";
        if (!startsStep()) return path.text;
        append(path, step());
    } else {
        Step first = step();
        path = {std::move(first.text), first.isSingle};
    }
    while (true) {
        if (take("//")) {
            appendDescendants(path, step());
        } else if (take("/")) {
            append(path, step());
        } else {
            return path.text;
        }
    }
}

void PathWriter::append(Path& path, const Step& step) {
    if (!path.isSingle && step.mayRepeat) {
        path.text = "engine-step(" + path.text + ", " + std::to_string(add_(step.text)) + ')';
        hasChanged_ = true;
    } else {
        path.text += (path.text == "/" ? "" : "/") + step.text;
    }
    path.isSingle = path.isSingle && step.isSingle;
}

// "//": libxml2 has a short way for a child of all descendants, so that is left to it where it can be.
void PathWriter::appendDescendants(Path& path, const Step& step) {
    if (path.isSingle && !step.mayRepeat) {
        path.text += (path.text == "/" ? "/" : "//") + step.text;
        path.isSingle = false;
        return;
    }
    append(path, {"descendant-or-self::node()", true, false});
    append(path, step);
}

bool PathWriter::startsPrimary() const noexcept {
    if (at_ == text_.size()) return false;
    const char c = text_[at_];
    if (c == '$' || c == '(' || c == '"' || c == '\'' || isDigit(c)) return true;
    if (c == '.') return at_ + 1 < text_.size() && isDigit(text_[at_ + 1]);
    // a function's name, which no axis or node test is
    std::size_t end = at_ + peekName(at_).size();
    if (end == at_) return false;
    const bool isPlain = end == text_.size() || text_[end] != ':';
    if (isPlain && isNodeType(text_.substr(at_, end - at_))) return false;
    if (!isPlain) end += 1 + peekName(end + 1).size();
    while (end < text_.size() && isSpace(text_[end])) ++end;
    return end < text_.size() && text_[end] == '(';
}

bool PathWriter::startsStep() const noexcept {
    std::size_t at = at_;
    while (at < text_.size() && isSpace(text_[at])) ++at;
    return at < text_.size() &&
           (text_[at] == '.' || text_[at] == '@' || text_[at] == '*' || startsName(text_[at]));
}

PathWriter::Path PathWriter::primary() {
    const char c = text_[at_];
    Path path{{}, false};
    if (c == '$') {
        ++at_;
        path.text = '$' + qualifiedName();
    } else if (c == '(') {
        ++at_;
        path.text = '(' + expression() + ')';
        expect(")");
    } else if (c == '"' || c == '\'') {
        path.text = literal();
    } else if (isDigit(c) || c == '.') {
        path.text = number();
    } else {
        const std::string function = qualifiedName();
        path = {call(function), function == "current"};
    }
    path.text += predicates();
    return path;
}

std::string PathWriter::call(const std::string& function) {
    std::string written = function + '(';
    expect("(");
    if (take(")")) return written + ')';
    written += expression();
    while (take(",")) written += ", " + expression();
    expect(")");
    return written + ')';
}

std::string PathWriter::predicates() {
    std::string written;
    while (take("[")) {
        written += '[' + expression() + ']';
        expect("]");
    }
    return written;
}

PathWriter::Step PathWriter::step() {
    skipSpace();
    if (take("..")) return {"parent::node()", true, true};
    if (take(".")) return {".", false, true};
    if (take("@")) {
        const std::string test = nodeTest();
        const bool isSingle = !test.ends_with('*') && !test.ends_with(')');
        return {'@' + test + predicates(), false, isSingle};
    }
    std::string axis;
    const std::string_view word = peekName(at_);
    std::size_t after = at_ + word.size();
    while (after < text_.size() && isSpace(text_[after])) ++after;
    if (!word.empty() && text_.substr(after).starts_with("::")) {
        axis = word;
        at_ = after + 2;
    }
    std::string test = nodeTest();
    test += predicates();
    if (axis.empty()) return {test, false, false};
    const bool isSingle = axis == "self" || axis == "parent";
    return {axis + "::" + test, xslt::mayRepeat(axis), isSingle};
}

std::string PathWriter::nodeTest() {
    if (take("*")) return "*";
    std::string test = name();
    if (isNext("::")) throw GiveUp();
    if (isNext(":")) {
        ++at_;
        if (isNext("*")) {
            ++at_;
            return test + ":*";
        }
        return test + ':' + name();
    }
    if (!isNodeType(test)) return test;
    skipSpace();
    if (!isNext("(")) return test;
    ++at_;
    skipSpace();
    std::string target;
    if (!isNext(")")) target = literal();
    expect(")");
    return test + '(' + target + ')';
}

void PathWriter::skipSpace() noexcept {
    while (at_ < text_.size() && isSpace(text_[at_])) ++at_;
}

bool PathWriter::take(std::string_view token) {
    skipSpace();
    if (!isNext(token)) return false;
    at_ += token.size();
    return true;
}

void PathWriter::expect(std::string_view token) {
    if (!take(token)) throw GiveUp();
}

std::string_view PathWriter::peekName(std::size_t at) const noexcept {
    std::size_t end = at;
    if (at < text_.size() && startsName(text_[at])) {
        while (end < text_.size() && continuesName(text_[end])) ++end;
    }
    return text_.substr(std::min(at, text_.size()), end - at);
}

std::string PathWriter::name() {
    skipSpace();
    const std::string_view found = peekName(at_);
    if (found.empty()) throw GiveUp();
    at_ += found.size();
    return std::string(found);
}

std::string PathWriter::qualifiedName() {
    std::string found = name();
    if (!isNext(":") || isNext("::")) return found;
    ++at_;
    return found + ':' + name();
}

std::string PathWriter::literal() {
    skipSpace();
    if (at_ == text_.size() || (text_[at_] != '"' && text_[at_] != '\'')) throw GiveUp();
    const std::size_t end = text_.find(text_[at_], at_ + 1);
    if (end == std::string_view::npos) throw GiveUp();
    std::string found(text_.substr(at_, end + 1 - at_));
    at_ = end + 1;
    return found;
}

std::string PathWriter::number() {
    const std::size_t start = at_;
    while (at_ < text_.size() && (isDigit(text_[at_]) || text_[at_] == '.')) ++at_;
    return std::string(text_.substr(start, at_ - start));
}

}  // namespace engine::xslt
