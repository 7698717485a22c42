#include "engine/reader/detail/namespace_layer.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

#include "engine/reader/detail/chars.h"

namespace engine::reader::detail {
namespace {

constexpr std::string_view kXmlUri = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlnsUri = "http://www.w3.org/2000/xmlns/";
constexpr std::size_t kNoColon = std::string_view::npos;

std::size_t colonIn(std::string_view name) {
    const void* found = std::memchr(name.data(), ':', name.size());
    return found == nullptr ? kNoColon
                            : static_cast<std::size_t>(static_cast<const char*>(found) - name.data());
}

bool declares(std::string_view name) {
    return name.size() >= 5 && name[0] == 'x' && name.starts_with("xmlns") &&
           (name.size() == 5 || name[5] == ':');
}

[[noreturn]] void refuse(ErrorCode code, std::size_t index, std::string reason) {
    throw NamespaceFault{code, std::move(reason), index};
}

// Both sides of the colon must be names without one.
std::pair<std::string_view, std::string_view> split(std::string_view name, std::size_t colon,
                                                    std::size_t index) {
    const std::string_view local = name.substr(colon + 1);
    const bool isGood = colon != 0 && !local.empty() && colonIn(local) == kNoColon &&
                        isNameStart(decodeAt(local.data()).character);
    if (!isGood) {
        refuse(ErrorCode::BadQualifiedName, index,
               "The name " + quoted(name) +
                   " is not a qualified name: one colon may stand between a prefix and a name.");
    }
    return {name.substr(0, colon), local};
}

}  // namespace

void NamespaceLayer::startDocument(const Locator& locator) {
    locator_ = &locator;
    sink_.startDocument(*this);
}

void NamespaceLayer::startElement(std::string_view name, std::span<const Attribute> attributes) {
    ++depth_;
    attributes_ = attributes;
    declarations_.clear();
    resolved_.clear();
    const auto first = static_cast<std::uint32_t>(bindings_.size());
    bool isQualified = false;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const std::string_view attribute = attributes[i].name;
        if (declares(attribute)) {
            const std::string_view prefix = attribute.size() == 5 ? std::string_view() : attribute.substr(6);
            if (attribute.size() != 5) (void)split(attribute, 5, i);
            declare(i, prefix, attributes[i].value);
        } else {
            isQualified = isQualified || colonIn(attribute) != kNoColon;
        }
    }
    if (bindings_.size() != first) {
        scopes_.push_back({depth_, first});
        fillDeclarations(first);
    }
    if (isQualified) resolveAttributes();
    element_ = resolve(name, NamespaceFault::kElement);
    ending_ = {};
    sink_.startElement(name, attributes);
}

void NamespaceLayer::endElement(std::string_view name) {
    attributes_ = {};
    declarations_.clear();
    const bool leaves = !scopes_.empty() && scopes_.back().depth == depth_;
    if (leaves) fillDeclarations(scopes_.back().firstBinding);
    ending_ = name;  // it was resolved once without a fault; who wants to know again asks
    sink_.endElement(name);
    if (leaves) leaveScope();
    --depth_;
}

void NamespaceLayer::processingInstruction(std::string_view target, std::string_view data) {
    if (colonIn(target) != kNoColon) {
        refuse(ErrorCode::BadQualifiedName, NamespaceFault::kElement,
               "The target " + quoted(target) + " of a processing instruction must not hold a colon.");
    }
    sink_.processingInstruction(target, data);
}

void NamespaceLayer::declare(std::size_t index, std::string_view prefix, std::string_view uri) {
    if (prefix == "xmlns")
        refuse(ErrorCode::ReservedPrefix, index, "The prefix 'xmlns' must not be declared.");
    if (uri == kXmlnsUri) {
        refuse(ErrorCode::ReservedPrefix, index,
               "The namespace '" + std::string(uri) + "' is reserved and must not be declared.");
    }
    if (prefix == "xml") {
        if (uri == kXmlUri) return;
        refuse(ErrorCode::ReservedPrefix, index,
               "The prefix 'xml' can only stand for '" + std::string(kXmlUri) + "'.");
    }
    if (uri == kXmlUri) {
        refuse(ErrorCode::ReservedPrefix, index,
               "The namespace '" + std::string(kXmlUri) + "' belongs to the prefix 'xml' alone.");
    }
    if (uri.empty() && !prefix.empty()) {
        refuse(ErrorCode::EmptyPrefixDeclaration, index,
               "The declaration of prefix " + quoted(prefix) +
                   " must name a namespace; only xmlns=\"\" may be empty.");
    }
    bind(prefix, uri);
}

void NamespaceLayer::bind(std::string_view prefix, std::string_view uri) {
    const auto index = static_cast<std::uint32_t>(bindings_.size());
    std::uint32_t hidden = kNone;
    if (const auto known = newest_.find(prefix); known != newest_.end()) {
        hidden = std::exchange(known->second, index);
    } else {
        newest_.emplace(prefix, index);
    }
    bindings_.push_back({std::string(prefix), std::string(uri), hidden});
    if (const Binding* binding = find({})) defaultUri_ = binding->uri;  // also after the vector has moved
}

void NamespaceLayer::leaveScope() {
    while (bindings_.size() > scopes_.back().firstBinding) {
        const Binding& gone = bindings_.back();
        const auto known = newest_.find(gone.prefix);
        if (gone.hidden == kNone) {
            newest_.erase(known);
        } else {
            known->second = gone.hidden;
        }
        bindings_.pop_back();
    }
    scopes_.pop_back();
    const Binding* binding = find({});
    defaultUri_ = binding == nullptr ? std::string_view() : std::string_view(binding->uri);
}

void NamespaceLayer::fillDeclarations(std::uint32_t first) {
    for (std::size_t i = first; i < bindings_.size(); ++i) {
        declarations_.push_back({bindings_[i].prefix, bindings_[i].uri});
    }
}

const NamespaceLayer::Binding* NamespaceLayer::find(std::string_view prefix) const {
    constexpr std::size_t kFewBindings = 8;
    if (bindings_.size() <= kFewBindings) {
        for (auto binding = bindings_.rbegin(); binding != bindings_.rend(); ++binding) {
            if (binding->prefix == prefix) return &*binding;
        }
        return nullptr;
    }
    const auto known = newest_.find(prefix);
    return known == newest_.end() ? nullptr : &bindings_[known->second];
}

ExpandedName NamespaceLayer::resolve(std::string_view name, std::size_t index) const {
    const std::size_t colon = colonIn(name);
    if (colon == kNoColon) {
        if (index != NamespaceFault::kElement && declares(name)) return {kXmlnsUri, {}, name};
        return {index == NamespaceFault::kElement ? defaultUri_ : std::string_view(), {}, name};
    }
    const auto [prefix, local] = split(name, colon, index);
    if (prefix == "xml") return {kXmlUri, prefix, local};
    if (prefix == "xmlns") {
        if (index != NamespaceFault::kElement) return {kXmlnsUri, prefix, local};
        refuse(ErrorCode::ReservedPrefix, index, "The prefix 'xmlns' is reserved: no element may have it.");
    }
    const Binding* binding = find(prefix);
    if (binding == nullptr) {
        refuse(ErrorCode::UndeclaredPrefix, index,
               "The prefix of " + quoted(name) + " is not declared: xmlns:" + std::string(prefix) +
                   "=\"...\" is missing.");
    }
    return {binding->uri, prefix, local};
}

void NamespaceLayer::resolveAttributes() {
    for (std::size_t i = 0; i < attributes_.size(); ++i) resolved_.push_back(resolve(attributes_[i].name, i));
    checkDuplicates();
}

// Names as written are unique: two prefixes for one namespace remain. Sorted, so that a long list stays
// cheap.
void NamespaceLayer::checkDuplicates() {
    order_.clear();
    for (std::uint32_t i = 0; i < resolved_.size(); ++i) {
        if (!resolved_[i].prefix.empty() && !isDeclaration(i)) order_.push_back(i);
    }
    const auto key = [this](std::uint32_t i) { return std::tie(resolved_[i].local, resolved_[i].uri); };
    std::sort(order_.begin(), order_.end(),
              [&](std::uint32_t a, std::uint32_t b) { return key(a) == key(b) ? a < b : key(a) < key(b); });
    std::uint32_t culprit = kNone;  // the first in document order
    for (std::size_t i = 1; i < order_.size(); ++i) {
        if (key(order_[i - 1]) == key(order_[i])) culprit = std::min(culprit, order_[i]);
    }
    if (culprit == kNone) return;
    refuse(ErrorCode::DuplicateExpandedAttribute, culprit,
           "Attribute " + quoted(attributes_[culprit].name) +
               " is there already: another prefix stands for the same namespace.");
}

ExpandedName NamespaceLayer::element() const {
    return ending_.empty() ? element_ : resolve(ending_, NamespaceFault::kElement);
}

ExpandedName NamespaceLayer::attribute(std::size_t index) const {
    if (!resolved_.empty()) return resolved_[index];
    const std::string_view name = attributes_[index].name;
    if (isDeclaration(index)) {
        return name.size() == 5 ? ExpandedName{kXmlnsUri, {}, name}
                                : ExpandedName{kXmlnsUri, name.substr(0, 5), name.substr(6)};
    }
    return {{}, {}, name};
}

bool NamespaceLayer::isDeclaration(std::size_t index) const {
    return declares(attributes_[index].name);
}

}  // namespace engine::reader::detail
