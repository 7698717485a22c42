// save/DOC/faithful: a document written as it was loaded, white space and comments included, to a file.
// memory/DOC/faithful: the peak of memory that writing takes beyond the tree, in MB, in a child process.
#include <filesystem>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

#include "bench/child.h"
#include "bench/documents.h"
#include "bench/ours.h"
#include "bench/rows.h"
#include "msxml_parser/xml.h"

namespace bench {
namespace {

constexpr unsigned kWhole = pugi::parse_full | pugi::parse_ws_pcdata;

std::shared_ptr<pugi::xml_document> loadPeer(const std::string& path) {
    auto document = std::make_shared<pugi::xml_document>();
    const pugi::xml_parse_result result = document->load_file(path.c_str(), kWhole);
    if (!result) throw std::runtime_error(path + " is not well formed: " + result.description());
    return document;
}

// All of it in the peer's words.
std::string contentOf(const std::string& path) {
    std::ostringstream content;
    loadPeer(path)->save(content, "", pugi::format_raw);
    return content.str();
}

void saveRow(Row& row, const Document& document, const std::string& output) {
    const auto ours = std::make_shared<msxml_parser::Document>(newDomParser().get());
    ours->loadFile(document.path, {.keepWhiteSpace = true});
    ours->saveFile(output);
    // White space around the root element is not content.
    if (contentOf(output) != contentOf(document.path))
        throw std::runtime_error("what was saved is not what was loaded");
    const auto peer = loadPeer(document.path);
    row.throughput(document.lengthInBytes,
                   {{std::string(kOurs),
                     [ours, output]() -> std::uint64_t {
                         ours->saveFile(output);
                         return 1;
                     }},
                    {"pugixml", [peer, output]() -> std::uint64_t {
                         return peer->save_file(output.c_str(), "", pugi::format_raw) ? 1 : 0;
                     }}});
    std::error_code ignored;
    std::filesystem::remove(output, ignored);
}

void memoryRow(Row& row, const Documents& documents, const Document& document) {
    const std::vector<double> found = runInChild(
        {"memory/faithful", document.path, documents.scratchPath(), documents.catalogue(1).path}, 2);
    constexpr double kMegabyte = 1e6;
    row.values("MB", Better::Lower, {{std::string(kOurs), found[0] / kMegabyte}});
}

}  // namespace

void addFaithfulRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names()) {
        suite.add("save/" + name + "/faithful", [&documents, name](Row& row) {
            saveRow(row, documents.find(name), documents.scratchPath());
        });
        suite.add("memory/" + name + "/faithful",
                  [&documents, name](Row& row) { memoryRow(row, documents, documents.find(name)); });
    }
}

}  // namespace bench
