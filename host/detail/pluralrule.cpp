// The expression, of C, is compiled into steps on a stack of numbers when the catalogue is read. Both sides
// of
// "&&", "||" and "?:" are computed, which makes no difference without side effects.
#include "host/detail/pluralrule.h"

#include <array>
#include <optional>

namespace kelhost {

namespace {

constexpr std::size_t kDepth = 32;  // of the stack, and of parentheses in one another
constexpr std::size_t kSteps = 500;

}  // namespace

class PluralRule::Compiler {
public:
    Compiler(std::string_view text, std::vector<Step>& steps) : text_(text), steps_(steps) {}

    [[nodiscard]] bool run() {
        const bool isTaken = choice();
        skipWhiteSpace();
        return isTaken && (text_.empty() || text_.front() == ';' || text_.front() == '\n') &&
               steps_.size() <= kSteps;
    }

private:
    struct Operator {
        std::string_view text;
        Operation operation;
    };
    // By precedence, the loosest first; longer ones before those that they begin with.
    static constexpr std::array<std::array<Operator, 4>, 6> kLevels{{
        {{{"||", Operation::Or}}},
        {{{"&&", Operation::And}}},
        {{{"==", Operation::Equal}, {"!=", Operation::Unequal}}},
        {{{"<=", Operation::LessOrEqual},
          {">=", Operation::GreaterOrEqual},
          {"<", Operation::Less},
          {">", Operation::Greater}}},
        {{{"+", Operation::Add}, {"-", Operation::Subtract}}},
        {{{"*", Operation::Multiply}, {"/", Operation::Divide}, {"%", Operation::Remainder}}},
    }};

    void skipWhiteSpace() {
        while (!text_.empty() && (text_.front() == ' ' || text_.front() == '\t')) text_.remove_prefix(1);
    }
    [[nodiscard]] bool take(std::string_view token) {
        skipWhiteSpace();
        if (token.empty() || !text_.starts_with(token)) return false;
        text_.remove_prefix(token.size());
        return true;
    }
    bool add(Operation operation, std::uint64_t number = 0) {
        steps_.push_back({operation, number});
        return steps_.size() <= kSteps;
    }

    [[nodiscard]] bool choice() {
        if (++depth_ > kDepth) return false;
        bool isFine = binary(0);
        if (isFine && take("?")) isFine = choice() && take(":") && choice() && add(Operation::Choose);
        --depth_;
        return isFine;
    }
    [[nodiscard]] std::optional<Operation> operatorOf(std::size_t level) {
        for (const Operator& each : kLevels[level]) {
            if (take(each.text)) return each.operation;
        }
        return std::nullopt;
    }
    [[nodiscard]] bool binary(std::size_t level) {
        if (level == kLevels.size()) return unary();
        if (!binary(level + 1)) return false;
        while (const auto operation = operatorOf(level)) {
            if (!binary(level + 1) || !add(*operation)) return false;
        }
        return true;
    }
    [[nodiscard]] bool unary() {
        skipWhiteSpace();
        if (text_.starts_with('!') && !text_.starts_with("!=")) {
            text_.remove_prefix(1);
            if (++depth_ > kDepth) return false;
            const bool isFine = unary() && add(Operation::Not);
            --depth_;
            return isFine;
        }
        if (take("(")) return choice() && take(")");
        if (take("n")) return add(Operation::Count);
        std::uint64_t number = 0;
        std::size_t digits = 0;
        for (; digits < text_.size() && digits < 9 && text_[digits] >= '0' && text_[digits] <= '9'; ++digits)
            number = number * 10 + static_cast<std::uint64_t>(text_[digits] - '0');
        text_.remove_prefix(digits);
        return digits > 0 && add(Operation::Number, number);
    }

    std::string_view text_;
    std::vector<Step>& steps_;
    std::size_t depth_ = 0;
};

PluralRule::PluralRule(std::string_view pluralForms) {
    constexpr std::string_view kForms = "nplurals=";
    constexpr std::string_view kRule = "plural=";
    const std::size_t forms = pluralForms.find(kForms);
    const std::size_t rule = pluralForms.rfind(kRule);
    steps_.clear();
    forms_ = 1;
    if (forms == std::string_view::npos || rule == std::string_view::npos) return;
    const std::string_view digits = pluralForms.substr(forms + kForms.size());
    if (digits.empty() || digits[0] < '1' || digits[0] > '9') return;
    forms_ = static_cast<std::size_t>(digits[0] - '0');
    if (!Compiler(pluralForms.substr(rule + kRule.size()), steps_).run()) steps_.clear();
}

std::size_t PluralRule::formFor(std::uint64_t count) const noexcept {
    std::array<std::uint64_t, 2 * kDepth> stack{};
    std::size_t size = 0;
    for (const Step& step : steps_) {
        if (size == stack.size()) return 0;
        if (step.operation == Operation::Count || step.operation == Operation::Number) {
            stack[size++] = step.operation == Operation::Count ? count : step.number;
            continue;
        }
        const std::size_t taken = step.operation == Operation::Not      ? 1
                                  : step.operation == Operation::Choose ? 3
                                                                        : 2;
        if (size < taken) return 0;
        size -= taken;
        const std::uint64_t a = stack[size];
        const std::uint64_t b = taken > 1 ? stack[size + 1] : 0;
        const bool isByZero =
            b == 0 && (step.operation == Operation::Divide || step.operation == Operation::Remainder);
        if (isByZero) return 0;
        stack[size++] = [&]() -> std::uint64_t {
            switch (step.operation) {
                case Operation::Not:
                    return a == 0;
                case Operation::Multiply:
                    return a * b;
                case Operation::Divide:
                    return a / b;
                case Operation::Remainder:
                    return a % b;
                case Operation::Add:
                    return a + b;
                case Operation::Subtract:
                    return a - b;
                case Operation::Less:
                    return a < b;
                case Operation::LessOrEqual:
                    return a <= b;
                case Operation::Greater:
                    return a > b;
                case Operation::GreaterOrEqual:
                    return a >= b;
                case Operation::Equal:
                    return a == b;
                case Operation::Unequal:
                    return a != b;
                case Operation::And:
                    return a != 0 && b != 0;
                case Operation::Or:
                    return a != 0 || b != 0;
                case Operation::Choose:
                    return a != 0 ? b : stack[size + 2];
                default:
                    return 0;
            }
        }();
    }
    const std::uint64_t form = size == 1 ? stack[0] : 0;
    return form < forms_ ? static_cast<std::size_t>(form) : 0;
}

}  // namespace kelhost
