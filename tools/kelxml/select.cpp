// Elements come straight from the document, with their positions. Other nodes (attributes, texts, comments),
// and the XML of anything, come by way of a style sheet, which knows what namespaces a part needs to stand
// alone.
#include <atomic>
#include <string>

#include "host/text.h"
#include "tools/kelxml/expression.h"
#include "tools/kelxml/outputtext.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/verbs.h"

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
        const IPtr<IKelDOMXmlElementItrV2> found(
            document_->select(kelhost::fromUtf8(options_.expression), nullptr));
        if (found.get() != nullptr) return showElements(*found);
        if (document_->getError()->getCode() == IKelDOMXmlV3::kNotElements) return showNodes();
        return showValue();
    }

private:
    std::size_t showElements(IKelDOMXmlElementItrV2& found) {
        if (options_.form == "xml" && !options_.isCountWanted) return showXml();
        std::size_t count = 0;
        while (const Element element{found.takeNext()}) {
            ++count;
            if (!options_.isCountWanted) showElement(*element);
        }
        showCount(count);
        return count;
    }

    void showElement(IKelDOMXmlElementV2& element) {
        KelString text;
        element.getAllText(text);
        if (options_.form != "json") return task_.output().write(kelhost::toUtf8(text) + '\n');
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
        member("text", text.view());
        task_.output().writeBytes(line_ + "}\n");
    }

    // Attributes, texts and other nodes, by their string values.
    std::size_t showNodes() {
        if (options_.form == "xml" && !options_.isCountWanted) return showXml();
        const DocumentPtr list = session_.makeParser();
        const std::string sheet = sheetFor(
            prefixes_, "",
            "<list><xsl:for-each select=\"" + escapedValue(options_.expression) +
                "\"><v><xsl:if test=\"name()\"><xsl:attribute name=\"n\"><xsl:value-of select=\"name()\"/>"
                "</xsl:attribute></xsl:if><xsl:value-of select=\".\"/></v></xsl:for-each></list>");
        const IPtr<IKelXslStyleSheet> compiled = compile(sheet);
        if (!compiled->transformToDocument(document_.get(), list.get())) reject(*compiled);
        std::size_t count = 0;
        const ElementPtr root(list->getRootElement());
        for (const IPtr<IKelDOMXmlElementItr> value(root->getChildren()); !value->isEnd(); value->next()) {
            ++count;
            if (!options_.isCountWanted) showNode(*value->getElement());
        }
        showCount(count);
        return count;
    }

    void showNode(IKelDOMXmlElement& node) {
        const KelString text = node.getText();
        if (options_.form != "json") return task_.output().write(kelhost::toUtf8(text) + '\n');
        line_ = "{\"file\":" + jsonString(task_.file());
        const KelString name = node.getAttribute(u"n");
        if (!name.isEmpty()) member("name", name.view());
        member("value", text.view());
        task_.output().writeBytes(line_ + "}\n");
    }

    std::size_t showXml() {
        double count = 0;
        const std::string counting = "count(" + options_.expression + ')';
        if (!document_->evaluateNumber(kelhost::fromUtf8(counting), nullptr, count)) rejectExpression();
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
        if (count > 0) task_.output().write(xml + '\n');
        return static_cast<std::size_t>(count);
    }

    // A text, a number or a truth value.
    std::size_t showValue() {
        KelString text;
        if (!document_->evaluateText(kelhost::fromUtf8(options_.expression), nullptr, text))
            rejectExpression();
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
        if (!options_.isCountWanted) return;
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
        throw Failure(kRejected, diagnostic);
    }
    [[noreturn]] void rejectExpression() const { throw expressionFailure(*document_, options_.expression); }

    const Session& session_;
    const SelectOptions& options_;
    Task& task_;
    DocumentPtr document_;
    Prefixes prefixes_;
    std::string line_;
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
