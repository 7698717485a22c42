// Runs kelxml as a person at a shell would.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/process.h"
#include "tests/support/temporaryfolder.h"

namespace kel::test {

// In the order in which the program shows them.
inline const std::vector<std::string> kVerbs{"check",    "tree",       "format", "validate", "select",
                                             "edit",     "transform",  "events", "save",     "info",
                                             "selftest", "completion", "help"};

// In English unless the options' environment says otherwise.
inline RunResult kelxml(std::vector<std::string> arguments, RunOptions options = {}) {
    arguments.insert(arguments.begin(), KELXML_PROGRAM);
    options.environment.insert(options.environment.begin(), {"LC_ALL=C.UTF-8", "LANGUAGE=", "COLUMNS="});
    return run(arguments, options);
}

class KelxmlTest : public ::testing::Test {
protected:
    TemporaryFolder folder_;
};

}  // namespace kel::test
