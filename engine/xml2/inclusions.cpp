// A file is admitted by looking at it, not by opening it. It is read when libxml2 asks for it, and its text
// is kept for the call; what it names itself is judged then.
#include "engine/xml2/inclusions.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "engine/libstate/libstate.h"
#include "engine/reader/reader.h"
#include "engine/text/worded.h"
#include "engine/xml2/handles.h"
#include "engine/xml2/servedtext.h"
#include "engine/xml2/uri.h"

namespace engine::xml2 {

using text::worded;

namespace {

constexpr std::string_view kXsd = "http://www.w3.org/2001/XMLSchema";

thread_local Inclusions* current = nullptr;

// Why the file cannot be brought in; empty: it can.
std::string obstacle(const std::string& uri) {
    if (uri.empty()) return worded("that is not a valid address");
    const std::string path = localPath(uri);
    if (path.empty()) return worded("only local files are read, never the network");
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(path, failure);
    if (status.type() == std::filesystem::file_type::not_found) return worded("the file does not exist");
    if (std::filesystem::is_directory(status)) return worded("that is a directory");
    // not opened: a pipe would wait for its writer
    if (!std::filesystem::is_regular_file(status)) return worded("that is not a regular file");
    if (!std::ifstream(path).good()) return worded("the file cannot be opened for reading");
    return {};
}

std::string nsText(const xmlNode& node) {
    return node.ns == nullptr ? std::string() : std::string(view(node.ns->href));
}

}  // namespace

std::string_view Inclusions::referenceAttribute(std::string_view namespaceUri,
                                                std::string_view local) const noexcept {
    if (dialect_ == Dialect::StyleSheet) {
        const bool names = namespaceUri == kXsltNamespace && (local == "import" || local == "include");
        return names ? "href" : "";
    }
    const bool names =
        namespaceUri == kXsd && (local == "import" || local == "include" || local == "redefine");
    return names ? "schemaLocation" : "";
}

bool Inclusions::isOfDialect(std::string_view namespaceUri) const noexcept {
    return namespaceUri == (dialect_ == Dialect::StyleSheet ? kXsltNamespace : kXsd);
}

void Inclusions::addCause(std::string_view uri, std::uint32_t line, std::string_view text) {
    if (causes_ != nullptr) causes_->add(uri, line, text);
}

Inclusions::Verdict Inclusions::judge(const Reference& reference) {
    const std::string uri = resolved(reference.href, reference.base);
    if (isAdmitted(uri)) return Verdict::Keep;
    const std::string reason = obstacle(uri);
    if (reason.empty()) {
        admit(uri);
        return Verdict::Keep;
    }
    const bool isHint = dialect_ == Dialect::Schema && reference.local == "import";
    addCause(reference.document, reference.line,
             worded("cannot %1 '%2': %3", reference.local, uri.empty() ? reference.href : displayName(uri),
                    reason));
    return isHint ? Verdict::DropReference : Verdict::Stop;
}

bool Inclusions::admitFrom(xmlDoc& document) {
    bool accepted = true;
    xmlNode* root = xmlDocGetRootElement(&document);
    if (root == nullptr) return accepted;
    for (xmlNode* node = root->children; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE) continue;
        const std::string_view attribute = referenceAttribute(nsText(*node), view(node->name));
        if (attribute.empty()) continue;
        const TextHandle href(xmlGetNoNsProp(node, chars(attribute.data())));
        if (href == nullptr) continue;
        const TextHandle base(xmlNodeGetBase(&document, node));
        const std::string uri = nsText(*node);
        const Reference reference{uri,
                                  view(node->name),
                                  std::string(view(href.get())),
                                  std::string(view(base.get())),
                                  std::string(view(document.URL)),
                                  static_cast<std::uint32_t>(xmlGetLineNo(node))};
        const Verdict verdict = judge(reference);
        if (verdict == Verdict::DropReference) (void)xmlUnsetProp(node, chars(attribute.data()));
        if (verdict == Verdict::Stop) accepted = false;
    }
    return accepted;
}

void Inclusions::provide(const std::string& uri, std::function<std::string()> text) {
    admit(uri);
    provided_[uri] = std::move(text);
}

const std::string* Inclusions::textOf(const std::string& uri) {
    const auto known = texts_.find(uri);
    if (known != texts_.end()) return &known->second;
    if (!isAdmitted(uri)) {
        addCause({}, 0, worded("access to '%1' is denied", displayName(uri)));
        return nullptr;
    }
    const auto provided = provided_.find(uri);
    if (provided != provided_.end()) return &(texts_[uri] = provided->second());
    return read(uri);
}

const std::string* Inclusions::read(const std::string& uri) {
    std::error_code unknown;
    const std::uintmax_t size = std::filesystem::file_size(localPath(uri), unknown);
    if (!unknown) filesInBytes_ += static_cast<std::size_t>(size);
    ServedText sink(*this, uri);
    reader::ReadOptions options;
    options.dtd = reader::ReadOptions::Dtd::Internal;
    options.rejectExternalEntities = true;  // without its text the style sheet or schema would be another one
    try {
        const source::ParseError error = reader::read(source::Input::file(localPath(uri)), options, sink);
        if (error.failed()) {
            addCause(uri, error.position.line, error.reason);
            return nullptr;
        }
    } catch (const ServedText::TooLong& text) {
        addCause(uri, text.line,
                 worded("with its entities expanded and its attribute defaults added, the file is too long"));
        return nullptr;
    }
    if (!sink.accepted()) return nullptr;
    return &(texts_[uri] = sink.takeText());
}

std::size_t Inclusions::textLeftInBytes() const noexcept {
    const std::size_t limit = kTextInBytes + kTextPerFileByte * filesInBytes_;
    return limit - std::min(limit, textInBytes_);
}

const std::string* Inclusions::handOut(const std::string& uri) {
    const std::string* text = textOf(uri);
    if (text == nullptr) return nullptr;
    if (++documents_ > kMaxDocuments) {
        addCause({}, 0, worded("more than %1 files are included or imported", std::to_string(kMaxDocuments)));
        return nullptr;
    }
    if (text->size() > textLeftInBytes()) {
        addCause({}, 0,
                 worded("the included and imported files are too long in total, mostly repeated text"));
        return nullptr;
    }
    textInBytes_ += text->size();
    return text;
}

OpenFrom::OpenFrom(Inclusions& inclusions) noexcept : previous_(current) {
    current = &inclusions;
}

OpenFrom::~OpenFrom() {
    current = previous_;
}

xmlParserInputBufferPtr OpenFrom::hook(const char* uri, xmlCharEncoding) noexcept {
    if (current == nullptr || uri == nullptr) return nullptr;
    const libstate::KeepErrno keep;
    try {
        const std::string* text = current->handOut(uri);
        if (text == nullptr) return nullptr;
        return xmlParserInputBufferCreateMem(text->data(), static_cast<int>(text->size()),
                                             XML_CHAR_ENCODING_UTF8);
    } catch (const std::exception&) {
        return nullptr;  // libxml2 reports that it could not load the file
    }
}

}  // namespace engine::xml2
