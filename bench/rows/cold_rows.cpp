// cold/DOC: the first load of a process, from file to tree: user and system time, page faults included,
// without freeing. Each contender loads in child processes of its own, taken alternately; the figures are
// medians.
#include <algorithm>
#include <map>
#include <stdexcept>

#include "bench/child.h"
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr std::size_t kChildren = 15;  // of each contender

void coldRow(Row& row, const Document& document) {
    std::map<std::string_view, std::vector<double>> seconds;
    double digest = 0;
    for (std::size_t child = 0; child < kChildren; ++child) {
        for (const TreeLibrary* const library : treeLibraries()) {
            const std::vector<double> found =
                runInChild({"cold", std::string(library->name()), document.path}, 2);
            if (digest == 0) digest = found[1];
            if (found[1] != digest)
                throw std::runtime_error(std::string(library->name()) + " reads other content than ours");
            seconds[library->name()].push_back(found[0]);
        }
    }
    std::vector<Value> values;
    for (const TreeLibrary* const library : treeLibraries()) {
        std::vector<double>& all = seconds[library->name()];
        std::nth_element(all.begin(), all.begin() + kChildren / 2, all.end());
        values.push_back({std::string(library->name()),
                          static_cast<double>(document.lengthInBytes) / 1e6 / all[kChildren / 2]});
    }
    row.values("MB/s", Better::Higher, values);
}

}  // namespace

void addColdRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names())
        suite.add("cold/" + name, [&documents, name](Row& row) { coldRow(row, documents.find(name)); });
}

}  // namespace bench
