// XSLTemplate60: a style sheet that is compiled once, and the processors that run it. They count from 1.
// Threads: belong to the thread of the style sheet's document.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/com/extension.h"
#include "engine/com/object.h"
#include "engine/com/ref.h"
#include "engine/dom/services.h"
#include "engine/xslt/compiled.h"

namespace engine::xslt {

class Template final : public com::Object<Template, IXSLTemplate, IXSLReporting> {
public:
    // As the class table wants it.
    [[nodiscard]] static HRESULT create(REFIID iid, void** object) noexcept;

    HRESULT putref_stylesheet(IXMLDOMNode* styleSheet) override;
    HRESULT createProcessor(IXSLProcessor** processor) override;
    HRESULT putReports(IXSLReports* reports) override;

    // The style sheet as it is now. Throws com::Exception; a template without one included.
    [[nodiscard]] StyleSheet& current();

private:
    com::Ref<IXMLDOMNode> node_;  // keeps the tree
    std::unique_ptr<KeptStyle> style_;
    com::Ref<IXSLReports> reports_;
};

class Processor final : public com::Object<Processor, IXSLProcessor, IXSLReporting> {
public:
    explicit Processor(com::Ref<Template> owner) noexcept : template_(std::move(owner)) {}

    HRESULT put_input(VARIANT input) override;
    HRESULT put_output(VARIANT output) override;
    HRESULT get_output(VARIANT* output) override;
    HRESULT transform(VARIANT_BOOL* done) override;
    HRESULT addParameter(BSTR name, VARIANT value, BSTR namespaceUri) override;
    HRESULT putReports(IXSLReports* reports) override;

private:
    void run(const RunOptions& options);

    com::Ref<Template> template_;
    com::Ref<IUnknown> input_;  // keeps the tree
    com::Ref<IUnknown> output_;
    com::Ref<ISequentialStream> stream_;      // the output
    com::Ref<dom::IContentTarget> document_;  // or this
    std::u16string text_;                     // of the last transformation without an output
    std::vector<Parameter> parameters_;
    com::Ref<IXSLReports> reports_;
};

}  // namespace engine::xslt
