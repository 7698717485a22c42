// What every COM object of the engine is made of: the count, QueryInterface, and pooled
// memory. A class lists the interfaces it implements:
//
//     class Shelf final : public com::Object<Shelf, IShelf> { ... };
//
// It has a part for each of them, for what they extend, and for what its own function `part` adds. Objects
// count from 1 and destroy themselves with the last Release. Threads: a count is plain; an object belongs to
// one thread at a time.
#pragma once

#include <type_traits>
#include <utility>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"

namespace engine::com {

// The identifier of an interface and the interface it extends. A class that implements an interface and is
// listed in its stead has the information of that interface.
template <typename T>
struct InterfaceInfo;

namespace detail {
template <typename Itself, const IID& kIdentifier, typename Extended>
struct InterfaceFacts {
    static constexpr const IID& kId = kIdentifier;
    using Interface = Itself;
    using Base = Extended;
};
}  // namespace detail

// clang-format off
template <> struct InterfaceInfo<IUnknown> : detail::InterfaceFacts<IUnknown, IID_IUnknown, void> {};
template <> struct InterfaceInfo<IDispatch> : detail::InterfaceFacts<IDispatch, IID_IDispatch, IUnknown> {};
template <> struct InterfaceInfo<IErrorInfo> : detail::InterfaceFacts<IErrorInfo, IID_IErrorInfo, IUnknown> {};
template <> struct InterfaceInfo<ICreateErrorInfo> : detail::InterfaceFacts<ICreateErrorInfo, IID_ICreateErrorInfo, IUnknown> {};
template <> struct InterfaceInfo<ISequentialStream> : detail::InterfaceFacts<ISequentialStream, IID_ISequentialStream, IUnknown> {};
template <> struct InterfaceInfo<IStream> : detail::InterfaceFacts<IStream, IID_IStream, ISequentialStream> {};
template <> struct InterfaceInfo<IXMLDOMNode> : detail::InterfaceFacts<IXMLDOMNode, IID_IXMLDOMNode, IDispatch> {};
template <> struct InterfaceInfo<IXMLDOMElement> : detail::InterfaceFacts<IXMLDOMElement, IID_IXMLDOMElement, IXMLDOMNode> {};
template <> struct InterfaceInfo<IXMLDOMAttribute> : detail::InterfaceFacts<IXMLDOMAttribute, IID_IXMLDOMAttribute, IXMLDOMNode> {};
template <> struct InterfaceInfo<IXMLDOMText> : detail::InterfaceFacts<IXMLDOMText, IID_IXMLDOMText, IXMLDOMNode> {};
template <> struct InterfaceInfo<IXMLDOMProcessingInstruction>
    : detail::InterfaceFacts<IXMLDOMProcessingInstruction, IID_IXMLDOMProcessingInstruction, IXMLDOMNode> {};
template <> struct InterfaceInfo<IXMLDOMDocument> : detail::InterfaceFacts<IXMLDOMDocument, IID_IXMLDOMDocument, IXMLDOMNode> {};
template <> struct InterfaceInfo<IXMLDOMDocument2>
    : detail::InterfaceFacts<IXMLDOMDocument2, IID_IXMLDOMDocument2, IXMLDOMDocument> {};
template <> struct InterfaceInfo<IXMLDOMNodeList> : detail::InterfaceFacts<IXMLDOMNodeList, IID_IXMLDOMNodeList, IDispatch> {};
template <> struct InterfaceInfo<IXMLDOMNamedNodeMap>
    : detail::InterfaceFacts<IXMLDOMNamedNodeMap, IID_IXMLDOMNamedNodeMap, IDispatch> {};
template <> struct InterfaceInfo<IXMLDOMParseError> : detail::InterfaceFacts<IXMLDOMParseError, IID_IXMLDOMParseError, IDispatch> {};
template <> struct InterfaceInfo<IXMLDOMParseError2>
    : detail::InterfaceFacts<IXMLDOMParseError2, IID_IXMLDOMParseError2, IXMLDOMParseError> {};
template <> struct InterfaceInfo<IXMLDOMParseErrorCollection>
    : detail::InterfaceFacts<IXMLDOMParseErrorCollection, IID_IXMLDOMParseErrorCollection, IDispatch> {};
template <> struct InterfaceInfo<IXSLProcessor> : detail::InterfaceFacts<IXSLProcessor, IID_IXSLProcessor, IDispatch> {};
template <> struct InterfaceInfo<IXSLTemplate> : detail::InterfaceFacts<IXSLTemplate, IID_IXSLTemplate, IDispatch> {};
template <> struct InterfaceInfo<IXMLDOMSchemaCollection>
    : detail::InterfaceFacts<IXMLDOMSchemaCollection, IID_IXMLDOMSchemaCollection, IDispatch> {};
template <> struct InterfaceInfo<ISAXXMLReader> : detail::InterfaceFacts<ISAXXMLReader, IID_ISAXXMLReader, IUnknown> {};
template <> struct InterfaceInfo<ISAXAttributes> : detail::InterfaceFacts<ISAXAttributes, IID_ISAXAttributes, IUnknown> {};
template <> struct InterfaceInfo<ISAXErrorHandler> : detail::InterfaceFacts<ISAXErrorHandler, IID_ISAXErrorHandler, IUnknown> {};
template <> struct InterfaceInfo<ISAXLocator> : detail::InterfaceFacts<ISAXLocator, IID_ISAXLocator, IUnknown> {};
// clang-format on

// Whether T, or an interface that it extends, has the identifier.
template <typename T>
[[nodiscard]] bool isInterface(REFIID iid) noexcept {
    if (iid == InterfaceInfo<T>::kId) return true;
    if constexpr (!std::is_void_v<typename InterfaceInfo<T>::Base>) {
        return isInterface<typename InterfaceInfo<T>::Base>(iid);
    }
    return false;
}

template <typename Derived, typename First, typename... Others>
class Object : public First, public Others..., public Pooled {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) return E_POINTER;
        *object = static_cast<Derived*>(this)->part(iid);
        if (*object == nullptr) return E_NOINTERFACE;
        ++count_;
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() final { return ++count_; }
    ULONG STDMETHODCALLTYPE Release() final {
        const ULONG left = --count_;
        if (left == 0) static_cast<Derived*>(this)->end();
        return left;
    }

protected:
    template <typename... Arguments>
    explicit Object(Arguments&&... arguments) : First(std::forward<Arguments>(arguments)...) {}
    ~Object() = default;

    // What the last Release does; a class may do otherwise.
    void end() noexcept { delete static_cast<Derived*>(this); }

    // This object as the interface, borrowed; null if it has none such. What all interfaces extend is the
    // first's.
    [[nodiscard]] void* part(REFIID iid) noexcept {
        void* found = partAs<First>(iid);
        ((found = found == nullptr ? partAs<Others>(iid) : found), ...);
        return found;
    }

private:
    template <typename T>
    [[nodiscard]] void* partAs(REFIID iid) noexcept {
        using Interface = typename InterfaceInfo<T>::Interface;
        return isInterface<T>(iid) ? static_cast<Interface*>(static_cast<T*>(this)) : nullptr;
    }

    ULONG count_ = 1;
};

}  // namespace engine::com
