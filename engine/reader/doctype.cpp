#include "engine/reader/detail/doctype.h"

#include <algorithm>

#include "engine/reader/detail/chars.h"

namespace engine::reader::detail {
namespace {

// Blanks at the ends go, runs of them become one. Only U+0020 counts: others came from character references.
std::string tokenized(std::string_view value) {
    std::string result;
    for (char c : value) {
        if (c != ' ' || (!result.empty() && result.back() != ' ')) result += c;
    }
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
    return a > EntitySizes::kUnbounded - b ? EntitySizes::kUnbounded : a + b;
}

// The name of the next general entity that `rest` refers to; `rest` then begins behind it.
std::optional<std::string_view> nextReference(std::string_view& rest) {
    for (;;) {
        const std::size_t start = rest.find('&');
        if (start == std::string_view::npos) return std::nullopt;
        rest.remove_prefix(start + 1);
        const std::size_t end = rest.find(';');
        if (end == std::string_view::npos) return std::nullopt;
        const std::string_view name = rest.substr(0, std::min(end, rest.find_first_of(" \t\n<>&%'\"#")));
        if (name.empty() || name.size() != end) continue;
        rest.remove_prefix(end + 1);
        return name;
    }
}

}  // namespace

void AttributeDeclarations::declare(std::string_view element, std::string_view attribute, bool isTokenized,
                                    std::optional<std::string> defaultValue) {
    auto& declarations = elements_[std::string(element)];
    const bool isKnown = std::any_of(declarations.begin(), declarations.end(),
                                     [&](const Declaration& d) { return d.name == attribute; });
    if (!isKnown) declarations.push_back({std::string(attribute), isTokenized, std::move(defaultValue)});
}

void AttributeDeclarations::apply(std::string_view element, std::vector<Attribute>& attributes) {
    const auto declared = elements_.find(element);
    if (declared == elements_.end()) return;
    normalised_.clear();
    normalised_.reserve(attributes.size());  // views of short strings would not survive a move
    for (const Declaration& declaration : declared->second) {
        const auto present = std::find_if(attributes.begin(), attributes.end(),
                                          [&](const Attribute& a) { return a.name == declaration.name; });
        if (present == attributes.end()) {
            if (declaration.defaultValue) attributes.push_back({declaration.name, *declaration.defaultValue});
        } else if (declaration.isTokenized && normalised_.size() < normalised_.capacity()) {
            present->value = normalised_.emplace_back(tokenized(present->value));
        }
    }
}

const EntitySizes::Size& EntitySizes::sizeOf(std::string_view name) {
    const auto found = known_.find(name);
    if (found != known_.end() && found->second.isDone) return found->second.size;
    std::vector<Frame> stack;
    const auto open = [&](std::string_view entity) {
        const std::string_view text = lookup_(entity);
        known_[std::string(entity)].size.bytes = text.size();
        stack.push_back({std::string(entity), text});
    };
    open(name);
    while (!stack.empty()) {
        const std::optional<std::string_view> inner = nextReference(stack.back().rest);
        if (!inner) {
            close(stack);
            continue;
        }
        const auto known = known_.find(*inner);
        if (known == known_.end()) {
            open(*inner);
            continue;
        }
        Known& outer = known_.find(stack.back().name)->second;
        if (!known->second.isDone) {
            outer.size.isLoop = true;
            continue;
        }
        outer.size.bytes = saturatingSum(outer.size.bytes, known->second.size.bytes);
        outer.size.isLoop = outer.size.isLoop || known->second.size.isLoop;
        outer.depth = std::max(outer.depth, known->second.depth + 1);
    }
    return known_.find(name)->second.size;
}

// The innermost entity is complete; the one around it takes its numbers over.
void EntitySizes::close(std::vector<Frame>& stack) {
    Known& done = known_.find(stack.back().name)->second;
    done.isDone = true;
    done.size.isTooDeep = done.depth > kDeepest;
    stack.pop_back();
    if (stack.empty()) return;
    Known& outer = known_.find(stack.back().name)->second;
    outer.size.bytes = saturatingSum(outer.size.bytes, done.size.bytes);
    outer.size.isLoop = outer.size.isLoop || done.size.isLoop;
    outer.depth = std::max(outer.depth, done.depth + 1);
}

}  // namespace engine::reader::detail
