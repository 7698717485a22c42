#include "msxml_parser/detail/mssaxxml.h"

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/bstr.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/outlive.h"
#include "msxml_parser/detail/saxcontenthandler.h"

MSSAXXml::MSSAXXml() {
    msxml::ComPtr<ISAXXMLReader> reader;
    if (FAILED(msxml::createEngineObject(msxml::kSaxReaderClass, reader))) return;
    contentHandler_ = new SAXContentHandlerImpl;
    reader_ = reader.detach();
    (void)reader_->putContentHandler(contentHandler_);  // a reader that refuses it delivers no events
}

// Kept: the reader and the content handler outlive the parser. See behaviour.md, "SAX parsers are not given
// back".
MSSAXXml::~MSSAXXml() {
    msxml::keepUntilProcessEnd(reader_);
    msxml::keepUntilProcessEnd(contentHandler_);
}

// Kept: what the engine answers to the parse is ignored. See behaviour.md, "Malformed input to SAX".
bool MSSAXXml::parseFile(const KelString& path) {
    error_.clear();
    const KelString normalised = kel::normalisePath(path);
    if (reader_ == nullptr) {
        return msxml::fail(error_, kNoReader, "Error while reading %1 : No SAX Object", normalised);
    }
    if (!msxml::atBorder([&] { return kel::platform::canOpenForReading(normalised.view()); })) {
        return msxml::fail(
            error_, kFileNotReadable,
            "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
            normalised);
    }
    (void)reader_->parseURL(msxml::toOleChars(normalised.c_str()));
    return true;
}

void MSSAXXml::pushHandler(IKelSAXXmlHandler* handler) {
    if (contentHandler_ != nullptr) contentHandler_->pushReceiver(handler);
}

void MSSAXXml::popHandler() {
    if (contentHandler_ != nullptr) contentHandler_->popReceiver();
}
