// Compiled style sheets over the engine's templates and processors. The operations are documented with the
// interface. Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include <variant>
#include <vector>

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/enginereports.h"
#include "msxml_parser/detail/msxmlerror.h"
#include "msxml_parser/ikelxslstylesheet.h"

class MSXslStyleSheet : public kel::Implements<MSXslStyleSheet, IKelXslStyleSheet> {
public:
    static constexpr const char* kClassName = "MSXslStyleSheet";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    bool compileFile(const KelString& path) override;
    bool compileString(const KelString& text) override;
    bool setTextParameter(const KelString& name, const KelString& namespaceUri,
                          const KelString& value) override;
    bool setNumberParameter(const KelString& name, const KelString& namespaceUri, double value) override;
    bool setTruthParameter(const KelString& name, const KelString& namespaceUri, bool value) override;
    void clearParameters() override { parameters_.clear(); }
    void setMessageHandler(IKelXslMessageHandler* handler) override { reports_.setHandler(handler); }
    bool transformToString(IKelDOMXml* source, KelString& result) override;
    bool transformToDocument(IKelDOMXml* source, IKelDOMXml* result) override;
    bool transformToStream(IKelDOMXml* source, BinOutput& out) override;
    IKelXmlError* getError() override { return &error_; }

private:
    using Value = std::variant<KelString, double, bool>;
    struct Parameter {
        KelString name;
        KelString namespaceUri;
        Value value;
    };
    class Busy;

    bool setParameter(const KelString& name, const KelString& namespaceUri, Value value);
    template <typename Load>
    bool compile(const KelString* path, Load&& load);
    bool reject(const KelString* path, const _com_error& error);
    bool rejectSource(const KelString* path, const msxml::ComPtr<IXMLDOMDocument2>& document);
    // Runs the style sheet; `use` gets the processor after it has set it up, before and after the
    // transformation.
    template <typename Before, typename After>
    bool transform(IKelDOMXml* source, Before&& before, After&& after);

    msxml::ComPtr<IXSLTemplate> template_;  // empty: nothing has been compiled
    std::vector<Parameter> parameters_;
    msxml::StyleSheetReports reports_;
    bool isBusy_ = false;
    MSXmlError error_;
};
