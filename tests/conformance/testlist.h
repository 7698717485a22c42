// The conformance suite's own list: what each test is, where its document lies and what a parser owes it.
// Threads: one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace conformance {

enum class Type : std::uint8_t { Valid, Invalid, NotWellFormed, Error };

struct TestCase {
    std::string id;
    std::string collection;  // who wrote it
    std::string section;     // of the XML recommendation, the first that is named: "2.3"
    Type type = Type::Valid;
    std::string path;
    std::string outputPath;  // canonical form of what has to be reported; empty: none given
    bool needsExternalEntities = false;
    bool namespaceAware = true;
    std::string skipReason;  // why it is not for this parser, whatever the parser does; empty: it is
};

// `folder` is the suite's (xmlconf.xml in it) or the package's. Throws std::runtime_error when there is
// no list to be found or read.
[[nodiscard]] std::vector<TestCase> readTestList(const std::string& folder);

}  // namespace conformance
