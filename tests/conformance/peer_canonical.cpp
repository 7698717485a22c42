// libxml2's Canonical XML, with comments: what an independent program finds in a document.
#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <climits>
#include <cstddef>
#include <memory>

#include "tests/conformance/canonical.h"

namespace conformance {
namespace {

constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;

struct FreeDocument {
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
};

}  // namespace

std::optional<std::string> canonicalByPeer(std::string_view bytes) {
    if (bytes.size() > std::size_t{INT_MAX}) return std::nullopt;
    const std::unique_ptr<xmlDoc, FreeDocument> document(
        xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr, kOptions));
    if (document == nullptr) return std::nullopt;
    xmlChar* text = nullptr;
    const int length = xmlC14NDocDumpMemory(document.get(), nullptr, XML_C14N_1_0, nullptr, 1, &text);
    if (length < 0 || text == nullptr) return std::nullopt;
    std::string canonical(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
    xmlFree(text);
    return canonical;
}

}  // namespace conformance
