// load/DOC: from a file to a tree, and freeing it.
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

void loadRow(Row& row, const Document& document) {
    demandEqualTrees(document.path);
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        contenders.push_back(
            {std::string(library->name()),
             [library, path = document.path]() -> std::uint64_t { return library->load(path) != nullptr; }});
    }
    row.throughput(document.lengthInBytes, contenders);
}

}  // namespace

void addLoadRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names())
        suite.add("load/" + name, [&documents, name](Row& row) { loadRow(row, documents.find(name)); });
    suite.add("load/namespaces", [&documents](Row& row) { loadRow(row, documents.namespaces()); });
}

}  // namespace bench
