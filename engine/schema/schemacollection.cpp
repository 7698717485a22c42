#include "engine/schema/schemacollection.h"

#include <algorithm>

#include "engine/com/classtable.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"
#include "engine/reader/reader.h"
#include "engine/schema/streamvalidator.h"
#include "engine/text/utf.h"
#include "engine/text/worded.h"

namespace engine::schema {

using com::Exception;
using com::guarded;

HRESULT SchemaCollection::create(REFIID iid, void** object) noexcept {
    return guarded([&] {
        const auto made = com::Ref<SchemaCollection>::adopt(new SchemaCollection);
        return made->QueryInterface(iid, object);
    });
}

HRESULT SchemaCollection::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID_IXMLDOMSchemaCollection) {
        *object = static_cast<IXMLDOMSchemaCollection*>(this);
    } else if (iid == dom::IID_ISchemaValidator) {
        *object = static_cast<dom::ISchemaValidator*>(this);
    } else if (iid == reader::IID_ISchemaStream) {
        *object = static_cast<reader::ISchemaStream*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG SchemaCollection::Release() {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
}

HRESULT SchemaCollection::add(BSTR namespaceUri, VARIANT source) {
    return guarded([&] {
        if (source.vt != VT_BSTR) {
            throw Exception(E_INVALIDARG, "A schema is added by its path or file URL, given as a string.");
        }
        const source::Input input = source::Input::location(com::textOf(source.bstrVal));
        if (input.kind() != source::Input::Kind::File) {
            throw Exception(
                E_ACCESSDENIED,
                text::worded("The schema '%1' is rejected: only local files are read, never the network.",
                             input.path()));
        }
        SchemaFile file{text::toUtf8(com::textOf(namespaceUri)), input.path()};
        std::vector<SchemaFile> files = files_;
        const auto same = std::find_if(files.begin(), files.end(), [&](const SchemaFile& known) {
            return known.namespaceUri == file.namespaceUri;
        });
        if (same == files.end()) {
            files.push_back(std::move(file));
        } else {
            *same = std::move(file);
        }
        auto set = std::make_shared<const SchemaSet>(files);
        files_ = std::move(files);
        set_ = std::move(set);
        return S_OK;
    });
}

// Throws Exception while there is none.
const SchemaSet& SchemaCollection::needSet() const {
    if (set_ == nullptr) throw Exception(E_FAIL, "The schema collection has no schema to validate against.");
    return *set_;
}

HRESULT SchemaCollection::validateTree(const dom::NodeSource& source, Find find,
                                       std::vector<reader::Violation>* found) {
    if (found == nullptr) return E_POINTER;
    return guarded([&] {
        *found = needSet().validate(source, find);
        return S_OK;
    });
}

std::unique_ptr<reader::EventSink> SchemaCollection::newValidator(reader::ViolationReport report) {
    (void)needSet();
    return std::make_unique<StreamValidator>(set_, std::move(report));
}

}  // namespace engine::schema

namespace {
engine::com::ClassEntry collectionClass{CLSID_XMLSchemaCache60, engine::schema::SchemaCollection::create};
}

// The name by which the link asks for this file; see CMakeLists.txt.
extern "C" const bool engineSchemaRegistered;
const bool engineSchemaRegistered = engine::com::registerClass(collectionClass);
