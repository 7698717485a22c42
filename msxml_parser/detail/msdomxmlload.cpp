// The DOM parser: loading.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

#include "KelBasicTypes/binio.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/bstr.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/msdomxml.h"
#include "msxml_parser/detail/parseerror.h"

using msxml::check;
using msxml::fail;

// Kept: the bytes are widened one by one, not decoded, and a zero byte ends the text. See behaviour.md,
// "Loading from a stream".
bool MSDOMXml::loadFromStream(BinInput& in) try {
    (void)in.seek(0, true);  // a stream that cannot be positioned comes up short
    (void)in.seek(0, false);
    const std::int64_t byteCount = in.tell();
    (void)in.seek(0, true);
    if (byteCount < 0) return false;
    const auto length = static_cast<std::size_t>(byteCount);
    KelString text;
    {
        const auto bytes = std::make_unique_for_overwrite<char[]>(length + 1);
        if (!kel::readRecords(in, bytes.get(), 1, length)) return false;
        bytes[length] = '\0';
        text.assignNarrow(bytes.get());
    }
    return loadFromString(text);
} catch (const std::exception&) {
    msxml::raiseAsComError();
}

bool MSDOMXml::loadFromString(const KelString& text) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while reading Xml : No DOM Object");
    {
        const msxml::BStr xml(text.view());
        VARIANT_BOOL loaded = VARIANT_FALSE;
        check(document_->loadXML(xml.get(), &loaded), document_);
        if (loaded == VARIANT_TRUE) return true;
    }
    const msxml::RefusalTexts refusal = msxml::readRefusal(lastParseError());
    error_.setDetails(refusal.position, refusal.reason);
    return fail(error_, kRefusedByEngine, "Error while reading Xml  : Line %1, column %2 : %3", refusal.line,
                refusal.column, refusal.reason);
}

bool MSDOMXml::loadFromFile(const KelString& path) try {
    error_.clear();
    const KelString normalised = kel::normalisePath(path);
    if (!document_) {
        return fail(error_, kNoDocument, "Error while reading %1 : No DOM Object", normalised);
    }
    if (!kel::platform::canOpenForReading(normalised.view())) {
        return fail(error_, kFileNotReadable,
                    "Error while reading %1 : The file doesn't exist or you don't have read rights to it",
                    normalised);
    }
    const msxml::Variant source(normalised.view());
    VARIANT_BOOL loaded = VARIANT_FALSE;
    check(document_->load(source.get(), &loaded), document_);
    if (loaded == VARIANT_TRUE) return true;
    const msxml::RefusalTexts refusal = msxml::readRefusal(lastParseError());
    error_.setDetails(refusal.position, refusal.reason);
    return fail(error_, kRefusedByEngine, "Error while reading %1  : Line %2, column %3 : %4", normalised,
                refusal.line, refusal.column, refusal.reason);
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
