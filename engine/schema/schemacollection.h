// XMLSchemaCache60: the schemas that documents are validated against. It counts from 1.
// Threads: belongs to the thread that made it, as documents do.
#pragma once

#include <memory>
#include <vector>

#include "engine/com/blocks.h"
#include "engine/com/msxml.h"
#include "engine/dom/services.h"
#include "engine/reader/schemastream.h"
#include "engine/schema/schemaset.h"

namespace engine::schema {

class SchemaCollection final : public IXMLDOMSchemaCollection,
                               public dom::ISchemaValidator,
                               public reader::ISchemaStream,
                               public com::Pooled {
public:
    // As the class table wants it.
    [[nodiscard]] static HRESULT create(REFIID iid, void** object) noexcept;

    HRESULT QueryInterface(REFIID iid, void** object) override;
    ULONG AddRef() override { return ++count_; }
    ULONG Release() override;

    // `source` is a path or a file URL (VT_BSTR). A namespace that has a schema gets the new one. On failure
    // the collection is unchanged.
    HRESULT add(BSTR namespaceUri, VARIANT source) override;
    HRESULT validateTree(const dom::NodeSource& source, Find find,
                         std::vector<reader::Violation>* found) override;
    std::unique_ptr<reader::EventSink> newValidator(reader::ViolationReport report) override;

private:
    SchemaCollection() = default;
    ~SchemaCollection() = default;

    [[nodiscard]] const SchemaSet& needSet() const;

    ULONG count_ = 1;
    std::vector<SchemaFile> files_;
    std::shared_ptr<const SchemaSet> set_;  // of all files; null: none yet
};

}  // namespace engine::schema
