// Every node knows the steps that start from it, as a set of bits: those that its parent's matching steps
// lead to, and those after "//", which all nodes below inherit. So each node is looked at once, in document
// order, whatever the number of paths that lead to it; a node without bits ends the walk into it.
#include "engine/xslt/forwardpath.h"
#include "engine/text/worded.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace engine::xslt {

namespace {

using dom::Expression;
using dom::ExpressionValue;
using dom::kNoNode;
using dom::NodeId;
using dom::NodeKind;
using dom::SelectedNode;
using dom::Tree;
using tables::kNoName;
using tables::NameId;
using tables::Names;
using Steps = std::vector<ForwardPath::Step>;
using Bits = std::uint64_t;

constexpr std::string_view kXmlUri = "http://www.w3.org/XML/1998/namespace";

constexpr Bits bit(std::size_t index) noexcept {
    return Bits{1} << index;
}

// What prefixes stand for where the walk has got to.
class Scope final {
public:
    explicit Scope(const Tree& tree) : tree_(tree), uris_(tree.names().size()) {
        if (const std::optional<NameId> xml = tree.names().find("xml")) uris_[*xml] = kXmlUri;
    }

    // The declarations of an element are in force until `leave`, which is given what `mark` was before.
    [[nodiscard]] std::size_t mark() const noexcept { return hidden_.size(); }
    void enter(NodeId element) {
        for (std::uint32_t i = 0; i < tree_.attributeCount(element); ++i) {
            const NameId name = tree_.attributeNameId(element, i);
            if ((tree_.names().flags(name) & Names::kDeclaration) == 0) continue;
            std::string_view& uri = bindingOf(tree_.names().prefix(name));
            hidden_.push_back({&uri, uri});
            uri = tree_.attribute(element, i).value;
        }
    }
    void leave(std::size_t mark) noexcept {
        for (; hidden_.size() > mark; hidden_.pop_back()) *hidden_.back().binding = hidden_.back().uri;
    }

    // Of an element's name; an attribute without a prefix is in no namespace. Nothing: not declared.
    [[nodiscard]] std::optional<std::string_view> uriOf(NameId name, bool isAttribute) {
        const NameId prefix = tree_.names().prefix(name);
        if (prefix == kNoName) return isAttribute ? std::string_view() : default_;
        const std::string_view uri = bindingOf(prefix);
        if (uri.empty()) return std::nullopt;
        return uri;
    }

private:
    struct Hidden {
        std::string_view* binding;
        std::string_view uri;
    };
    [[nodiscard]] std::string_view& bindingOf(NameId prefix) noexcept {
        return prefix == kNoName ? default_ : uris_[prefix];
    }

    const Tree& tree_;
    std::vector<std::string_view> uris_;  // by the name id of the prefix; empty: none
    std::string_view default_;
    std::vector<Hidden> hidden_;
};

// Calls `use` with each node that the steps lead to, in document order.
template <typename Use>
class Walk final {
public:
    Walk(const Tree& tree, const Steps& steps, Use& use)
        : tree_(tree), steps_(steps), use_(use), scope_(tree), sameLocal_(tree.names().size()) {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (steps[i].isAttribute) attributeSteps_ |= bit(i);
            if (steps[i].isBelow) below_ |= bit(i);
            if (steps[i].isLast) last_ |= bit(i);
        }
        for (NameId name = 0; name < tree.names().size(); ++name) sameLocal_[name] = stepsNaming(name);
    }

    // False: a prefix is not declared.
    [[nodiscard]] bool run(NodeId start, Bits firsts) {
        enterAround(start);
        if (tree_.kind(start) == NodeKind::Element && !visitAttributes(start, firsts)) return false;
        open_.push_back({firsts, scope_.mark()});
        for (NodeId at = tree_.firstChild(start); at != kNoNode;) {
            Bits from = 0;
            if (tree_.kind(at) == NodeKind::Element && !visit(at, from)) return false;
            if (((from & ~attributeSteps_) | (from & below_)) != 0 && tree_.firstChild(at) != kNoNode) {
                open_.push_back({from, mark_});
                at = tree_.firstChild(at);
                continue;
            }
            if (tree_.kind(at) == NodeKind::Element) scope_.leave(mark_);
            while (at != start && tree_.nextSibling(at) == kNoNode) {
                at = tree_.parent(at);
                scope_.leave(open_.back().mark);
                open_.pop_back();
            }
            if (at == start) break;
            at = tree_.nextSibling(at);
        }
        return true;
    }

private:
    struct Open {
        Bits from;         // steps that start at the element
        std::size_t mark;  // of the scope around it
    };

    [[nodiscard]] Bits stepsNaming(NameId name) const {
        if ((tree_.names().flags(name) & Names::kDeclaration) != 0) return 0;
        Bits found = 0;
        const std::string_view local = tree_.names().localName(name);
        for (std::size_t i = 0; i < steps_.size(); ++i) {
            if (steps_[i].local.empty() || steps_[i].local == local) found |= bit(i);
        }
        return found;
    }

    void enterAround(NodeId start) {
        std::vector<NodeId> around;
        for (NodeId at = start; at != kNoNode; at = tree_.parent(at)) around.push_back(at);
        std::for_each(around.rbegin(), around.rend(), [this](NodeId at) { scope_.enter(at); });
    }

    // `from`: the steps that start at the element. Its declarations stay in force.
    [[nodiscard]] bool visit(NodeId element, Bits& from) {
        mark_ = scope_.mark();
        scope_.enter(element);
        const Bits outer = open_.back().from;
        Bits matched = outer & ~attributeSteps_ & sameLocal_[tree_.nameId(element)];
        if (matched != 0) {
            const std::optional<std::string_view> uri = scope_.uriOf(tree_.nameId(element), false);
            if (!uri) return false;
            matched = matching(matched, *uri);
            for (Bits left = matched; left != 0; left &= left - 1) {
                if (!fulfils(element, stepOf(left).conditions)) matched &= ~(left & -left);
            }
        }
        if ((matched & last_) != 0) use_(SelectedNode{element, SelectedNode::kNoAttribute});
        from = (outer & below_) | ((matched & ~last_) << 1);
        return visitAttributes(element, from);
    }

    [[nodiscard]] bool visitAttributes(NodeId element, Bits from) {
        if ((from & attributeSteps_) == 0) return true;
        const std::uint32_t count = tree_.attributeCount(element);
        for (std::uint32_t i = 0; i < count; ++i) {
            const NameId name = tree_.attributeNameId(element, i);
            const Bits matched = from & attributeSteps_ & sameLocal_[name];
            if (matched == 0) continue;
            const std::optional<std::string_view> uri = scope_.uriOf(name, true);
            if (!uri) return false;
            if (matching(matched, *uri) != 0) use_(SelectedNode{element, i});
        }
        return true;
    }

    [[nodiscard]] const ForwardPath::Step& stepOf(Bits bits) const noexcept {
        return steps_[static_cast<std::size_t>(std::countr_zero(bits))];
    }

    [[nodiscard]] Bits matching(Bits candidates, std::string_view uri) const noexcept {
        Bits matched = candidates;
        for (Bits left = candidates; left != 0; left &= left - 1) {
            const ForwardPath::Step& step = stepOf(left);
            if (!step.isInAnyNamespace && step.uri != uri) matched &= ~(left & -left);
        }
        return matched;
    }

    [[nodiscard]] bool fulfils(NodeId element, const std::vector<ForwardPath::Condition>& conditions) const {
        return std::ranges::all_of(conditions, [&](const ForwardPath::Condition& condition) {
            const std::optional<std::uint32_t> index = tree_.findAttribute(element, condition.attribute);
            return index && (!condition.value || tree_.attribute(element, *index).value == *condition.value);
        });
    }

    const Tree& tree_;
    const Steps& steps_;
    Use& use_;
    Scope scope_;
    std::vector<Bits> sameLocal_;  // by name id: steps for names with that local part
    Bits attributeSteps_ = 0;
    Bits below_ = 0;
    Bits last_ = 0;
    std::vector<Open> open_;
    std::size_t mark_ = 0;  // of the scope around the element visited last
};

template <typename Use>
bool walk(const Tree& tree, const Steps& steps, NodeId start, Bits firsts, Use use) {
    return Walk<Use>(tree, steps, use).run(start, firsts);
}

}  // namespace

// One pass over the expression; `fails_` once it is of another kind.
class PathReader final {
public:
    explicit PathReader(const Expression& expression) : expression_(expression), rest_(expression.text) {}

    [[nodiscard]] std::optional<ForwardPath> read() {
        path_.isCount_ = takeCount();
        do {
            readPath();
        } while (!fails_ && take("|"));
        if (path_.isCount_ && !take(")")) fails_ = true;
        skipWhiteSpace();
        if (fails_ || !rest_.empty()) return std::nullopt;
        return std::move(path_);
    }

private:
    void skipWhiteSpace() noexcept {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    }
    [[nodiscard]] bool take(std::string_view token) noexcept {
        skipWhiteSpace();
        if (!rest_.starts_with(token)) return false;
        rest_.remove_prefix(token.size());
        return true;
    }
    // Whether it is "//"; nothing: there is none.
    [[nodiscard]] std::optional<bool> takeSlashes() noexcept {
        if (take("//")) return true;
        return take("/") ? std::optional(false) : std::nullopt;
    }
    [[nodiscard]] bool takeCount() noexcept {
        const std::string_view before = rest_;
        if (take("count") && take("(")) return true;
        rest_ = before;
        return false;
    }

    // Names of ASCII characters; others are for libxml2 to judge. White space is not allowed within a
    // qualified name.
    [[nodiscard]] std::string takeName() {
        const auto isLetter = [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        };
        const auto isNameCharacter = [&](char c) {
            return isLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
        };
        std::size_t length = 0;
        while (length < rest_.size() && (length == 0 ? isLetter(rest_[0]) : isNameCharacter(rest_[length])))
            ++length;
        std::string name(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return name;
    }

    void readPath() {
        std::optional<bool> isBelow = takeSlashes();
        const bool isAbsolute = isBelow.has_value();
        if (!isAbsolute && take("./")) isBelow = rest_.starts_with('/') && take("/");
        if (path_.firsts_ != 0 && isAbsolute != path_.isAbsolute_) fails_ = true;
        path_.isAbsolute_ = isAbsolute;
        path_.firsts_ |= path_.steps_.size() < ForwardPath::kMaxSteps ? bit(path_.steps_.size()) : 0;
        readStep(isBelow.value_or(false));
        while (!fails_) {
            isBelow = takeSlashes();
            if (!isBelow) break;
            if (path_.steps_.back().isAttribute) fails_ = true;
            readStep(*isBelow);
        }
        if (!fails_) path_.steps_.back().isLast = true;
    }

    void readStep(bool isBelow) {
        ForwardPath::Step step;
        step.isBelow = isBelow;
        step.isAttribute = take("@");
        skipWhiteSpace();
        if (take("*")) {
            step.isInAnyNamespace = true;
        } else {
            step.local = takeName();
            if (step.local.empty()) fails_ = true;
            if (!fails_ && rest_.starts_with(':')) readPrefixed(step);
        }
        skipWhiteSpace();
        // a function, an axis
        if (rest_.starts_with('(') || rest_.starts_with(':')) fails_ = true;
        while (!fails_ && take("[")) readCondition(step);
        if (path_.steps_.size() == ForwardPath::kMaxSteps) fails_ = true;
        if (!fails_) path_.steps_.push_back(std::move(step));
    }

    void readPrefixed(ForwardPath::Step& step) {
        rest_.remove_prefix(1);
        const std::string prefix = std::exchange(step.local, {});
        if (rest_.starts_with('*')) {
            rest_.remove_prefix(1);
        } else {
            step.local = takeName();
            if (step.local.empty()) fails_ = true;
        }
        const auto declared =
            std::ranges::find(expression_.prefixes, prefix, &std::pair<std::string, std::string>::first);
        if (prefix == "xml") {
            step.uri = kXmlUri;
        } else if (declared != expression_.prefixes.end()) {
            step.uri = declared->second;
        } else {
            fails_ = true;
        }
    }

    void readCondition(ForwardPath::Step& step) {
        ForwardPath::Condition condition;
        if (step.isAttribute || !take("@")) fails_ = true;
        skipWhiteSpace();
        condition.attribute = takeName();
        // a declaration is no attribute here
        if (condition.attribute.empty() || condition.attribute == "xmlns") fails_ = true;
        if (!fails_ && take("=")) readLiteral(condition);
        if (!take("]")) fails_ = true;
        step.conditions.push_back(std::move(condition));
    }

    void readLiteral(ForwardPath::Condition& condition) {
        const char quote = take("'") ? '\'' : '"';
        if (quote == '"' && !take("\"")) fails_ = true;
        const std::size_t end = rest_.find(quote);
        if (fails_ || end == std::string_view::npos) {
            fails_ = true;
            return;
        }
        condition.value = std::string(rest_.substr(0, end));
        rest_.remove_prefix(end + 1);
    }

    const Expression& expression_;
    std::string_view rest_;
    ForwardPath path_;
    bool fails_ = false;
};

std::optional<ForwardPath> ForwardPath::compile(const Expression& expression) {
    return PathReader(expression).read();
}

std::optional<ExpressionValue> ForwardPath::evaluate(const Tree& tree, NodeId context,
                                                     ExpressionValue::Kind kind) const {
    using Kind = ExpressionValue::Kind;
    const bool isForNodes = kind == Kind::Nodes;
    if (isForNodes && isCount_)
        throw dom::ExpressionError(text::worded("expected an expression that selects nodes"), 1);
    if (!isForNodes && !isCount_ && kind != Kind::Truth) return std::nullopt;
    NodeId start = context;
    if (isAbsolute_) {
        while (tree.parent(start) != kNoNode) start = tree.parent(start);
        if (start != dom::kDocumentNode) return std::nullopt;
    }
    if (tree.kind(start) != NodeKind::Document && tree.kind(start) != NodeKind::Element) return std::nullopt;
    ExpressionValue value;
    std::uint64_t count = 0;
    const bool isDone = walk(tree, steps_, start, firsts_, [&](SelectedNode node) {
        ++count;
        if (isForNodes) value.nodes.push_back(node);
    });
    if (!isDone) return std::nullopt;
    value.number = static_cast<double>(count);
    value.text = std::to_string(count);
    value.isTrue = count != 0;
    return value;
}

}  // namespace engine::xslt
