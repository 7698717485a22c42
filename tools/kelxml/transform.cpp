#include <string>

#include "host/text.h"
#include "tools/kelxml/complaint.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/result.h"
#include "tools/kelxml/resulttext.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

// Copies everything and leaves the layout to the serialiser, which never touches mixed content; outside the
// root element it ends the line after a comment only. Engines that show the XML declaration as a processing
// instruction would copy it beside their own.
constexpr const char16_t* kFormattingSheet =
    u"<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
    u"<xsl:output method='xml' indent='yes'/>"
    u"<xsl:template match='/'><xsl:for-each "
    u"select='node()[not(self::processing-instruction(\"xml\"))]'><xsl:copy-of select='.'/>"
    u"<xsl:if test='not(self::comment()) and position() != last()'><xsl:text>&#10;</xsl:text></xsl:if>"
    u"</xsl:for-each></xsl:template>"
    u"</xsl:stylesheet>";

void transformWith(const InputFile& style, IKelDOMXmlV2& sheet, IKelDOMXmlV2& document,
                   const InputFile& input, const std::string& out) {
    KelString text;
    {
        const Progress progress(tr("transforming"));
        if (!document.transformToString(&sheet, text)) {
            throw Failure(kRefused, withName(describeError(*document.getError(), input), style));
        }
    }
    Result result(out);
    result.write(utf8Of(text));
    result.deliver();
}

void checkTargets(const FormatOptions& options) {
    if (options.inPlace && !options.out.empty())
        throw Failure(kWrongUsage, tr("--in-place and --output exclude each other"));
    if (!options.inPlace && options.files.size() > 1)
        throw Failure(kWrongUsage, tr("several documents can only be formatted with --in-place"));
}

}  // namespace

void transform(Session& session, const TransformOptions& options) {
    if (options.style == "-" && options.file == "-") {
        throw Failure(kWrongUsage, tr("standard input can be read only once"));
    }
    const InputFile style(options.style, InputFile::Kept::InWorkingFolder);
    const IPtr<IKelDOMXmlV2> sheet = style.load(session);
    const InputFile input(options.file);
    transformWith(style, *sheet, *loadWithProgress(session, input), input, options.out);
}

void format(Session& session, const FormatOptions& options) {
    checkTargets(options);
    const InputFile style(std::filesystem::path(), "format.xsl");
    const IPtr<IKelDOMXmlV2> sheet = session.makeParser();
    if (!sheet->loadFromString(kFormattingSheet)) {
        throw Failure(kRefused, describeError(*sheet->getError(), style));
    }
    forEachFile(options.files, [&](const std::string& file) {
        const InputFile input(file);
        transformWith(style, *sheet, *loadWithProgress(session, input), input,
                      options.inPlace ? file : options.out);
    });
}

}  // namespace kelxml
