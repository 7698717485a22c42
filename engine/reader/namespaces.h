// Which namespaces are in force, and what the names of the element being delivered stand for.
//
// A document without prefixes costs one look at the flags of its names. Bindings form a stack; for each
// prefix its newest binding is found by the id of its name, so nothing is ever searched. Threads: as the
// parser it belongs to.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/source/errors.h"
#include "engine/tables/names.h"

namespace engine::reader {

using source::ErrorCode;
using tables::kNoName;
using tables::NameId;
using tables::Names;
using tables::Table;

struct Attribute {
    std::string_view name;   // as written, prefix included
    std::string_view value;  // normalised, references expanded
};

// The same for those who know the document's names.
struct IdAttribute {
    NameId name;
    std::string_view value;
};

// A start tag, for those who know the document's names.
struct StartTag {
    NameId id;
    std::string_view name;
    std::span<const IdAttribute> attributes;
    std::uint8_t flags;  // of all attributes' names together; see Names::Flag
};

// A name taken apart. The views live as long as the event that they belong to.
struct ExpandedName {
    std::string_view uri;  // empty: in no namespace
    std::string_view prefix;
    std::string_view local;
};

struct NamespaceDeclaration {
    std::string_view prefix;  // empty: the default namespace
    std::string_view uri;     // empty: the default namespace is taken back
};

// The names of the element whose startElement or endElement is being delivered, resolved.
class Namespaces final {
public:
    static constexpr std::size_t kElement = ~std::size_t{0};
    struct Error {
        ErrorCode code = ErrorCode::None;
        std::string reason;
        std::size_t attribute = kElement;  // index of the offending one
    };
    // The namespace that a prefix is bound to from one start tag to its end tag.
    struct Binding {
        NameId prefix;  // kNoName: the default namespace
        std::string uri;
        std::uint32_t hidden;  // the binding of the same prefix that holds again afterwards
        std::uint64_t serial;  // different for each binding of a document
    };

    // Borrows both.
    explicit Namespaces(const Names& names,
                        std::pmr::memory_resource* memory = std::pmr::get_default_resource()) noexcept
        : names_(names), bindings_(memory), newest_(memory), declarations_(memory), order_(memory) {}

    // For a sink, during startElement and endElement.
    [[nodiscard]] ExpandedName element() const { return expanded(element_, true); }
    [[nodiscard]] NameId elementId() const noexcept { return element_; }
    [[nodiscard]] std::span<const IdAttribute> attributes() const noexcept { return attributes_; }
    // By index into the attributes of the event; startElement only. Attributes without a prefix are in no
    // namespace.
    [[nodiscard]] ExpandedName attribute(std::size_t index) const {
        return expanded(attributes_[index].name, false);
    }
    [[nodiscard]] bool isDeclaration(std::size_t index) const noexcept {  // xmlns="..." or xmlns:p="..."
        return (names_.flags(attributes_[index].name) & Names::kDeclaration) != 0;
    }
    // What the element itself declares, in document order; in endElement what goes out of scope.
    [[nodiscard]] std::span<const NamespaceDeclaration> declarations() const {
        if (declared_ == 0) return {};
        return ownDeclarations();
    }
    // The binding that the element's name uses, and its index, which is used again after it; null: none.
    [[nodiscard]] const Binding* bindingOfElement(std::uint32_t& index) const;
    // The same for the name of an attribute.
    [[nodiscard]] const Binding* bindingOfAttribute(NameId name, std::uint32_t& index) const;
    [[nodiscard]] const Names& names() const noexcept { return names_; }

    // For a parser. A start tag: its declarations hold from here on. `attributeFlags` are those of all
    // attributes' names together. False: an error, and nothing may be asked of this object but what it was.
    [[nodiscard]] bool enter(NameId element, std::span<const IdAttribute> attributes,
                             std::uint8_t attributeFlags) {
        element_ = element;
        attributes_ = attributes;
        declared_ = 0;
        return (attributeFlags == 0 || enterAttributes(attributeFlags)) && checkName(element, kElement);
    }
    [[nodiscard]] std::uint32_t declared() const noexcept { return declared_; }
    // An end tag: `declared` as it was at its start tag. Between the two the sink may ask.
    void beginLeave(NameId element, std::uint32_t declared) noexcept {
        element_ = element;
        attributes_ = {};
        declared_ = declared;
    }
    void leave(std::uint32_t declared) noexcept {
        if (declared != 0) unbind(declared);
    }
    [[nodiscard]] Error& error() noexcept { return error_; }

    // The ids of the prefixes in force, for Names::compact; afterwards renamed() is due.
    void addPrefixes(std::vector<NameId*>& ids);
    void renamed();

private:
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};

    [[nodiscard]] std::span<const NamespaceDeclaration> ownDeclarations() const;
    [[nodiscard]] bool enterAttributes(std::uint8_t flags);
    [[nodiscard]] bool declare(std::size_t index);
    [[nodiscard]] bool checkName(NameId name, std::size_t index) {
        const std::uint8_t flags = names_.flags(name);
        return flags == 0 || (flags == Names::kPrefixed && find(names_.prefix(name)) != kNone) ||
               checkUnusualName(name, index);
    }
    [[nodiscard]] bool checkUnusualName(NameId name, std::size_t index);
    [[nodiscard]] bool checkDuplicates();
    [[nodiscard]] bool reject(ErrorCode code, std::size_t index, std::string reason);
    void bind(NameId prefix, std::string_view uri);
    void unbind(std::uint32_t count) noexcept;
    [[nodiscard]] std::uint32_t& newest(NameId prefix);
    [[nodiscard]] std::uint32_t find(NameId prefix) const noexcept {
        const std::size_t at = static_cast<NameId>(prefix + 1);
        return at < newest_.size() ? newest_[at] : kNone;
    }
    [[nodiscard]] ExpandedName expanded(NameId name, bool isElement) const;

    const Names& names_;
    std::pmr::vector<Binding> bindings_;  // in document order; those after `bound_` are used again
    std::size_t bound_ = 0;
    std::pmr::vector<std::uint32_t> newest_;  // by prefix, kNone: none; the default namespace first
    std::uint64_t serial_ = 0;

    NameId element_ = kNoName;
    std::span<const IdAttribute> attributes_;
    std::uint32_t declared_ = 0;  // the newest bindings, which are the element's own
    mutable std::pmr::vector<NamespaceDeclaration> declarations_;
    std::pmr::vector<std::uint32_t> order_;  // scratch
    Error error_;
};

}  // namespace engine::reader
