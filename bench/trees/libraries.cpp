#include <stdexcept>

#include "bench/trees.h"

namespace bench {

std::vector<const TreeLibrary*> treeLibraries() {
    return {&ourTrees(), &pugixmlTrees(), &libxml2Trees(), &xercesTrees()};
}

void demandEqualTrees(const std::string& path) {
    std::vector<std::unique_ptr<Tree>> trees;
    for (const TreeLibrary* const library : treeLibraries()) trees.push_back(library->load(path));
    demandEqualTrees(trees);
}

void demandEqualTrees(const std::vector<std::unique_ptr<Tree>>& trees) {
    const std::vector<const TreeLibrary*> libraries = treeLibraries();
    std::uint64_t expected = 0;
    for (std::size_t i = 0; i < trees.size(); ++i) {
        DigestSink sink;
        trees[i]->walk(sink);
        if (i == 0) expected = sink.result();
        if (sink.result() != expected)
            throw std::runtime_error(std::string(libraries[i]->name()) + " has other content than ours");
    }
}

}  // namespace bench
