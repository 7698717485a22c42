// The declarations of an element are bound before any of its names is looked at, so that they may stand in
// any order. A binding remembers the one that it hides; leaving an element takes its bindings from the end of
// the stack. Two attributes of one expanded name are found by sorting those with a prefix.
#include "engine/reader/namespaces.h"

#include <algorithm>
#include <tuple>

#include "engine/text/chars.h"
#include "engine/text/worded.h"

namespace engine::reader {
namespace {

using text::shown;
using text::worded;

constexpr std::string_view kXmlUri = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlnsUri = "http://www.w3.org/2000/xmlns/";

}  // namespace

bool Namespaces::reject(ErrorCode code, std::size_t index, std::string reason) {
    error_ = {code, std::move(reason), index};
    return false;
}

// `flags`: those of all attributes' names together.
bool Namespaces::enterAttributes(std::uint8_t flags) {
    if ((flags & Names::kDeclaration) != 0) {
        for (std::size_t i = 0; i < attributes_.size(); ++i) {
            if (isDeclaration(i) && !declare(i)) return false;
        }
    }
    if ((flags & (Names::kPrefixed | Names::kNotQualified)) == 0) return true;
    std::size_t prefixed = 0;
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
        const std::uint8_t own = names_.flags(attributes_[i].name);
        if (own == 0 || (own & Names::kDeclaration) != 0) continue;  // `declare` has looked at those
        if (!checkName(attributes_[i].name, i)) return false;
        if ((own & Names::kPrefixed) != 0) ++prefixed;
    }
    return prefixed < 2 || checkDuplicates();
}

bool Namespaces::declare(std::size_t index) {
    const NameId name = attributes_[index].name;
    const std::string_view uri = attributes_[index].value;
    const bool isDefault = names_.prefixLength(name) == 0;
    if (names_.flags(name) != Names::kDeclaration && !checkName(name, index)) return false;
    const std::string_view prefix = isDefault ? std::string_view() : names_.localName(name);
    if (prefix == "xmlns")
        return reject(ErrorCode::ReservedPrefix, index, worded("The prefix 'xmlns' must not be declared."));
    if (uri == kXmlnsUri) {
        return reject(ErrorCode::ReservedPrefix, index,
                      worded("The namespace '%1' is reserved and must not be declared.", uri));
    }
    if (prefix == "xml") {
        return uri == kXmlUri || reject(ErrorCode::ReservedPrefix, index,
                                        worded("The prefix 'xml' can only be bound to '%1'.", kXmlUri));
    }
    if (uri == kXmlUri) {
        return reject(ErrorCode::ReservedPrefix, index,
                      worded("The namespace '%1' belongs to the prefix 'xml' alone.", kXmlUri));
    }
    if (uri.empty() && !isDefault) {
        return reject(
            ErrorCode::EmptyPrefixDeclaration, index,
            worded("The declaration of prefix '%1' must name a namespace; only xmlns=\"\" may be empty.",
                   shown(prefix)));
    }
    bind(isDefault ? kNoName : names_.prefix(name), uri);
    ++declared_;
    return true;
}

bool Namespaces::checkUnusualName(NameId name, std::size_t index) {
    const std::uint8_t flags = names_.flags(name);
    if ((flags & Names::kNotQualified) != 0) {
        return reject(
            ErrorCode::BadQualifiedName, index,
            worded("The name '%1' is not a qualified name: a single colon separates a prefix from a name.",
                   shown(names_.text(name))));
    }
    if ((flags & Names::kDeclaration) != 0 && index == kElement && names_.prefixLength(name) != 0) {
        return reject(ErrorCode::ReservedPrefix, index,
                      worded("The prefix 'xmlns' is reserved: no element may have it."));
    }
    if ((flags & Names::kPrefixed) == 0) return true;
    const NameId prefix = names_.prefix(name);
    if (find(prefix) != kNone || names_.text(prefix) == "xml") return true;
    return reject(ErrorCode::UndeclaredPrefix, index,
                  worded("The prefix of '%1' is not declared: xmlns:%2=\"...\" is missing.",
                         shown(names_.text(name)), names_.text(prefix)));
}

// Names as written are unique: two prefixes for one namespace remain. Sorted, so that a long list stays
// cheap.
bool Namespaces::checkDuplicates() {
    order_.clear();
    for (std::uint32_t i = 0; i < attributes_.size(); ++i) {
        if ((names_.flags(attributes_[i].name) & Names::kPrefixed) != 0) order_.push_back(i);
    }
    const auto key = [this](std::uint32_t i) {
        const ExpandedName name = attribute(i);
        return std::tuple(name.local, name.uri);
    };
    std::sort(order_.begin(), order_.end(),
              [&](std::uint32_t a, std::uint32_t b) { return std::pair(key(a), a) < std::pair(key(b), b); });
    std::uint32_t duplicate = kNone;  // the first in document order
    for (std::size_t i = 1; i < order_.size(); ++i) {
        if (key(order_[i - 1]) == key(order_[i])) duplicate = std::min(duplicate, order_[i]);
    }
    return duplicate == kNone ||
           reject(ErrorCode::DuplicateExpandedAttribute, duplicate,
                  worded("Duplicate attribute '%1': another prefix is bound to the same namespace.",
                         shown(names_.text(attributes_[duplicate].name))));
}

std::uint32_t& Namespaces::newest(NameId prefix) {
    const std::size_t at = static_cast<NameId>(prefix + 1);  // kNoName comes first
    if (newest_.size() <= at) newest_.resize(std::max<std::size_t>(at + 1, names_.size() + 1), kNone);
    return newest_[at];
}

// The strings of bindings that went out of scope keep their memory for the next.
void Namespaces::bind(NameId prefix, std::string_view uri) {
    std::uint32_t& known = newest(prefix);
    if (bound_ == bindings_.size()) bindings_.emplace_back();
    Binding& binding = bindings_[bound_];
    binding.prefix = prefix;
    binding.uri = uri;
    binding.hidden = known;
    binding.serial = ++serial_;
    known = static_cast<std::uint32_t>(bound_++);
}

void Namespaces::unbind(std::uint32_t count) noexcept {
    for (; count != 0; --count) {
        const Binding& last = bindings_[--bound_];
        newest_[static_cast<NameId>(last.prefix + 1)] = last.hidden;
    }
}

std::span<const NamespaceDeclaration> Namespaces::ownDeclarations() const {
    declarations_.clear();
    for (std::size_t i = bound_ - declared_; i < bound_; ++i) {
        const Binding& own = bindings_[i];
        declarations_.push_back(
            {own.prefix == kNoName ? std::string_view() : names_.text(own.prefix), own.uri});
    }
    return declarations_;
}

const Namespaces::Binding* Namespaces::bindingOfElement(std::uint32_t& index) const {
    index = find((names_.flags(element_) & Names::kPrefixed) != 0 ? names_.prefix(element_) : kNoName);
    return index == kNone ? nullptr : &bindings_[index];
}

const Namespaces::Binding* Namespaces::bindingOfAttribute(NameId name, std::uint32_t& index) const {
    index = (names_.flags(name) & Names::kPrefixed) != 0 ? find(names_.prefix(name)) : kNone;
    return index == kNone ? nullptr : &bindings_[index];
}

ExpandedName Namespaces::expanded(NameId name, bool isElement) const {
    const std::string_view written = names_.text(name);
    const std::uint8_t flags = names_.flags(name);
    if ((flags & Names::kDeclaration) != 0 && !isElement) {
        return {kXmlnsUri, written.substr(0, names_.prefixLength(name)), names_.localName(name)};
    }
    const bool isPrefixed = (flags & Names::kPrefixed) != 0;
    if (!isPrefixed && !isElement) return {{}, {}, written};
    const NameId prefix = isPrefixed ? names_.prefix(name) : kNoName;
    const std::uint32_t binding = find(prefix);
    const std::string_view uri = binding != kNone ? std::string_view(bindings_[binding].uri)
                                 : isPrefixed     ? kXmlUri  // the one prefix that needs no declaration
                                                  : std::string_view();
    return {uri, isPrefixed ? names_.text(prefix) : std::string_view(), names_.localName(name)};
}

void Namespaces::addPrefixes(std::vector<NameId*>& ids) {
    for (std::size_t i = 0; i < bound_; ++i) {
        if (bindings_[i].prefix != kNoName) ids.push_back(&bindings_[i].prefix);
    }
}

void Namespaces::renamed() {
    newest_.clear();
    for (std::uint32_t i = 0; i < bound_; ++i) newest(bindings_[i].prefix) = i;
}

}  // namespace engine::reader
