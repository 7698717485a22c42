// The SAX parser over the engine's reader. Its operations are documented with their interface.
// Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/msdomxmlerror.h"
#include "msxml_parser/ikelsaxxml.h"

class SAXContentHandlerImpl;

class MSSAXXml : public kel::Implements<MSSAXXml, IKelSAXXml, IKelSAXXmlV2> {
public:
    static constexpr const char* kClassName = "MSSAXXml";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    MSSAXXml();  // without a reader if the engine makes none
    ~MSSAXXml() override;

    bool parseFile(const KelString& path) override;
    void pushHandler(IKelSAXXmlHandler* handler) override;
    void popHandler() override;
    IKelSAXXmlError* getError() override { return &error_; }

private:
    ISAXXMLReader* reader_ = nullptr;                  // one reference, never released
    SAXContentHandlerImpl* contentHandler_ = nullptr;  // with the reader; never destroyed
    MSSAXXmlError error_;
};
