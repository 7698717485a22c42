// Small machines over the internal subset and its entities, each a loop with a stack of its own, so that
// depth costs memory only: declared attributes, the attributes of a tag counted before libxml2 sees it, and
// the length of an entity when expanded, computed once for each.
#include "engine/reader/detail/doctype.h"

#include <algorithm>

#include "engine/text/chars.h"

namespace engine::reader::detail {
namespace {

// Spaces at the ends go, runs of them become one. Only U+0020 counts: others came from character references.
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

// The name of the next general entity that `rest` refers to; `rest` then begins after it.
std::optional<std::string_view> nextReference(std::string_view& rest) {
    for (;;) {
        const std::size_t start = rest.find('&');
        if (start == std::string_view::npos) return std::nullopt;
        rest.remove_prefix(start + 1);
        const std::size_t end = rest.find_first_of("; \t\n<>&%'\"#");
        if (end == std::string_view::npos || end == 0 || rest[end] != ';') continue;
        const std::string_view name = rest.substr(0, end);
        rest.remove_prefix(end + 1);
        return name;
    }
}

}  // namespace

void AttributeDeclarations::declare(std::string_view element, std::string_view attribute, bool isTokenized,
                                    std::optional<std::string> defaultValue) {
    Element& declared = elements_[std::string(element)];
    const auto [known, isNew] = declared.byName.emplace(attribute, declared.attributes.size());
    if (isNew) declared.attributes.push_back({known->first, isTokenized, std::move(defaultValue), 0});
}

std::uint64_t AttributeDeclarations::costOf(std::string_view element,
                                            std::span<const reader::Attribute> attributes) {
    const auto found = elements_.find(element);
    if (found == elements_.end()) return 0;
    std::uint64_t cost = 0;
    ++uses_;
    for (const reader::Attribute& present : attributes) {
        const auto known = found->second.byName.find(present.name);
        if (known != found->second.byName.end()) found->second.attributes[known->second].lastUse = uses_;
    }
    for (const Declaration& declaration : found->second.attributes) {
        if (declaration.defaultValue && declaration.lastUse != uses_)
            cost += kCostOfAttribute + declaration.name.size() + declaration.defaultValue->size();
    }
    return cost;
}

void AttributeDeclarations::apply(std::string_view element, std::vector<reader::Attribute>& attributes) {
    const auto found = elements_.find(element);
    if (found == elements_.end()) return;
    normalised_.clear();
    normalised_.reserve(attributes.size());  // views of short strings would not survive a move
    for (reader::Attribute& present : attributes) {
        const auto known = found->second.byName.find(present.name);
        if (known != found->second.byName.end() && found->second.attributes[known->second].isTokenized)
            present.value = normalised_.emplace_back(tokenized(present.value));
    }
    for (const Declaration& declaration : found->second.attributes) {
        if (declaration.defaultValue && declaration.lastUse != uses_)
            attributes.push_back({declaration.name, *declaration.defaultValue});
    }
}

bool TagWidth::add(std::string_view text) noexcept {
    for (const char c : text) {
        switch (state_) {
            case State::Text:
                if (c == '<') state_ = State::Start;
                break;
            case State::Start:
                state_ = c == '!'   ? State::Bang
                         : c == '?' ? State::Instruction
                         : c == '/' ? State::Text
                                    : State::Tag;
                run_ = 0;
                count_ = 0;
                break;
            case State::Bang:
                state_ = c == '-' ? State::Dash : c == '[' ? State::CData : State::Declaration;
                break;
            case State::Dash:
                state_ = State::Comment;
                break;
            case State::Comment:
                addUntil(c, '-', 2);
                break;
            case State::CData:
                addUntil(c, ']', 2);
                break;
            case State::Instruction:
                addUntil(c, '?', 1);
                break;
            case State::Tag:
            case State::Declaration:
                addInTag(c);
                break;
            case State::Quote:
                if (c == quote_) state_ = around_;
                break;
        }
    }
    return count_ <= kMax;
}

// Inside something that ends with `times` of `mark` and '>'.
void TagWidth::addUntil(char c, char mark, unsigned times) noexcept {
    if (c == '>' && run_ >= times) state_ = State::Text;
    run_ = c == mark ? run_ + 1 : 0;
}

void TagWidth::addInTag(char c) noexcept {
    if (c == '"' || c == '\'') {
        around_ = state_;
        state_ = State::Quote;
        quote_ = c;
    } else if (c == '>' || (c == '[' && state_ == State::Declaration)) {
        state_ = State::Text;
    } else if (c == '=' && state_ == State::Tag) {
        ++count_;
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
