#include "tools/kelxml/documents/elementpath.h"

#include <algorithm>

#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "tools/kelxml/report/output.h"

namespace kelxml {

namespace {

constexpr std::size_t kExcerptInUnits = 40;

bool isTrailSurrogate(char16_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

}  // namespace

std::string stepTo(IKelDOMXmlElement& parent, std::size_t childIndex) {
    const IPtr<IKelDOMXmlElementItr> child(parent.getChildren());
    for (std::size_t i = 0; i < childIndex; ++i) child->next();
    const KelString name = child->getElement()->getName();
    std::size_t index = 0;
    std::size_t before = 0;
    std::size_t count = 0;
    for (child->first(); !child->isEnd(); child->next(), ++index) {
        if (!(child->getElement()->getName() == name)) continue;
        ++count;
        if (index < childIndex) ++before;
    }
    std::string step = kelhost::toUtf8(name);
    if (count > 1) step += '[' + std::to_string(before + 1) + ']';
    return step;
}

std::string excerpt(std::u16string_view text, std::size_t start) {
    if (start > 0 && isTrailSurrogate(text[start])) --start;
    std::string line = start > 0 ? "\"..." : "\"";
    std::size_t end = std::min(start + kExcerptInUnits, text.size());
    if (end < text.size() && isTrailSurrogate(text[end])) ++end;
    for (const char unit : kel::toUtf8(text.substr(start, end - start))) {
        switch (unit) {
            case '\t':
                line += "\\t";
                break;
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            default:
                line += unit;
        }
    }
    line += end < text.size() ? "...\"" : "\"";
    return oneLine(line, line.size());
}

}  // namespace kelxml
