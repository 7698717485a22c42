// sax/DOC: the document as a stream of events, counted by the receiver.
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/streams.h"

namespace bench {
namespace {

constexpr std::uint64_t kLongDocumentInBytes = 200'000'000;

void saxRow(Row& row, const Document& document) {
    demandEqualEvents(document.path);
    std::vector<Contender> contenders;
    for (const StreamLibrary* const library : streamLibraries()) {
        contenders.push_back({std::string(library->name()),
                              [library, path = document.path] { return library->parse(path).result(); }});
    }
    row.throughput(document.lengthInBytes, contenders);
}

}  // namespace

void addSaxRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names())
        suite.add("sax/" + name, [&documents, name](Row& row) { saxRow(row, documents.find(name)); });
    suite.add("sax/catalogue-200MB",
              [&documents](Row& row) { saxRow(row, documents.catalogue(kLongDocumentInBytes)); });
}

}  // namespace bench
