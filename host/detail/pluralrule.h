// Which of a language's plural forms goes with a count: the Plural-Forms line of a catalogue, such as
// "nplurals=2; plural=n != 1;". Threads: constant once it is made.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace kelhost {

class PluralRule {
public:
    PluralRule() = default;  // the first form for 1, the second for all others

    // A rule that is damaged, or that divides by zero, gives the first form.
    explicit PluralRule(std::string_view pluralForms);

    [[nodiscard]] std::size_t formFor(std::uint64_t count) const noexcept;

private:
    enum class Operation : std::uint8_t {
        Count,
        Number,
        Not,
        Multiply,
        Divide,
        Remainder,
        Add,
        Subtract,
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        Equal,
        Unequal,
        And,
        Or,
        Choose
    };
    struct Step {
        Operation operation;
        std::uint64_t number = 0;
    };
    class Compiler;

    std::size_t forms_ = 2;
    std::vector<Step> steps_{{Operation::Count}, {Operation::Number, 1}, {Operation::Unequal}};
};

}  // namespace kelhost
