// What the third version of a DOM parser adds: documents from bytes in their own encoding, with options for
// each load; documents written as they are; expressions that select elements and compute values.
//
// Every parser of the component has this interface; ask for it by its name. Results, ownership and threads
// are as for IKelDOMXml, with one difference: what the engine rejects is reported in the error object, with
// the codes below, and only memory that ran out leaves as `_com_error`. The error object has the interface
// IKelDOMXmlErrorV2, which gives line and column.
#pragma once

#include <cstddef>

#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikeldomxmlelementitrv2.h"
#include "msxml_parser/ikeldomxmlelementv2.h"
#include "msxml_parser/ikeldomxmlnodeitr.h"

class IKelDOMXmlV3 : public virtual IKelDOMXmlV2 {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlV3"; }

    // Codes beside those of the versions before.
    enum WriteErrorCode : int {
        kNotWritable = 8,  // the file cannot be created, or is a folder
        kNotWritten = 9,   // the medium took no more, or the document cannot be written in this encoding
    };
    // Codes of select and evaluate.
    enum ExpressionErrorCode : int {
        kBadExpression = 10,  // wrong, of a wrong type, or more work than is allowed; getColumn says where
        kNotElements = 11,    // selects attributes, texts or other nodes: see selectNodes
    };

    // Options of a load, added together; 0: white space of layout is dropped, a DOCTYPE is rejected, nothing
    // is validated. They hold for that load alone.
    enum LoadOption : unsigned {
        kKeepWhiteSpace = 0x1,  // all of it
        // The internal subset of a DOCTYPE is read: entities expand, within the limits that the SAX parser
        // has, and defaults of attributes are added. Nothing external is ever opened; a reference to it
        // adds nothing.
        kAllowDoctype = 0x2,
        kValidate = 0x4,  // against the schema of the last `validate`
    };
    // Options of writing.
    enum WriteOption : unsigned {
        // An element a line, indented by tabs to 100 levels: in elements that hold elements and no text,
        // outside mixed content and xml:space="preserve". A reader that drops layout white space, as a load
        // without options does, sees no difference.
        kIndent = 0x1,
        kNoDeclaration = 0x2,  // only in UTF-8 or UTF-16
    };
    // Where the number of spaces, plus 1, stands in the options.
    static constexpr unsigned kIndentBlanksShift = 8;
    // The same as kIndent by so many spaces a level, 0 to 254, in place of a tab.
    [[nodiscard]] static constexpr unsigned indentBlanks(unsigned spaces) noexcept {
        return kIndent | (spaces + 1) << kIndentBlanksShift;
    }

    // Each replaces the whole document, in the encoding that the byte-order mark or the declaration says,
    // else UTF-8. `bytes` is borrowed for the call. A stream is read raw, from where it stands to its end;
    // one that fails is code 1.
    virtual bool loadBytes(const void* bytes, std::size_t byteCount, unsigned options) = 0;
    virtual bool loadStream(BinInput& in, unsigned options) = 0;
    virtual bool loadFile(const KelString& path, unsigned options) = 0;

    // The whole document as it is: declaration, comments, instructions, CDATA sections, mixed content, and
    // the DOCTYPE as it was written. Not kept are references to entities, which stand expanded, and layout
    // that the load dropped. `encoding` is the name of one that can be loaded; empty: the declared one, else
    // UTF-8. What it has no code for becomes a reference; where none can stand, and for characters that XML
    // does not know or a prefix that is not declared, writing fails. "UTF-16" is little-endian with a
    // byte-order mark. A document read back and written again gives the same bytes.
    //
    // A file is written beside the old one, brought to the disk and renamed: the old one is whole until then,
    // and stays when something fails. It keeps its permissions; a symbolic link is followed. What is no
    // regular file (a device, a pipe) is written straight.
    virtual bool writeFile(const KelString& path, unsigned options, const KelString& encoding) = 0;
    // Raw, and flushed. A BinOutputMemory takes the bytes into memory. After a failure a part may be written.
    virtual bool writeStream(BinOutput& out, unsigned options, const KelString& encoding) = 0;
    // As text, replacing what `out` held; the declaration then names no encoding. `out` is unchanged on a
    // failure.
    virtual bool writeString(KelString& out, unsigned options) = 0;

    // A new element of a namespace, which it declares, with count 0; it belongs to no parent yet. Rejected
    // names raise _com_error, as createElement does. An empty URI: no namespace, and then no prefix.
    virtual IKelDOMXmlElementV2* createElementInNamespace(const KelString& uri, const KelString& name) = 0;

    // The namespace that a prefix is bound to in the expressions of this parser, until it is set again; an
    // empty URI takes it away. The declarations in documents do not count. False: no prefix, or "xml" or
    // "xmlns".
    virtual bool setPrefix(const KelString& prefix, const KelString& uri) = 0;

    // Expressions of XPath 1.0, from the document (null) or an element of it; an element of another document
    // or implementation sets error code 4. Paths of child and attribute steps, such as //book/@id, with no
    // conditions but on attributes, are found in the document as it is. For others the first expression after
    // a change of the document costs time and memory linear in it; what is kept for the next ones goes with
    // the next change. Work is limited as that of a style sheet. In an error, getLine is 0 and getColumn
    // counts in the expression.
    //
    // The elements, each once, in document order, with count 0; an edit changes nothing about what was
    // selected. Null: an error.
    virtual IKelDOMXmlElementItrV2* select(const KelString& expression, IKelDOMXmlElement* context) = 0;
    // The first of them, with count 0. Null: none (error code 0), or an error.
    virtual IKelDOMXmlElementV2* selectFirst(const KelString& expression, IKelDOMXmlElement* context) = 0;
    // The value as XPath's string(), number() and boolean() give it. `out` is unchanged on a failure.
    virtual bool evaluateText(const KelString& expression, IKelDOMXmlElement* context, KelString& out) = 0;
    virtual bool evaluateNumber(const KelString& expression, IKelDOMXmlElement* context, double& out) = 0;
    virtual bool evaluateTruth(const KelString& expression, IKelDOMXmlElement* context, bool& out) = 0;

    // As select, for nodes of every kind.
    virtual IKelDOMXmlNodeItr* selectNodes(const KelString& expression, IKelDOMXmlElement* context) = 0;

    // Puts the element in the place of the root element, among the comments and instructions around it; the
    // handles on the old one stay valid, and it then has no parent. Without a root element, and with what is
    // no element of ours, as setRootElement.
    virtual void replaceRootElement(IKelDOMXmlElement* element) = 0;
};

// Where the last failure was, as far as it is known. Found by its name on a DOM parser's error object.
class IKelDOMXmlErrorV2 : public virtual IKelDOMXmlError {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDOMXmlErrorV2"; }

    // In the document that was loaded, or in the expression (line 0); from 1, columns in characters. 0: not
    // known, or no failure.
    virtual int getLine() = 0;
    virtual int getColumn() = 0;
    // What was wrong, without file and position: the engine's words in those of the current translator, or
    // the system's own. Replaces the content of `out` and returns it; empty where the message says it all.
    virtual KelString& getReason(KelString& out) = 0;
};
