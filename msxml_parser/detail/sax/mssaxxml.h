// The SAX parser over the engine's reader. Its operations are documented with their interface.
// Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include <memory>

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/dom/msdomxmlerror.h"
#include "msxml_parser/detail/sax/saxevents.h"
#include "msxml_parser/detail/xmlfactory.h"
#include "msxml_parser/ikelsaxxmlv3.h"

class SAXContentHandlerImpl;

class MSSAXXml : public kel::Implements<MSSAXXml, IKelSAXXml, IKelSAXXmlV2>,
                 public virtual IKelSAXXmlV3,
                 public msxml::XmlFactory {
public:
    using Later = kel::InterfaceList<IKelSAXXmlV3, IKelXmlFactory>;
    static constexpr const char* kClassName = "MSSAXXml";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    MSSAXXml();  // without a reader if the engine makes none
    ~MSSAXXml() override;

    bool parseFile(const KelString& path) override;
    void pushHandler(IKelSAXXmlHandler* handler) override;
    void popHandler() override;
    IKelSAXXmlError* getError() override { return &error_; }

    bool readFile(const KelString& path, IKelSAXXmlHandlerV2& handler) override;
    bool readString(const KelString& text, IKelSAXXmlHandlerV2& handler) override;
    bool readBytes(const void* bytes, std::size_t byteCount, IKelSAXXmlHandlerV2& handler) override;
    bool readStream(BinInput& in, IKelSAXXmlHandlerV2& handler) override;
    void stop() override { events_.stop(); }
    bool wasStopped() override { return events_.wasStopped(); }
    int getLine() override { return events_.line(); }
    int getColumn() override { return events_.column(); }

private:
    template <typename Parse>
    bool read(const KelString* path, IKelSAXXmlHandlerV2& handler, Parse&& parse);
    void setUpReader();
    bool reject(const KelString* path, int code, int line, int column, const KelString& reason);

    ISAXXMLReader* reader_ = nullptr;                  // one reference, never released
    SAXContentHandlerImpl* contentHandler_ = nullptr;  // with the reader; never destroyed
    MSSAXXmlError error_;
    // Of the third version; the reader is made when it is first needed.
    msxml::SaxEvents events_{kMaxDepth};  // outlives the reader, which holds it
    msxml::ComPtr<ISAXXMLReader> fullReader_;
};
