// small/NAME: a short document from a string in memory to a tree, and freeing it, with a new parser each
// time. small/NAME/file: the same from a file. Ours loads UTF-16, its form of a string, the others UTF-8.
#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bench/rows.h"
#include "bench/streams.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr std::array kNames{"settings", "message"};
constexpr std::uint64_t kLoadsInRound = 100;

std::string pathOf(const std::string& name) {
    return std::string(KEL_BENCH_SMALL) + "/" + name + ".xml";
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file || text.empty()) throw std::runtime_error("cannot read " + path);
    return text;
}

template <class Load>
Contender repeated(std::string_view name, Load load) {
    return {std::string(name), [load]() -> std::uint64_t {
                std::uint64_t loaded = 0;
                for (std::uint64_t i = 0; i < kLoadsInRound; ++i) loaded += load() ? 1 : 0;
                return loaded;
            }};
}

void textRow(Row& row, const std::string& name) {
    const std::string text = readFile(pathOf(name));
    std::vector<std::unique_ptr<Tree>> trees;
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        const auto load = library->loader(text);
        trees.push_back(load());
        contenders.push_back(repeated(library->name(), [load] { return load() != nullptr; }));
    }
    demandEqualTrees(trees);
    contenders.push_back(repeated("expat", [text] { return parseTextWithExpat(text).elements > 0; }));
    row.latency(kLoadsInRound, contenders);
}

void fileRow(Row& row, const std::string& name) {
    const std::string path = pathOf(name);
    demandEqualTrees(path);
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        contenders.push_back(
            repeated(library->name(), [library, path] { return library->load(path) != nullptr; }));
    }
    contenders.push_back(repeated("expat", [path] { return expatStreams().parse(path).elements > 0; }));
    row.latency(kLoadsInRound, contenders);
}

}  // namespace

void addSmallRows(Suite& suite) {
    for (const std::string name : kNames) {
        suite.add("small/" + name, [name](Row& row) { textRow(row, name); });
        suite.add("small/" + name + "/file", [name](Row& row) { fileRow(row, name); });
    }
}

}  // namespace bench
