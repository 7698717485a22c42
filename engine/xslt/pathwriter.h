// Writes an XPath expression anew, with functions in the place of steps from several nodes and of unions; see
// steps.h. Threads: none of its own.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace engine::xslt {

class PathWriter final {
public:
    // Thrown for what is no expression, or is nested too deep: it stays as it is.
    struct GiveUp {};

    // `add` takes a step and returns its number.
    PathWriter(std::string_view text, const std::function<std::size_t(const std::string&)>& add)
        : text_(text), add_(add) {}

    [[nodiscard]] std::string write();
    [[nodiscard]] bool hasChanged() const noexcept { return hasChanged_; }

private:
    struct Step {
        std::string text;
        bool mayRepeat;  // from several nodes it may come to one node more than once
        bool isSingle;   // from one node it comes to one at most
    };
    struct Path {
        std::string text;
        bool isSingle;  // one node at most
    };

    [[nodiscard]] std::string expression();
    [[nodiscard]] std::string operand();
    [[nodiscard]] std::string unionOrPath();
    [[nodiscard]] std::string path();
    [[nodiscard]] Path primary();
    [[nodiscard]] std::string call(const std::string& name);
    [[nodiscard]] std::string predicates();
    [[nodiscard]] Step step();
    [[nodiscard]] std::string nodeTest();
    void append(Path& path, const Step& step);
    void appendDescendants(Path& path, const Step& step);

    [[nodiscard]] bool startsPrimary() const noexcept;
    [[nodiscard]] bool startsStep() const noexcept;
    [[nodiscard]] std::string binaryOperator();

    void skipSpace() noexcept;
    [[nodiscard]] bool isNext(std::string_view token) const noexcept {
        return text_.substr(at_).starts_with(token);
    }
    bool take(std::string_view token);                                       // with the space before it
    void expect(std::string_view token);                                     // throws GiveUp
    [[nodiscard]] std::string_view peekName(std::size_t at) const noexcept;  // empty: none
    [[nodiscard]] std::string name();
    [[nodiscard]] std::string qualifiedName();
    [[nodiscard]] std::string literal();
    [[nodiscard]] std::string number();

    std::string_view text_;
    const std::function<std::size_t(const std::string&)>& add_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool hasChanged_ = false;
};

}  // namespace engine::xslt
