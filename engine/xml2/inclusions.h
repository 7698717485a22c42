// The files that a style sheet or a schema brings in. libxml2 opens nothing by itself: each import or include
// is looked at beforehand, and only if it is a local file that can be read is it admitted; it is then read by
// our own reader, which opens no external entity, and handed to libxml2 from memory, line for line.
//
// Looking beforehand has a second reason: asked for a file that does not exist, libxml2 loads the system's
// catalogue and keeps it for the whole process.
// Files may name each other in many ways, and a few may expand to very much. So it is limited how often they
// are handed out in one call, and how much text that may be; see Inclusions::kMaxDocuments. Threads: an
// object serves one call at a time.
#pragma once

#include <libxml/tree.h>
#include <libxml/xmlIO.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "engine/reader/events.h"
#include "engine/xml2/errors.h"

namespace engine::xml2 {

inline constexpr std::string_view kXsltNamespace = "http://www.w3.org/1999/XSL/Transform";

enum class Dialect : std::uint8_t { StyleSheet, Schema };

class Inclusions final {
public:
    // For one call: documents handed out, each time counted, and bytes of text, entities and attribute
    // defaults expanded. A byte of a file allows for kTextPerFileByte more.
    static constexpr std::size_t kMaxDocuments = 2000;
    static constexpr std::size_t kTextInBytes = std::size_t{16} << 20;
    static constexpr std::size_t kTextPerFileByte = 8;

    explicit Inclusions(Dialect dialect) noexcept : dialect_(dialect) {}

    [[nodiscard]] Dialect dialect() const noexcept { return dialect_; }

    // A call begins: where causes of rejections go until it ends; null: nowhere.
    void setCauses(Causes* causes) noexcept {
        causes_ = causes;
        documents_ = textInBytes_ = 0;
    }

    // Admits what the top-level elements of `document` name. False: a cause was added, do not go on. An
    // import of a schema that is rejected loses its location instead, for the location is only a hint.
    [[nodiscard]] bool admitFrom(xmlDoc& document);
    // Admits one file by its URI without looking at it.
    void admit(const std::string& uri) { admitted_.insert(uri); }
    // Admits `uri` with what `text` gives on request.
    void provide(const std::string& uri, std::function<std::string()> text);

    [[nodiscard]] bool isAdmitted(const std::string& uri) const { return admitted_.contains(uri); }
    // Files have been admitted, beside what was provided.
    [[nodiscard]] bool hasFiles() const noexcept { return admitted_.size() > provided_.size(); }
    // The text of an admitted document, read when first asked for; null: a cause was added.
    [[nodiscard]] const std::string* textOf(const std::string& uri);
    // The same, counted.
    [[nodiscard]] const std::string* handOut(const std::string& uri);
    // How long the text of one more file may be.
    [[nodiscard]] std::size_t textLeftInBytes() const noexcept;

    // Changes the values of attributes in files that are handed out. `element` is the local name of one in
    // the dialect's namespace, else empty.
    using Rewriter =
        std::function<std::string(std::string_view element, std::string_view name, std::string_view value)>;
    void setRewriter(Rewriter rewriter) { rewriter_ = std::move(rewriter); }
    [[nodiscard]] const Rewriter& rewriter() const noexcept { return rewriter_; }
    [[nodiscard]] bool isOfDialect(std::string_view namespaceUri) const noexcept;

    // Sees the elements of the dialect in files that are read.
    using Observer =
        std::function<void(std::string_view element, std::span<const reader::Attribute> attributes)>;
    void setObserver(Observer observer) { observer_ = std::move(observer); }
    [[nodiscard]] const Observer& observer() const noexcept { return observer_; }

    // What to do with an element that may name a file.
    enum class Verdict : std::uint8_t { Keep, DropReference, Stop };
    struct Reference {
        std::string_view namespaceUri;
        std::string_view local;
        std::string href;  // as written
        std::string base;
        std::string document;  // the URI of the file it stands in, for the message
        std::uint32_t line;
    };
    [[nodiscard]] Verdict judge(const Reference& reference);
    // The attribute by which this element names a file; empty: it names none.
    [[nodiscard]] std::string_view referenceAttribute(std::string_view namespaceUri,
                                                      std::string_view local) const noexcept;

private:
    [[nodiscard]] const std::string* read(const std::string& uri);
    void addCause(std::string_view uri, std::uint32_t line, std::string_view text);

    Dialect dialect_;
    Rewriter rewriter_;
    Observer observer_;
    Causes* causes_ = nullptr;
    std::size_t documents_ = 0;
    std::size_t textInBytes_ = 0;
    std::size_t filesInBytes_ = 0;
    std::set<std::string, std::less<>> admitted_;
    std::map<std::string, std::function<std::string()>, std::less<>> provided_;
    std::map<std::string, std::string, std::less<>> texts_;
};

// While it lives, the files that libxml2 wants on this thread come from `inclusions`, and it gets no others.
// For libstate::ThreadSettings, which installs `hook`.
class OpenFrom final {
public:
    explicit OpenFrom(Inclusions& inclusions) noexcept;
    ~OpenFrom();
    OpenFrom(const OpenFrom&) = delete;
    OpenFrom& operator=(const OpenFrom&) = delete;

    static xmlParserInputBufferPtr hook(const char* uri, xmlCharEncoding encoding) noexcept;

private:
    Inclusions* previous_;
};

}  // namespace engine::xml2
