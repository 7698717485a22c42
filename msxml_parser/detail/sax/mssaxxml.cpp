// The SAX parser. It has two readers of the engine: the first version's, which outlives it, and one made on
// first use for the third version, whose events go through SaxEvents.
#include "msxml_parser/detail/sax/mssaxxml.h"

#include <string_view>
#include <utility>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/engineclasses.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/inputstream.h"
#include "msxml_parser/detail/sax/saxcontenthandler.h"
#include "msxml_parser/detail/text.h"

MSSAXXml::MSSAXXml() {
    msxml::ComPtr<ISAXXMLReader> reader;
    if (FAILED(msxml::createEngineObject(msxml::kSaxReaderClass, reader))) return;
    contentHandler_ = new SAXContentHandlerImpl;
    reader_ = reader.detach();
    (void)reader_->putContentHandler(contentHandler_);  // a reader that rejects it delivers no events
}

// Intentional: the reader and the content handler outlive the parser. See behaviour.md, "SAX parsers are not
// given back".
MSSAXXml::~MSSAXXml() {
    msxml::keepUntilProcessEnd(reader_);
    msxml::keepUntilProcessEnd(contentHandler_);
}

// Intentional: the status of the parse is ignored. See behaviour.md, "Malformed input to SAX".
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

// The operations of the third version.

using msxml::fail;

using msxml::unknownIn;

// Leaves no reader if the engine makes none.
void MSSAXXml::setUpReader() {
    if (fullReader_) return;
    msxml::ComPtr<ISAXXMLReader> reader = msxml::makeFullReader(kMaxDepth + 1);  // our own limit is met first
    if (!reader) return;
    msxml::check(reader->putContentHandler(&events_), reader);
    msxml::check(reader->putErrorHandler(&events_), reader);
    msxml::check(reader->putProperty(msxml::toOleChars(u"http://xml.org/sax/properties/lexical-handler"),
                                     unknownIn(static_cast<ISAXLexicalHandler*>(&events_))),
                 reader);
    fullReader_ = std::move(reader);
}

bool MSSAXXml::reject(const KelString* path, int code, int line, int column, const KelString& reason) {
    const KelString lineText(line);
    const KelString columnText(column);
    error_.setDetails(line, column, reason);
    return path == nullptr ? fail(error_, code, "Error while reading Xml  : Line %1, column %2 : %3",
                                  lineText, columnText, reason)
                           : fail(error_, code, "Error while reading %1  : Line %2, column %3 : %4", *path,
                                  lineText, columnText, reason);
}

// `parse` starts the reader. `path` is the file's, null: the document has none.
template <typename Parse>
bool MSSAXXml::read(const KelString* path, IKelSAXXmlHandlerV2& handler, Parse&& parse) {
    if (events_.isRunning()) throw _com_error(E_UNEXPECTED);
    error_.clear();
    setUpReader();
    if (!fullReader_) {
        return path == nullptr ? fail(error_, kNoReader, "Error while reading Xml : No SAX Object")
                               : fail(error_, kNoReader, "Error while reading %1 : No SAX Object", *path);
    }
    events_.begin(handler);
    const HRESULT status = parse(*fullReader_.operator->());
    events_.end();
    if (SUCCEEDED(status) || events_.wasStopped()) return true;
    if (status == E_OUTOFMEMORY) throw _com_error(status);
    const msxml::SaxEvents::Error& reported = events_.error();
    if (reported.status != S_OK) {
        return reject(path, reported.isLimit ? kLimitExceeded : kNotWellFormed, reported.line,
                      reported.column, reported.reason);
    }
    try {  // an engine that reported nothing to the error handler
        msxml::check(status, fullReader_);
    } catch (const _com_error& error) {
        return reject(path, kNotWellFormed, 0, 0, msxml::descriptionOf(error));
    }
    return false;
}

bool MSSAXXml::readFile(const KelString& path, IKelSAXXmlHandlerV2& handler) try {
    const KelString normalised = kel::normalisePath(path);
    if (!events_.isRunning() && !kel::platform::canOpenForReading(normalised.view())) {
        error_.clear();
        return fail(error_, kFileNotReadable,
                    "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    return read(&normalised, handler, [&](ISAXXMLReader& reader) {
        return reader.parseURL(msxml::toOleChars(normalised.c_str()));
    });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSSAXXml::readString(const KelString& text, IKelSAXXmlHandlerV2& handler) try {
    const msxml::Variant source(text.view());
    return read(nullptr, handler, [&](ISAXXMLReader& reader) { return reader.parse(source.get()); });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSSAXXml::readBytes(const void* bytes, std::size_t byteCount, IKelSAXXmlHandlerV2& handler) try {
    msxml::InputStream stream(std::string_view(static_cast<const char*>(bytes), byteCount));
    return read(nullptr, handler, [&](ISAXXMLReader& reader) { return reader.parse(unknownIn(&stream)); });
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSSAXXml::readStream(BinInput& in, IKelSAXXmlHandlerV2& handler) try {
    msxml::InputStream stream(in);
    const bool isRead =
        read(nullptr, handler, [&](ISAXXMLReader& reader) { return reader.parse(unknownIn(&stream)); });
    stream.rethrow();
    if (!isRead && stream.hasFailed()) {
        error_.setCode(kFileNotReadable);  // the message says where
    }
    return isRead;
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
