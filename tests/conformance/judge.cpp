#include "tests/conformance/judge.h"

#include <array>
#include <utility>

namespace conformance {
namespace {

constexpr std::array kNames{
    std::pair{Difference::Accepts, "accepts"},
    std::pair{Difference::Rejects, "rejects"},
    std::pair{Difference::Content, "content"},
    std::pair{Difference::Contradicts, "contradicts"},
};

Demand demandOf(Type type) {
    switch (type) {
        case Type::Valid:
        case Type::Invalid:
            return Demand::Accept;
        case Type::NotWellFormed:
            return Demand::Reject;
        case Type::Error:
            break;
    }
    return Demand::Nothing;
}

}  // namespace

const char* nameOf(Difference difference) {
    for (const auto& [value, name] : kNames) {
        if (value == difference) return name;
    }
    return "";
}

std::optional<Difference> parseDifference(const std::string& name) {
    for (const auto& [value, text] : kNames) {
        if (name == text) return value;
    }
    return std::nullopt;
}

Ruling rulingFor(const TestCase& test) {
    if (!test.skipReason.empty()) return {Demand::Nothing, test.skipReason};
    if (test.type == Type::Error) return {Demand::Nothing, "reporting the error is optional"};
    if (test.type == Type::NotWellFormed && test.needsExternalEntities)
        return {Demand::Nothing, "the fault is in an external entity"};
    if (test.type != Type::NotWellFormed && !test.namespaceAware)
        return {Demand::Nothing, "its colons are against the namespace rules"};
    return {demandOf(test.type), {}};
}

std::optional<Difference> judge(Demand demand, const Outcome& outcome,
                                const std::optional<std::string>& expectedContent) {
    if (!outcome.contradiction.empty()) return Difference::Contradicts;
    if (demand == Demand::Accept && !outcome.accepted) return Difference::Rejects;
    if (demand == Demand::Reject && outcome.accepted) return Difference::Accepts;
    if (demand == Demand::Accept && expectedContent && outcome.canonical != *expectedContent)
        return Difference::Content;
    return std::nullopt;
}

}  // namespace conformance
