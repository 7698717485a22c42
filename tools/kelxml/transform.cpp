#include <string>
#include <string_view>

#include "host/text.h"
#include "tools/kelxml/complaint.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/result.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

// Copies everything and leaves the layout to the serialiser, which never touches mixed content; outside the
// root element it ends the line after a comment only.
constexpr const char16_t* kFormattingSheet =
    u"<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
    u"<xsl:output method='xml' indent='yes'/>"
    u"<xsl:template match='/'><xsl:for-each select='node()'><xsl:copy-of select='.'/>"
    u"<xsl:if test='not(self::comment()) and position() != last()'><xsl:text>&#10;</xsl:text></xsl:if>"
    u"</xsl:for-each></xsl:template>"
    u"</xsl:stylesheet>";

void replaceFirst(std::string& text, std::string_view from, std::string_view to, std::size_t before) {
    const std::size_t at = text.find(from);
    if (at < before) text.replace(at, from.size(), to);
}

// The parser's text is UTF-16, and what declares its encoding says so; what we write is UTF-8.
std::string declaredAsUtf8(std::string text) {
    if (text.starts_with("<?xml ")) {
        replaceFirst(text, R"(encoding="UTF-16")", R"(encoding="UTF-8")", text.find("?>"));
    } else {
        // What the serialiser puts into the head of an HTML document.
        replaceFirst(text, R"(<meta http-equiv="Content-Type" content="text/html; charset=UTF-16">)",
                     R"(<meta http-equiv="Content-Type" content="text/html; charset=UTF-8">)",
                     std::string::npos);
    }
    return text;
}

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
    result.write(declaredAsUtf8(kelhost::toUtf8(text)));
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
