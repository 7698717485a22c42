// Malformed variants of a document, each with a fault that happens in real life.
#pragma once

#include <string>
#include <vector>

struct MalformedVariant {
    std::string name;  // fit for a file name
    std::string fault;
    std::string content;
};

// `content` is a well-formed document in UTF-8. A fault that has no position in it is left out.
[[nodiscard]] std::vector<MalformedVariant> makeMalformed(const std::string& content);
