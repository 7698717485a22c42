// Generated documents, style sheets and schemas, each of which repeats one thing as often as it is asked to.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace sweep {

enum class Kind : std::uint8_t {
    Document,     // without a DOCTYPE: for every operation
    WithDoctype,  // for SAX alone
    StyleSheet,
    Schema,
};

// The first file is the one that is read, the others are what it names.
using Files = std::vector<std::pair<std::string, std::string>>;  // name, content

struct Input {
    std::string name;
    Kind kind;
    std::size_t count;  // how often, for the first of two measurements
    std::function<Files(std::size_t count)> make;
};

[[nodiscard]] const std::vector<Input>& inputs();

}  // namespace sweep
