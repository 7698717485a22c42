// memory/DOC: the peak of resident memory during a load, per input byte. memory/DOC/tree: what the
// loaded tree keeps, per input byte. memory/DOC/sax: the peak that streaming takes above the empty process,
// in MB. Each contender does it in a child process of its own, so that no heap remembers another.
#include <filesystem>
#include <stdexcept>

#include "bench/child.h"
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/streams.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr double kMegabyte = 1e6;
constexpr std::uint64_t kLongDocumentInBytes = 200'000'000;
constexpr std::uint64_t kHugeDocumentInBytes = 2'000'000'000;

struct Footprint {
    double peakInBytes = 0;
    double keptInBytes = 0;
};

Footprint measure(const char* task, std::string_view library, const Documents& documents,
                  const Document& document) {
    const std::vector<double> found =
        runInChild({task, std::string(library), document.path, documents.catalogue(1).path}, 2);
    if (found[0] <= 0) throw std::runtime_error(std::string(library) + ": no memory was measured");
    return {found[0], found[1]};
}

void loadRow(Row& row, const Documents& documents, const std::string& name, double Footprint::*figure) {
    const Document document = documents.find(name);
    std::vector<Value> values;
    for (const TreeLibrary* const library : treeLibraries()) {
        const Footprint found = measure("memory/load", library->name(), documents, document);
        values.push_back(
            {std::string(library->name()), found.*figure / static_cast<double>(document.lengthInBytes)});
    }
    row.values("bytes/byte", Better::Lower, values);
}

void streamRow(Row& row, const Documents& documents, const Document& document) {
    std::vector<Value> values;
    for (const StreamLibrary* const library : streamLibraries()) {
        const Footprint found = measure("memory/sax", library->name(), documents, document);
        values.push_back({std::string(library->name()), found.peakInBytes / kMegabyte});
    }
    row.values("MB", Better::Lower, values);
}

// Too long to be left lying about.
void hugeStreamRow(Row& row, const Documents& documents) {
    const Document document = documents.catalogue(kHugeDocumentInBytes);
    streamRow(row, documents, document);
    std::filesystem::remove(document.path);
}

}  // namespace

void addMemoryRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names()) {
        suite.add("memory/" + name,
                  [&documents, name](Row& row) { loadRow(row, documents, name, &Footprint::peakInBytes); });
        suite.add("memory/" + name + "/tree",
                  [&documents, name](Row& row) { loadRow(row, documents, name, &Footprint::keptInBytes); });
    }
    suite.add("memory/catalogue-200MB/sax", [&documents](Row& row) {
        streamRow(row, documents, documents.catalogue(kLongDocumentInBytes));
    });
    suite.add(
        "memory/catalogue-2000MB/sax", [&documents](Row& row) { hugeStreamRow(row, documents); },
        When::Named);
}

}  // namespace bench
