// Nodes and values come straight from the document; the XML of nodes comes by way of a style sheet, which
// knows what namespaces a part needs to stand alone.
#include <atomic>
#include <string>

#include "host/text.h"
#include "tools/kelxml/documents/expression.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/outputtext.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

using Element = IPtr<IKelDOMXmlElementV2>;

// A style sheet of one template, for the document.
std::string sheetFor(const Prefixes& prefixes, const std::string& output, const std::string& body) {
    std::string sheet = "<xsl:stylesheet version=\"1.0\" xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\"";
    std::string hidden;
    for (const auto& [prefix, uri] : prefixes) {
        if (prefix == "xsl" || uri.empty()) continue;
        sheet += " xmlns:" + prefix + "=\"" + escapedValue(uri) + '"';
        hidden += (hidden.empty() ? "" : " ") + prefix;
    }
    if (!hidden.empty()) sheet += " exclude-result-prefixes=\"" + hidden + '"';
    return sheet + '>' + output + "<xsl:template match=\"/\">" + body + "</xsl:template></xsl:stylesheet>";
}

class Selection {
public:
    Selection(const Session& session, const SelectOptions& options, Task& task)
        : session_(session),
          options_(options),
          task_(task),
          document_(
              loadDocument(session, task, loadOptions(options.allowDtd, IKelDOMXmlV3::kKeepWhiteSpace))),
          prefixes_(declarePrefixes(*document_, parsePrefixes(options.prefixes))) {
        task.progress().setPhase(tr("selecting"));
    }

    // How many nodes there are; 1 for a value.
    std::size_t run() {
        const IPtr<IKelDOMXmlNodeItr> found(
            document_->selectNodes(kelhost::fromUtf8(options_.expression), nullptr));
        if (found.get() == nullptr) return showValue();
        const bool isXml = options_.form == "xml";
        std::size_t count = 0;
        for (; !found->isEnd(); found->next()) {
            ++count;
            if (!options_.isCountWanted && !isXml) showNode(*found);
        }
        if (options_.isCountWanted) {
            showCount(count);
        } else if (isXml && count > 0) {
            showXml();
        }
        return count;
    }

private:
    void showNode(IKelDOMXmlNodeItr& node) {
        if (options_.form != "json") {
            line_ = kelhost::toUtf8(node.getValue(text_));
            line_ += '\n';
            return task_.output().write(line_);
        }
        if (const Element element{node.getElement()}) return showElement(*element);
        line_ = "{\"file\":" + jsonString(task_.file());
        if (!node.getName(text_).isEmpty()) member("name", text_.view());
        member("value", node.getValue(text_).view());
        task_.output().writeBytes(line_ + "}\n");
    }

    void showElement(IKelDOMXmlElementV2& element) {
        line_ = "{\"file\":" + jsonString(task_.file());
        if (element.getLine() > 0) {
            line_ += ",\"line\":" + std::to_string(element.getLine()) +
                     ",\"column\":" + std::to_string(element.getColumn());
        }
        const KelString name = element.getName();
        KelString uri;
        element.getNamespaceUri(uri);
        member("name", name.view());
        if (!uri.isEmpty()) member("namespace", uri.view());
        line_ += ",\"attributes\":{";
        const int count = element.getAttributeCount();
        for (int i = 0; i < count; ++i) {
            const KelString attribute = element.getAttributeName(i);
            const KelString value = element.getAttributeValue(i);
            if (i > 0) line_ += ',';
            appendJsonString(line_, attribute.view());
            line_ += ':';
            appendJsonString(line_, value.view());
        }
        line_ += '}';
        member("text", element.getAllText(text_).view());
        task_.output().writeBytes(line_ + "}\n");
    }

    void showXml() {
        const std::string sheet = sheetFor(
            prefixes_, "<xsl:output method=\"xml\" omit-xml-declaration=\"yes\" encoding=\"UTF-8\"/>",
            "<xsl:for-each select=\"" + escapedValue(options_.expression) +
                "\"><xsl:if test=\"position() &gt; "
                "1\"><xsl:text>&#10;</xsl:text></xsl:if><xsl:choose><xsl:when "
                "test=\"count(.|../@*)=count(../@*)\"><xsl:value-of "
                "select=\".\"/></xsl:when><xsl:otherwise><xsl:copy-of select=\".\"/>"
                "</xsl:otherwise></xsl:choose></xsl:for-each>");
        const IPtr<IKelXslStyleSheet> compiled = compile(sheet);
        KelString text;
        if (!compiled->transformToString(document_.get(), text)) reject(*compiled);
        std::string xml = kelhost::toUtf8(text);
        while (xml.ends_with('\n')) xml.pop_back();
        task_.output().write(xml + '\n');
    }

    // A text, a number or a truth value.
    std::size_t showValue() {
        KelString text;
        if (!document_->evaluateText(kelhost::fromUtf8(options_.expression), nullptr, text))
            throw expressionException(*document_, options_.expression);
        const std::string value = kelhost::toUtf8(text);
        if (options_.form == "json") {
            task_.output().writeBytes("{\"file\":" + jsonString(task_.file()) +
                                      ",\"value\":" + jsonString(value) + "}\n");
        } else {
            task_.output().write(value + '\n');
        }
        return 1;
    }

    void showCount(std::size_t count) {
        if (options_.form == "json") {
            task_.output().writeBytes("{\"file\":" + jsonString(task_.file()) +
                                      ",\"count\":" + std::to_string(count) + "}\n");
            return;
        }
        const std::string label = task_.isOneOfSeveral() ? task_.file() + ": " : std::string();
        task_.output().write(label + std::to_string(count) + '\n');
    }

    void member(const char* name, std::u16string_view value) {
        line_ += std::string(",\"") + name + "\":";
        appendJsonString(line_, value);
    }

    [[nodiscard]] IPtr<IKelXslStyleSheet> compile(const std::string& sheet) const {
        IPtr<IKelXslStyleSheet> compiled(session_.makeFactory()->createStyleSheet());
        if (!compiled->compileString(kelhost::fromUtf8(sheet))) reject(*compiled);
        return compiled;
    }
    [[noreturn]] void reject(IKelXslStyleSheet& sheet) const {
        Diagnostic diagnostic = diagnosticOf(*sheet.getError(), task_.file());
        diagnostic.line = diagnostic.column = 0;
        diagnostic.reason = tr("expression '%1': %2", options_.expression, diagnostic.reason);
        throw Exception(kRejected, diagnostic);
    }

    const Session& session_;
    const SelectOptions& options_;
    Task& task_;
    DocumentPtr document_;
    Prefixes prefixes_;
    std::string line_;
    KelString text_;
};

}  // namespace

void select(Session& session, const SelectOptions& options) {
    (void)parsePrefixes(options.prefixes);  // wrong ones are reported once, before anything is read
    std::atomic<std::size_t> count{0};
    forEachFile(options.files, [&]() -> Work {
        return [&](Task& task) { count += Selection(session, options, task).run(); };
    });
    if (count == 0) throw Reported(kRejected);
}

}  // namespace kelxml
