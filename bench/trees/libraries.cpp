#include <stdexcept>

#include "bench/trees.h"

namespace bench {

std::vector<const TreeLibrary*> treeLibraries() {
    return {&ourTrees(), &pugixmlTrees(), &libxml2Trees(), &xercesTrees()};
}

void demandEqualTrees(const std::string& path) {
    std::uint64_t expected = 0;
    for (const TreeLibrary* const library : treeLibraries()) {
        DigestSink sink;
        library->load(path)->walk(sink);
        if (library == &ourTrees()) expected = sink.answer();
        if (sink.answer() != expected)
            throw std::runtime_error(std::string(library->name()) + " reads other content from " + path);
    }
}

}  // namespace bench
