// walk/DOC/utf16 and walk/DOC/utf8: every name, attribute and text of a loaded tree through
// msxml_parser/xml.h, beside the same walk through the interfaces, which hand out UTF-16. What the header
// costs is the inverse of the ratio.
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/documents.h"
#include "bench/ours.h"
#include "bench/rows.h"
#include "bench/trees.h"
#include "bench/utf16.h"
#include "msxml_parser/xml.h"

namespace bench {
namespace {

namespace xml = msxml_parser;

// Element by element as a program does it, with storage that is used again. `Storage` is the form of text.
template <class Storage, class Sink>
class Walker {
public:
    explicit Walker(Sink& sink) : sink_(sink) {}

    void walk(const xml::Element& element) {
        sink_.element(element.name(name_));
        for (const xml::Attribute& attribute : element.attributes())
            sink_.attribute(attribute.name(name_), attribute.value(value_));
        sink_.text(element.ownText(value_));
        for (const xml::Element child : element.children()) walk(child);
    }

private:
    Sink& sink_;
    Storage name_;
    Storage value_;
};

// As CountingSink, of bytes.
class ByteSink {
public:
    void element(std::string_view name) { bytes_ += name.size(); }
    void attribute(std::string_view name, std::string_view value) { bytes_ += name.size() + value.size(); }
    void text(std::string_view text) { bytes_ += text.size(); }
    [[nodiscard]] std::uint64_t result() const { return bytes_; }

private:
    std::uint64_t bytes_ = 0;
};

// Digests UTF-8 as the same text in UTF-16.
class Utf8DigestSink {
public:
    void element(std::string_view name) { sink_.element(toUtf16(name, name_)); }
    void attribute(std::string_view name, std::string_view value) {
        sink_.attribute(toUtf16(name, name_), toUtf16(value, value_));
    }
    void text(std::string_view text) { sink_.text(toUtf16(text, value_)); }
    [[nodiscard]] std::uint64_t result() const { return sink_.result(); }

private:
    DigestSink sink_;
    std::u16string name_;
    std::u16string value_;
};

template <class Storage, class Sink>
std::uint64_t walk(const xml::Document& document) {
    Sink sink;
    Walker<Storage, Sink>(sink).walk(document.root());
    return sink.result();
}

template <class Storage, class Sink, class Digest>
void headerRow(Row& row, const Document& document) {
    const auto loaded = std::make_shared<xml::Document>(newDomParser().get());
    loaded->loadFile(document.path);
    const std::shared_ptr<Tree> tree = ourTrees().load(document.path);
    DigestSink digest;
    tree->walk(digest);
    if (walk<Storage, Digest>(*loaded) != digest.result())
        throw std::runtime_error("the header finds other names, attributes or texts than the interfaces");
    const std::vector<Contender> contenders = {
        {std::string(kOurs), [loaded]() -> std::uint64_t { return walk<Storage, Sink>(*loaded) != 0; }},
        {"interfaces", [tree]() -> std::uint64_t {
             CountingSink sink;
             tree->walk(sink);
             return sink.result() != 0;
         }}};
    row.throughput(document.lengthInBytes, contenders);
}

}  // namespace

void addHeaderRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names()) {
        suite.add("walk/" + name + "/utf16", [&documents, name](Row& row) {
            headerRow<xml::Buffer, CountingSink, DigestSink>(row, documents.find(name));
        });
        suite.add("walk/" + name + "/utf8", [&documents, name](Row& row) {
            headerRow<xml::Utf8Buffer, ByteSink, Utf8DigestSink>(row, documents.find(name));
        });
    }
}

}  // namespace bench
