// walk/DOC: every name, attribute and text of a loaded tree as UTF-16 in strings that are used again.
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

void walkRow(Row& row, const Document& document) {
    demandEqualTrees(document.path);
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        contenders.push_back(
            {std::string(library->name()),
             [tree = std::shared_ptr<Tree>(library->load(document.path))]() -> std::uint64_t {
                 CountingSink sink;
                 tree->walk(sink);
                 return sink.result();
             }});
    }
    row.throughput(document.lengthInBytes, contenders);
}

}  // namespace

void addWalkRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names())
        suite.add("walk/" + name, [&documents, name](Row& row) { walkRow(row, documents.find(name)); });
}

}  // namespace bench
