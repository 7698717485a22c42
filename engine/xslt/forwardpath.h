// Expressions that only lead forwards, such as //book/@id: evaluated on the tree itself in one walk, where
// all others need libxml2 and a copy of the tree.
//
// These are paths of child and attribute steps, "/" or "//" between them, by name, "*", "p:name" or "p:*",
// with conditions [@name] and [@name='text'] on elements; several of them joined by "|"; and count() of all
// that. Threads: const operations may run together.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/dom/services.h"
#include "engine/dom/tree.h"

namespace engine::xslt {

class ForwardPath final {
public:
    // Nothing for an expression of another kind, or one that is wrong.
    [[nodiscard]] static std::optional<ForwardPath> compile(const dom::Expression& expression);

    // The value, from the document or an element. Nothing where the form that is asked for takes more than
    // the walk, and where an element or attribute has an undeclared prefix: then the other way says what is
    // wrong. Throws ExpressionError for nodes of a count. Linear in the tree.
    [[nodiscard]] std::optional<dom::ExpressionValue> evaluate(const dom::Tree& tree, dom::NodeId context,
                                                               dom::ExpressionValue::Kind kind) const;

    struct Condition {
        std::string attribute;  // in no namespace
        std::optional<std::string> value;
    };
    struct Step {
        bool isAttribute = false;
        bool isBelow = false;  // after "//"
        bool isLast = false;   // of its path
        std::string local;     // empty: all
        bool isInAnyNamespace = false;
        std::string uri;  // empty: in none
        std::vector<Condition> conditions;
    };
    static constexpr std::size_t kMaxSteps = 64;  // of all paths: a bit each

private:
    std::vector<Step> steps_;  // of all paths, one after the other
    std::uint64_t firsts_ = 0;
    bool isAbsolute_ = false;
    bool isCount_ = false;

    friend class PathReader;
};

}  // namespace engine::xslt
