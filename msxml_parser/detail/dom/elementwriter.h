// Writes an element and what is below it as indented XML text: the component's own layout, one element a
// line. Threads: one at a time, the document's thread.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/detail/dom/escapexml.h"
#include "msxml_parser/detail/dom/textbuffer.h"
#include "msxml_parser/detail/nodes.h"
#include "msxml_parser/detail/text.h"

namespace msxml {

struct WriterOptions {
    std::FILE* file;  // borrowed; null: all text goes to the output string
    std::u16string_view indent;
    std::u16string_view indentUnit;
    bool wide;
};

class ElementWriter final {
public:
    // The options' texts and `out` are borrowed for the writer's life.
    ElementWriter(const WriterOptions& options, KelString& out);

    // Runs once. On failure raises _com_error; `out` then holds what was written and not flushed to the file.
    void write(const Node& root);

private:
    // An element whose start tag is written and whose children are being written.
    struct OpenElement {
        BStr name;
        std::size_t aheadStart;    // of its child elements in ahead_
        std::size_t nextAhead;     // the next one to write; the end of ahead_ after the last
        bool isAllAhead;           // no child element comes after those
        std::size_t indentLength;  // of its own line in indent_
    };
    struct Content {
        BStr text;                 // of the first text node
        bool textIsWhole = false;  // there is no other child
        bool isAllAhead = false;   // as above
    };

    void writeTree(const Node& root);
    [[nodiscard]] Node takeChild();
    void openElement(const Node& element);
    void closeElement();
    // By themselves: compilers bring the calls that a function makes into it only up to a certain size.
    [[gnu::noinline]] void appendAttributes(const Node& element);
    [[nodiscard, gnu::noinline]] Content lookAtContent(const Node& element);
    void appendEscaped(std::u16string_view text);
    void appendEndTag(const BStr& name);
    void endLine(std::size_t depth);
    void writeToFile();
    void writeNarrow();
    void flushIfLong();
    void flush();

    const WriterOptions options_;
    const std::u16string_view lineEnd_;
    KelString& out_;
    TextBuffer buffer_;      // the text not yet in the file or in `out`
    std::string narrow_;     // its 8-bit form
    std::u16string indent_;  // of the deepest open line; each line uses a beginning of it
    std::vector<OpenElement> open_;
    // Child elements that were met while an open element's text was looked for; each is emptied when it is
    // written.
    std::vector<Node> ahead_;
    XmlEscaper escaper_;
};

}  // namespace msxml
