// Compiling and running. A style sheet is exported to libxml2, its expressions are replaced where libxml2
// would be slow (Steps), its instructions are equipped to be measured (Meter), and it is compiled; each run
// exports the source, chooses a stack for its depth, and stops at the limits of the meter.
#include "engine/xslt/stylesheet.h"

#include <algorithm>
#include <cstdarg>
#include <new>
#include <utility>

#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>
#include <libxslt/extra.h>
#include <libxslt/imports.h>
#include <libxslt/security.h>
#include <libxslt/templates.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>
#include <libxslt/xsltutils.h>

#include "engine/text/utf.h"
#include "engine/text/worded.h"
#include "engine/xml2/handles.h"
#include "engine/xml2/treeexport.h"
#include "engine/xml2/uri.h"
#include "engine/xslt/meter.h"
#include "engine/xslt/operation.h"

namespace engine::xslt {

namespace {

// The extension functions that style sheets may call: node-set of urn:schemas-microsoft-com:xslt, node-set
// and object-type of EXSLT's common module.
using xml2::chars;

constexpr const char* kMicrosoft = "urn:schemas-microsoft-com:xslt";
constexpr const char* kCommon = "http://exslt.org/common";

// EXSLT's node-set also takes a plain value, of which it makes a text node.
void nodeSet(xmlXPathParserContextPtr parser, int count) {
    if (count != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    if (xmlXPathStackIsNodeSet(parser)) return xsltFunctionNodeSet(parser, count);
    xsltTransformContext* context = xsltXPathGetTransformContext(parser);
    xmlDoc* fragment = context == nullptr ? nullptr : xsltCreateRVT(context);
    if (fragment == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    (void)xsltRegisterLocalRVT(context, fragment);
    const xml2::TextHandle value(xmlXPathPopString(parser));
    xmlNode* text = xmlNewDocText(fragment, value.get());
    if (text == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    (void)xmlAddChild(reinterpret_cast<xmlNode*>(fragment), text);
    valuePush(parser, xmlXPathNewNodeSet(text));
}

const char* nameOfType(xmlXPathObjectType type) {
    switch (type) {
        case XPATH_STRING:
            return "string";
        case XPATH_NUMBER:
            return "number";
        case XPATH_BOOLEAN:
            return "boolean";
        case XPATH_NODESET:
            return "node-set";
        case XPATH_XSLT_TREE:
            return "RTF";
        default:
            return "external";
    }
}

void objectType(xmlXPathParserContextPtr parser, int count) {
    if (count != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    xmlXPathObject* value = valuePop(parser);
    if (value == nullptr) return xmlXPathErr(parser, XPATH_STACK_ERROR);
    const char* name = nameOfType(value->type);
    xmlXPathFreeObject(value);
    valuePush(parser, xmlXPathNewCString(name));
}

void add(xsltTransformContext& context, const char* name, const char* uri, xmlXPathFunction function) {
    if (xsltRegisterExtFunction(&context, chars(name), chars(uri), function) != 0) throw std::bad_alloc();
}

void addFunctions(xsltTransformContext& context) {
    add(context, "node-set", kMicrosoft, nodeSet);
    add(context, "node-set", kCommon, nodeSet);
    add(context, "object-type", kCommon, objectType);
}

}  // namespace

namespace {

using text::worded;
using xml2::chars;
using xml2::orThrow;
using xml2::view;

constexpr const char* kResultEncoding = "UTF-16";

using ContextHandle = std::unique_ptr<xsltTransformContext, xml2::FreeBy<xsltFreeTransformContext>>;
using SecurityHandle = std::unique_ptr<xsltSecurityPrefs, xml2::FreeBy<xsltFreeSecurityPrefs>>;
struct CloseBuffer {
    void operator()(xmlOutputBuffer* buffer) const noexcept { (void)xmlOutputBufferClose(buffer); }
};
using BufferHandle = std::unique_ptr<xmlOutputBuffer, CloseBuffer>;

// What the handlers of a running transformation need; the context's private field points to it.
struct Run {
    xsltTransformContext& context;
    const xml2::Inclusions& inclusions;
    xml2::Causes& causes;
    const RunOptions& options;
};

// The xsl:message that is being reported, or null.
const xmlNode* messageOf(const xsltTransformContext& context) {
    const xmlNode* node = context.inst;
    return node != nullptr && isInstruction(*node, "message") ? node : nullptr;
}

// A message that does not is no cause of failure.
bool endsTransformation(const xmlNode& message) {
    const xml2::TextHandle terminate(xmlGetNoNsProp(&message, chars("terminate")));
    return view(terminate.get()) == "yes";
}

// The text of a message comes whole, and a line end after it if it has none of its own.
void keepMessage(const Run& run, bool isLast, std::string text) {
    if (run.options.reports == nullptr || text == "\n") return;
    Meter::of(run.context).written(text.size() + sizeof(Report));
    if (text.ends_with('\n')) text.pop_back();
    run.options.reports->push_back(
        {isLast ? Report::Kind::LastMessage : Report::Kind::Message, std::move(text)});
}

void listenToRun(void* data, const char* format, ...) {
    auto* run = static_cast<Run*>(data);
    if (run == nullptr) return;
    const libstate::KeepErrno keep;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const xmlNode* message = messageOf(run->context);
        const std::string text = libstate::formatted(format, arguments);
        if (message == nullptr) {
            run->causes.addText(text);
        } else {
            const bool isLast = endsTransformation(*message);
            keepMessage(*run, isLast, text);
            if (isLast && text != "\n") {
                run->causes.add(view(message->doc->URL), static_cast<std::uint32_t>(xmlGetLineNo(message)),
                                text);
            }
        }
    } catch (...) {
        // short of memory the text is lost, the failure is not
    }
    va_end(arguments);
}

constexpr const char* kParameterFunction = "engine-parameter";

// The value of a parameter by its number: so a text may hold any quotes, and a number any value.
void parameterValue(xmlXPathParserContextPtr parser, int count) {
    if (count != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    const double number = xmlXPathPopNumber(parser);
    const xsltTransformContext* const context = xsltXPathGetTransformContext(parser);
    if (context == nullptr || context->_private == nullptr) return xmlXPathErr(parser, XPATH_EXPR_ERROR);
    const std::span<const Parameter> parameters =
        static_cast<const Run*>(context->_private)->options.parameters;
    if (!(number >= 0 && number < static_cast<double>(parameters.size())))
        return xmlXPathErr(parser, XPATH_EXPR_ERROR);
    const auto& value = parameters[static_cast<std::size_t>(number)].value;
    xmlXPathObject* made = nullptr;
    if (const auto* const text = std::get_if<std::string>(&value)) {
        made = xmlXPathNewCString(text->c_str());
    } else if (const auto* const real = std::get_if<double>(&value)) {
        made = xmlXPathNewFloat(*real);
    } else {
        made = xmlXPathNewBoolean(std::get<bool>(value) ? 1 : 0);
    }
    if (made == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    valuePush(parser, made);
}

// Names and expressions in turn, and null, as libxslt takes parameters.
std::vector<std::string> parameterTexts(std::span<const Parameter> parameters) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        texts.push_back(parameters[i].name);
        texts.push_back(std::string(kParameterFunction) + '(' + std::to_string(i) + ')');
    }
    return texts;
}

void addLines(std::string_view lines, std::vector<Report>& warnings) {
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        warnings.push_back({Report::Kind::Warning, std::string(lines.substr(0, end))});
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
}

// The encoding of the outermost output instruction that names one.
std::string outputEncoding(xsltStylesheet& style) {
    for (xsltStylesheet* at = &style; at != nullptr; at = xsltNextImport(at)) {
        if (at->encoding != nullptr) return std::string(view(at->encoding));
    }
    return "UTF-8";
}

int appendBytes(void* to, const char* bytes, int count) noexcept {
    try {
        static_cast<std::string*>(to)->append(bytes, static_cast<std::size_t>(count));
        return count;
    } catch (...) {
        return -1;
    }
}

// document() may name the style sheet and what it has included, nothing else.
int mayRead(xsltSecurityPrefsPtr, xsltTransformContextPtr context, const char* path) {
    const auto* run = static_cast<const Run*>(context->_private);
    if (run == nullptr || path == nullptr) return 0;
    try {
        return run->inclusions.isAdmitted(xml2::fileUri(path)) ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

// Whether a transformation takes white space out of its source.
bool stripsSpace(xsltStylesheet& style) {
    for (xsltStylesheet* at = &style; at != nullptr; at = xsltNextImport(at)) {
        if (at->stripSpaces != nullptr) return true;
    }
    return false;
}

SecurityHandle closedDoors() {
    SecurityHandle security(orThrow(xsltNewSecurityPrefs()));
    for (const xsltSecurityOption option : {XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY,
                                            XSLT_SECPREF_READ_NETWORK, XSLT_SECPREF_WRITE_NETWORK}) {
        (void)xsltSetSecurityPrefs(security.get(), option, xsltSecurityForbid);
    }
    (void)xsltSetSecurityPrefs(security.get(), XSLT_SECPREF_READ_FILE, mayRead);
    return security;
}

std::string dump(xmlDoc& document) {
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(&document, &text, &size, "UTF-8");
    const xml2::TextHandle owner(orThrow(text));
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

}  // namespace

StyleSheet::StyleSheet(const dom::NodeSource& source) : source_(source) {
    compile();
}

xml2::DocHandle StyleSheet::exportStyle() const {
    xml2::ExportOptions options;
    options.uri = uri_;
    options.use = xml2::ExportOptions::Use::Change;
    options.depthLimit = styleSheetDepthLimit();
    options.declarationLimit = kDeclarationLimit;
    options.attributeLimit = kAttributeLimit;
    return xml2::exportTree(source_.tree, source_.node, options).takeDoc();
}

void StyleSheet::compile() {
    Operation operation(inclusions_, steps_);
    uri_ = source_.url.empty() ? xml2::workingDirectoryUri() : xml2::fileUri(source_.url);
    xml2::DocHandle document = exportStyle();
    if (!inclusions_.admitFrom(*document)) operation.fail({});
    steps_.replaceIn(*document);
    inclusions_.setRewriter([this](std::string_view element, std::string_view name, std::string_view value) {
        return steps_.attribute(element, name, value);
    });
    inclusions_.provide(uri_, [this] { return dump(*exportStyle()); });
    style_.reset(xsltParseStylesheetDoc(document.get()));
    if (style_ == nullptr) operation.fail(worded("The style sheet could not be compiled."));
    (void)document.release();  // the style sheet's from now on, also when it has errors
    if (style_->errors != 0) operation.fail(worded("The style sheet has errors."));
    charges_ = Meter::equip(*style_);
    encoding_ = outputEncoding(*style_);
    if (!operation.causes().empty()) addLines(steps_.asWritten(operation.causes().text()), warnings_);
    operation.finish();
}

// Before the transformation: what is set later no longer reaches the result tree.
void StyleSheet::setEncoding(const std::string& encoding) {
    xmlChar* const copy = orThrow(xmlStrdup(chars(encoding)));
    xmlFree(style_->encoding);
    style_->encoding = copy;
}

xml2::DocHandle StyleSheet::transform(const dom::NodeSource& source, const RunOptions& runOptions) {
    Operation operation(inclusions_, steps_);
    xml2::ExportOptions options;
    if (!source.url.empty()) options.uri = xml2::fileUri(source.url);
    options.depthLimit = kSourceDepthLimit;
    options.declarationLimit = kDeclarationLimit;
    options.attributeLimit = kAttributeLimit;
    const xml2::DictHandle names(orThrow(xmlDictCreateSub(style_->dict)));
    options.dict = names.get();
    if (stripsSpace(*style_)) options.use = xml2::ExportOptions::Use::Change;
    const xml2::ExportedTree document = xml2::exportTree(source.tree, source.node, options);
    xml2::DocHandle result;
    const xml2::Extent& extent = document.extent();
    const WorkLimits limits = workLimits(extent.nodes, extent.textInBytes);
    setEncoding(runOptions.result == RunOptions::Result::Bytes ? encoding_ : kResultEncoding);
    operation.finish();
    runWithStack(extent.depth, [&](std::size_t templateDepth) {
        result = run(document.doc(), templateDepth, limits, runOptions);
    });
    return result;
}

xml2::DocHandle StyleSheet::run(xmlDoc& document, std::size_t templateDepth, const WorkLimits& limits,
                                const RunOptions& options) {
    Operation operation(inclusions_, steps_);
    const SecurityHandle security = closedDoors();
    const ContextHandle context(orThrow(xsltNewTransformContext(style_.get(), &document)));
    Run state{*context, inclusions_, operation.causes(), options};
    context->_private = &state;
    xsltSetTransformErrorFunc(context.get(), &state, listenToRun);
    if (xsltSetCtxtSecurityPrefs(security.get(), context.get()) != 0) throw std::bad_alloc();
    context->maxTemplateDepth = static_cast<int>(templateDepth);
    const Meter meter(*context, limits, steps_);
    addFunctions(*context);
    Steps::addFunctions(*context);
    if (xmlXPathRegisterFunc(context->xpathCtxt, chars(kParameterFunction), parameterValue) != 0)
        throw std::bad_alloc();
    const std::vector<std::string> texts = parameterTexts(options.parameters);
    std::vector<const char*> parameters;
    parameters.reserve(texts.size() + 1);
    for (const std::string& text : texts) parameters.push_back(text.c_str());
    parameters.push_back(nullptr);
    xml2::DocHandle result(
        xsltApplyStylesheetUser(style_.get(), &document, parameters.data(), nullptr, nullptr, context.get()));
    if (result == nullptr || context->state != XSLT_STATE_OK)
        operation.fail(worded("The transformation failed."));
    if (options.reports != nullptr && !operation.causes().empty())
        addLines(steps_.asWritten(operation.causes().text()), *options.reports);
    operation.finish();
    return result;
}

std::u16string StyleSheet::save(xmlDoc& result) const {
    xml2::Inclusions none(xml2::Dialect::StyleSheet);
    Operation operation(none, steps_);
    const BufferHandle buffer(orThrow(xmlAllocOutputBuffer(nullptr)));
    if (xsltSaveResultTo(buffer.get(), &result, style_.get()) < 0) {
        operation.fail(worded("The result of the transformation could not be written."));
    }
    operation.finish();
    return text::toUtf16({reinterpret_cast<const char*>(xmlOutputBufferGetContent(buffer.get())),
                          xmlOutputBufferGetSize(buffer.get())});
}

std::string StyleSheet::saveBytes(xmlDoc& result) const {
    xml2::Inclusions none(xml2::Dialect::StyleSheet);
    Operation operation(none, steps_);
    xmlCharEncodingHandler* const converter = xmlFindCharEncodingHandler(encoding_.c_str());
    if (converter == nullptr)
        operation.fail(worded("The encoding '%1' that the style sheet asks for is not known.", encoding_));
    std::string bytes;
    xmlOutputBuffer* const buffer = xmlOutputBufferCreateIO(appendBytes, nullptr, &bytes, converter);
    if (buffer == nullptr) {
        (void)xmlCharEncCloseFunc(converter);
        throw std::bad_alloc();
    }
    BufferHandle owner(buffer);
    const bool isWritten = xsltSaveResultTo(buffer, &result, style_.get()) >= 0;
    if (xmlOutputBufferClose(owner.release()) < 0 || !isWritten)
        operation.fail(worded("The result of the transformation could not be written."));
    operation.finish();
    return bytes;
}

}  // namespace engine::xslt
