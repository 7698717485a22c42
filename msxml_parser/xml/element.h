// Elements and attributes of a document, as values. See msxml_parser/xml.h.
//
// Both are handles: copies of one stand on the same element, and see each other's edits. A handle keeps its
// document alive, so that it outlives the range and the Document that it came from. Failures: an Exception;
// after a move only assignment and destruction are left, everything else is ErrorCode::NoElement. Threads:
// one at a time, the document's thread.
#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/object/iptr.h"
#include "msxml_parser/ikeldomxmlelement.h"
#include "msxml_parser/ikeldomxmlelementitrv2.h"
#include "msxml_parser/ikeldomxmlelementv2.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/text.h"

namespace msxml_parser {

class AttributeRange;
class ElementRange;

// Where a start tag stands in what was loaded, from 1, the column in characters.
struct Position {
    int line = 0;    // from 1
    int column = 0;  // in characters, from 1
};

namespace detail {

// The object behind a value; one that was moved from has none.
template <class T>
T& required(const IPtr<T>& object) {
    if (!object) fail(ErrorCode::NoElement, "The object was moved from");
    return *object;
}

}  // namespace detail

// Texts come in three forms: as an std::string of UTF-8; as a view of UTF-8 into a Utf8Buffer of the
// caller's; as a view of UTF-16 into a Buffer of the caller's. The latter two use the storage again, for
// programs that read much.
class Element final {
public:
    explicit Element(IKelDOMXmlElementV2& element) noexcept : element_(&element) {}  // takes a reference

    // The element itself, borrowed, for operations of the interfaces.
    [[nodiscard]] IKelDOMXmlElementV2& handle() const { return detail::required(element_); }

    // --- Names --------------------------------------------------------------------------------------------
    // With its prefix, as written.
    [[nodiscard]] std::string name() const { return detail::readText<&V1::getNameWide>(handle()); }
    template <Storage Out>
    typename Out::View name(Out& out) const {
        return detail::readInto<&V1::getNameWide>(out, handle());
    }
    // Its parts; without a prefix, and in no namespace: empty.
    [[nodiscard]] std::string localName() const { return detail::readText<&V2::getLocalName>(handle()); }
    [[nodiscard]] std::string prefix() const { return detail::readText<&V2::getPrefix>(handle()); }
    [[nodiscard]] std::string namespaceUri() const {
        return detail::readText<&V2::getNamespaceUri>(handle());
    }

    // --- Text ---------------------------------------------------------------------------------------------
    // All text in the element, CDATA sections and descendants included.
    [[nodiscard]] std::string text() const { return detail::readText<&V2::getAllText>(handle()); }
    template <Storage Out>
    typename Out::View text(Out& out) const {
        return detail::readInto<&V2::getAllText>(out, handle());
    }
    // The element's own text nodes alone, joined; neither CDATA sections nor texts of children.
    [[nodiscard]] std::string ownText() const { return detail::readText<&V1::getTextWide>(handle()); }
    template <Storage Out>
    typename Out::View ownText(Out& out) const {
        return detail::readInto<&V1::getTextWide>(out, handle());
    }
    // Replaces the first text node alone, or adds one after all children if there is none.
    void setText(const Text& text) {
        detail::guarded([&] { handle().setText(text.value()); });
    }

    // --- Attributes, by qualified name --------------------------------------------------------------------
    // Its value; none: there is no such attribute.
    [[nodiscard]] std::optional<std::string> attribute(const Text& name) const {
        std::string value = detail::readText<&V1::getAttributeWide>(handle(), name.value());
        if (value.empty() && !hasAttribute(name)) return std::nullopt;  // reads as an empty one does
        return value;
    }
    template <Storage Out>
    std::optional<typename Out::View> attribute(const Text& name, Out& out) const {
        const typename Out::View value = detail::readInto<&V1::getAttributeWide>(out, handle(), name.value());
        if (value.empty() && !hasAttribute(name)) return std::nullopt;
        return value;
    }
    // Whether there is one, an empty one included.
    [[nodiscard]] bool hasAttribute(const Text& name) const {
        return detail::guarded([&] { return handle().hasAttribute(name.value()); });
    }
    void setAttribute(const Text& name, const Text& value) {  // adds or overwrites
        detail::guarded([&] { handle().setAttribute(name.value(), value.value()); });
    }
    bool removeAttribute(const Text& name) {  // whether there was one
        return detail::guarded([&] { return handle().removeAttribute(name.value()); });
    }
    [[nodiscard]] AttributeRange attributes() const;  // in document order, namespace declarations included

    // --- Neighbours ---------------------------------------------------------------------------------------
    [[nodiscard]] ElementRange children() const;  // the child elements
    [[nodiscard]] ElementRange children(const Text& name) const;
    [[nodiscard]] std::optional<Element> child(const Text& name) const;  // the first of that name
    [[nodiscard]] std::optional<Element> parent() const;  // of a root element, or one taken out: none

    // --- Edits --------------------------------------------------------------------------------------------
    // An element that has a parent moves, from another document, too. What is rejected changes nothing.
    void append(const Element& child) {
        detail::guarded([&] { handle().insertChild(&child.handle(), nullptr); });
    }
    void insertBefore(const Element& child, const Element& before) {
        detail::guarded([&] { handle().insertChild(&child.handle(), &before.handle()); });
    }
    void replaceChild(const Element& replacement, const Element& replaced) {
        detail::guarded([&] { handle().replaceChild(&replacement.handle(), &replaced.handle()); });
    }
    // Takes it out of its parent or document. The handles on it stay valid: it can be put in again.
    void remove() {
        detail::guarded([&] { handle().removeFromParent(); });
    }
    [[nodiscard]] Element clone() const;  // deep; belongs to no parent

    // In what was loaded, whatever was edited since. None: it was not loaded, or the engine, as that of
    // Windows, keeps no positions.
    [[nodiscard]] std::optional<Position> position() const {
        return detail::guarded([&]() -> std::optional<Position> {
            const Position found{handle().getLine(), handle().getColumn()};
            if (found.line == 0) return std::nullopt;
            return found;
        });
    }

private:
    friend AttributeRange;
    using V1 = IKelDOMXmlElement;
    using V2 = IKelDOMXmlElementV2;

    Element() noexcept = default;  // on nothing, as after a move

    IPtr<V2> element_;
};

namespace detail {

// Takes what an operation of the first version returned with count 0; null: none.
inline std::optional<Element> takeElement(IKelDOMXmlElement* element) {
    const IPtr<IKelDOMXmlElement> owner(element);
    auto* const second = kel::queryInterface<IKelDOMXmlElementV2>(element);
    if (second == nullptr) return std::nullopt;
    return Element(*second);
}

}  // namespace detail

// One attribute of an element: its position in the list. Removing an attribute moves those after it.
class Attribute final {
public:
    Attribute(Element element, int index) : element_(std::move(element)), index_(index) {}  // from 0

    // With its prefix, as written.
    [[nodiscard]] std::string name() const {
        return detail::readText<&IKelDOMXmlElement::getAttributeNameWide>(element_.handle(), index_);
    }
    template <Storage Out>
    typename Out::View name(Out& out) const {
        return detail::readInto<&IKelDOMXmlElement::getAttributeNameWide>(out, element_.handle(), index_);
    }
    // References expanded, white space normalised.
    [[nodiscard]] std::string value() const {
        return detail::readText<&IKelDOMXmlElement::getAttributeValueWide>(element_.handle(), index_);
    }
    template <Storage Out>
    typename Out::View value(Out& out) const {
        return detail::readInto<&IKelDOMXmlElement::getAttributeValueWide>(out, element_.handle(), index_);
    }

private:
    friend AttributeRange;

    Element element_;
    int index_;
};

// The attributes that an element had when the range was made. A range is walked once at a time, and hands out
// one Attribute after the other in the same object: copy what is kept.
class AttributeRange final {
public:
    class Iterator {
    public:
        using value_type = Attribute;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::input_iterator_tag;

        Iterator() = default;
        explicit Iterator(AttributeRange& range) : range_(&range) { range_->current_.index_ = 0; }
        const Attribute& operator*() const { return range_->current_; }
        Iterator& operator++() {
            ++range_->current_.index_;
            return *this;
        }
        void operator++(int) { ++*this; }
        friend bool operator==(const Iterator& it, std::default_sentinel_t /*end*/) { return it.isEnd(); }

    private:
        [[nodiscard]] bool isEnd() const noexcept { return range_->current_.index_ >= range_->count_; }

        AttributeRange* range_ = nullptr;  // which lives longer
    };

    // Those of `element`, in document order.
    explicit AttributeRange(const Element& element)
        : count_(detail::guarded([&] { return element.handle().getAttributeCount(); })),
          current_(count_ > 0 ? element : Element(), 0) {}

    [[nodiscard]] Iterator begin() { return Iterator(*this); }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }
    [[nodiscard]] std::size_t size() const noexcept { return static_cast<std::size_t>(count_); }
    [[nodiscard]] bool empty() const noexcept { return count_ == 0; }

private:
    int count_;
    Attribute current_;  // on nothing where there are none
};

// Elements one after the other: children, or what an expression selected. A range is walked once at a time:
// begin() starts it again. The element at hand may be removed, and kept for as long as it is needed; removing
// the one after it ends the walk over children.
class ElementRange final {
public:
    class Iterator {
    public:
        using value_type = Element;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::input_iterator_tag;

        Iterator() = default;
        explicit Iterator(IKelDOMXmlElementItrV2* cursor) : cursor_(cursor) {
            if (cursor_ != nullptr) step();
        }
        Element operator*() const { return Element(*current_); }
        Iterator& operator++() {
            step();
            return *this;
        }
        void operator++(int) { step(); }
        friend bool operator==(const Iterator& it, std::default_sentinel_t /*end*/) {
            return it.current_ == nullptr;
        }

    private:
        // The cursor goes on before the element is handed out: removing that element does not stop it. It
        // keeps the handle, and takes another one if the caller has kept that.
        void step() {
            detail::guarded([&] { current_ = cursor_->getElementAndMove(); });
        }

        IKelDOMXmlElementItrV2* cursor_ = nullptr;  // the range's, which lives longer
        IKelDOMXmlElementV2* current_ = nullptr;    // the cursor's
    };

    // Null: no elements. Takes a reference.
    explicit ElementRange(IKelDOMXmlElementItrV2* cursor) : cursor_(cursor) {}

    [[nodiscard]] Iterator begin() const {
        if (wasStarted_ && cursor_) detail::guarded([&] { cursor_->first(); });
        wasStarted_ = true;
        return Iterator(cursor_.get());
    }
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }
    // All of them, from the first on.
    [[nodiscard]] std::vector<Element> toVector() const {
        std::vector<Element> all;
        for (const Element& element : *this) all.push_back(element);
        return all;
    }

private:
    IPtr<IKelDOMXmlElementItrV2> cursor_;
    mutable bool wasStarted_ = false;
};

inline AttributeRange Element::attributes() const {
    return AttributeRange(*this);
}

inline ElementRange Element::children() const {
    return ElementRange(detail::guarded([&] { return handle().findChildren(KelString()); }));
}

inline ElementRange Element::children(const Text& name) const {
    return ElementRange(detail::guarded([&] { return handle().findChildren(name.value()); }));
}

inline std::optional<Element> Element::child(const Text& name) const {
    return detail::guarded([&] { return detail::takeElement(handle().getChild(name.value())); });
}

// The component returns a handle on nothing for what has no parent element, which only a use of it shows.
inline std::optional<Element> Element::parent() const {
    std::optional<Element> parent =
        detail::guarded([&] { return detail::takeElement(handle().getParent()); });
    const auto found = attempt([&] { (void)parent->handle().getAttributeCount(); });
    if (found.error().code == ErrorCode::NoElement) return std::nullopt;
    return parent;
}

inline Element Element::clone() const {
    std::optional<Element> copy = detail::guarded([&] { return detail::takeElement(handle().clone()); });
    if (!copy) throw std::bad_alloc();
    return std::move(*copy);
}

}  // namespace msxml_parser
