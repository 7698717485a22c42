// Regular expressions that mean the same on every platform; the test library's own are simpler on some.
#pragma once

#include <regex>
#include <string>

#include <gtest/gtest.h>

namespace kel::test {

// Whether the expression (ECMAScript's) holds for the whole text.
[[nodiscard]] inline testing::AssertionResult matches(const std::string& text,
                                                      const std::string& expression) {
    if (std::regex_match(text, std::regex(expression))) return testing::AssertionSuccess();
    return testing::AssertionFailure() << '"' << text << "\" is not of the form \"" << expression << '"';
}

}  // namespace kel::test
