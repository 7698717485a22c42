// A counted reference to an engine object whose every use is checked: going through an empty one raises
// _com_error with E_POINTER. Threads: as the object it refers to.
#pragma once

#include <type_traits>
#include <utility>

#include "msxml_parser/detail/platformcom.h"

namespace msxml {

[[noreturn]] inline void raiseNullReference() {
    _com_issue_error(E_POINTER);
    throw _com_error(E_POINTER);  // reached where the platform does not promise that the call above throws
}

[[noreturn]] inline void raise(HRESULT status, IUnknown* object, REFIID iid) {
    _com_issue_errorex(status, object, iid);
    throw _com_error(status);  // likewise
}

// The identifier of an engine interface: one overload for each in use.
template <typename T>
using Interface = std::type_identity<T>;
inline const IID& iidFor(Interface<IUnknown>) noexcept {
    return IID_IUnknown;
}
inline const IID& iidFor(Interface<IXMLDOMNode>) noexcept {
    return IID_IXMLDOMNode;
}
inline const IID& iidFor(Interface<IXMLDOMElement>) noexcept {
    return IID_IXMLDOMElement;
}
inline const IID& iidFor(Interface<IXMLDOMText>) noexcept {
    return IID_IXMLDOMText;
}
inline const IID& iidFor(Interface<IXMLDOMProcessingInstruction>) noexcept {
    return IID_IXMLDOMProcessingInstruction;
}
inline const IID& iidFor(Interface<IXMLDOMDocument>) noexcept {
    return IID_IXMLDOMDocument;
}
inline const IID& iidFor(Interface<IXMLDOMDocument2>) noexcept {
    return IID_IXMLDOMDocument2;
}
inline const IID& iidFor(Interface<IXMLDOMNodeList>) noexcept {
    return IID_IXMLDOMNodeList;
}
inline const IID& iidFor(Interface<IXMLDOMNamedNodeMap>) noexcept {
    return IID_IXMLDOMNamedNodeMap;
}
inline const IID& iidFor(Interface<IXMLDOMParseError>) noexcept {
    return IID_IXMLDOMParseError;
}
inline const IID& iidFor(Interface<IXMLDOMSchemaCollection>) noexcept {
    return IID_IXMLDOMSchemaCollection;
}
inline const IID& iidFor(Interface<ISAXXMLReader>) noexcept {
    return IID_ISAXXMLReader;
}
inline const IID& iidFor(Interface<IXMLDOMParseError2>) noexcept {
    return IID_IXMLDOMParseError2;
}
inline const IID& iidFor(Interface<IXMLDOMParseErrorCollection>) noexcept {
    return IID_IXMLDOMParseErrorCollection;
}
inline const IID& iidFor(Interface<IXSLTemplate>) noexcept {
    return IID_IXSLTemplate;
}
inline const IID& iidFor(Interface<IXSLProcessor>) noexcept {
    return IID_IXSLProcessor;
}

template <typename T>
[[nodiscard]] const IID& iidOf() noexcept {
    return iidFor(Interface<T>());
}

template <typename T>
class ComPtr final {
public:
    ComPtr() noexcept = default;
    ComPtr(const ComPtr& other) noexcept : object_(other.object_) {
        if (object_ != nullptr) object_->AddRef();
    }
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <typename U>
    requires std::is_base_of_v<T, U> ComPtr(ComPtr<U> other)
    noexcept : object_(other.detach()) {}
    ComPtr& operator=(
        ComPtr other) noexcept {  // by value: the new object is in place before the old one goes
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() {
        if (object_ != nullptr) object_->Release();
    }

    [[nodiscard]] static ComPtr adopt(T* object) noexcept {  // takes over a count
        ComPtr result;
        result.object_ = object;
        return result;
    }
    [[nodiscard]] static ComPtr share(T* object) noexcept {  // adds a count
        if (object != nullptr) object->AddRef();
        return adopt(object);
    }

    [[nodiscard]] T* get() const noexcept { return object_; }
    [[nodiscard]] T* detach() noexcept {
        return std::exchange(object_, nullptr);
    }  // the count goes to the caller
    // For out-parameters: releases what is held and takes over what is written.
    [[nodiscard]] T** receive() noexcept {
        if (object_ != nullptr) std::exchange(object_, nullptr)->Release();
        return &object_;
    }
    T* operator->() const {
        if (object_ == nullptr) raiseNullReference();
        return object_;
    }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // The same object seen as U; empty when this is empty or the object is no U. Other rejections raise.
    template <typename U>
    [[nodiscard]] ComPtr<U> as() const {
        ComPtr<U> result;
        if (object_ == nullptr) return result;
        const HRESULT status =
            object_->QueryInterface(iidOf<U>(), reinterpret_cast<void**>(result.receive()));
        if (FAILED(status) && status != E_NOINTERFACE) raise(status, object_, iidOf<T>());
        return result;
    }

private:
    T* object_ = nullptr;
};

// For a call made through `object`: raises _com_error with the status and the thread's error information when
// the call failed.
template <typename T>
void check(HRESULT status, const ComPtr<T>& object) {
    if (FAILED(status)) raise(status, object.get(), iidOf<T>());
}

// Creates an engine object of the class. Its class context allows servers out of this process, so it is
// created as IUnknown, made to run and only then asked for T. Returns the first failure; then `out` is empty.
template <typename T>
[[nodiscard]] HRESULT createEngineObject(REFCLSID classId, ComPtr<T>& out) {
    out = ComPtr<T>();
    ComPtr<IUnknown> created;
    HRESULT status = CoCreateInstance(classId, nullptr, CLSCTX_ALL, IID_IUnknown,
                                      reinterpret_cast<void**>(created.receive()));
    if (SUCCEEDED(status)) status = OleRun(created.get());
    if (SUCCEEDED(status)) {
        status = created->QueryInterface(iidOf<T>(), reinterpret_cast<void**>(out.receive()));
    }
    return status;
}

}  // namespace msxml
