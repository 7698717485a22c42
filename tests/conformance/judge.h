// What each test demands of a parser that does not validate and reads no external entity, and whether it was
// met.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/conformance/subject.h"
#include "tests/conformance/testlist.h"

namespace conformance {

enum class Demand : std::uint8_t {
    Accept,
    Reject,
    Nothing,  // the suite leaves it to the parser
};

// As read from the differences that are known: what the subject does instead.
enum class Difference : std::uint8_t {
    Accepts,      // what it should reject
    Rejects,      // what it should accept
    Content,      // accepted, but reported other content than the suite's output file
    Contradicts,  // two routes of the engine disagree
};

[[nodiscard]] const char* nameOf(Difference difference);
[[nodiscard]] std::optional<Difference> parseDifference(const std::string& name);

// `reason` is set when the demand is Nothing.
struct Ruling {
    Demand demand = Demand::Nothing;
    std::string reason;
};

[[nodiscard]] Ruling rulingFor(const TestCase& test);

// How the outcome misses the demand; nothing when it does not. `expectedContent` is what an accepted document
// must have reported, if the suite says so.
[[nodiscard]] std::optional<Difference> judge(Demand demand, const Outcome& outcome,
                                              const std::optional<std::string>& expectedContent);

}  // namespace conformance
