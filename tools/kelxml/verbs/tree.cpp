#include <algorithm>
#include <utility>
#include <vector>

#include "host/text.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "tools/kelxml/documents/document.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

constexpr std::size_t kTextInCharacters = 60;
// Deeper levels are no longer indented further: the outline of a document 100,000 deep would be gigabytes of
// spaces.
constexpr std::size_t kIndentedLevels = 40;

using IteratorPtr = IPtr<IKelDOMXmlElementItr>;

void writeElement(Output& output, IKelDOMXmlElement& element, std::size_t depth) {
    output.write(std::string(2 * std::min(depth, kIndentedLevels), ' '));
    output.write(kelhost::toUtf8(element.getName()), Ink::Name);
    const int attributeCount = element.getAttributeCount();
    for (int i = 0; i < attributeCount; ++i) {
        output.write(' ' + kelhost::toUtf8(element.getAttributeName(i)) + '=', Ink::Attribute);
        output.write('"' + oneLine(kelhost::toUtf8(element.getAttributeValue(i)), kTextInCharacters) + '"');
    }
    const std::string text = oneLine(kelhost::toUtf8(element.getText()), kTextInCharacters);
    if (!text.empty()) output.write("  " + text, Ink::Text);
}

std::size_t countOf(IKelDOMXmlElementItr& children) {
    std::size_t count = 0;
    for (children.first(); !children.isEnd(); children.next()) ++count;
    return count;
}

std::string countOfCut(IKelDOMXmlElementItr& children) {
    const std::size_t count = countOf(children);
    return "  (" + trCount("%1 child element", "%1 child elements", count) + ')';
}

void outline(Output& output, IKelDOMXmlV2& document, std::size_t depthLimit) {
    // The open elements are remembered by the walk over their children; the document may be deeper than our
    // stack.
    std::vector<IteratorPtr> open;
    const auto visit = [&](IKelDOMXmlElement& element) {
        writeElement(output, element, open.size());
        IteratorPtr children(element.getChildren());
        const bool isCut = depthLimit != 0 && open.size() + 1 >= depthLimit && !children->isEnd();
        if (isCut) output.write(countOfCut(*children), Ink::Dim);
        output.write("\n");
        if (!isCut) open.push_back(std::move(children));
    };
    visit(*ElementPtr(document.getRootElement()));
    while (!open.empty()) {
        if (open.back()->isEnd()) {
            open.pop_back();
            continue;
        }
        const ElementPtr element(open.back()->getElement(false));
        open.back()->next();
        visit(*element);
    }
}

}  // namespace

void tree(Session& session, const TreeOptions& options) {
    forEachFile(options.files, [&]() -> Work {
        return [&](Task& task) {
            const DocumentPtr document = loadDocument(session, task, loadOptions(options.allowDtd));
            if (task.isOneOfSeveral()) task.output().writeHeading(task.file());
            outline(task.output(), *document, static_cast<std::size_t>(options.depth));
        };
    });
}

}  // namespace kelxml
