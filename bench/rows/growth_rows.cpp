// growth/…: how time grows as the input doubles. Nothing that people do with a long document may cost more
// than about twice as much for twice the length. Freed memory is kept: else the longest document alone pays
// for fresh pages in each round.
#include <array>

#include "bench/documents.h"
#include "bench/machine.h"
#include "bench/ours.h"
#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr std::array<std::uint64_t, 4> kLengthsInBytes{4'000'000, 8'000'000, 16'000'000, 32'000'000};
constexpr std::array<std::uint64_t, 4> kChildren{25'000, 50'000, 100'000, 200'000};

using Work = std::uint64_t (*)(Tree&);

void loadGrowth(Row& row, const Documents& documents) {
    const KeptHeap kept;
    std::vector<Contender> sizes;
    for (const std::uint64_t length : kLengthsInBytes) {
        const Document document = documents.catalogue(length);
        sizes.push_back(
            {std::to_string(length / 1'000'000) + " MB",
             [path = document.path]() -> std::uint64_t { return ourTrees().load(path) != nullptr; }});
    }
    row.growth(sizes);
}

void treeGrowth(Row& row, const Documents& documents, Work work) {
    const KeptHeap kept;
    std::vector<Contender> sizes;
    for (const std::uint64_t length : kLengthsInBytes) {
        const std::shared_ptr<Tree> tree(ourTrees().load(documents.catalogue(length).path));
        sizes.push_back({std::to_string(length / 1'000'000) + " MB", [tree, work] { return work(*tree); }});
    }
    row.growth(sizes);
}

std::uint64_t walk(Tree& tree) {
    CountingSink sink;
    tree.walk(sink);
    return sink.result();
}

std::uint64_t save(Tree& tree) {
    return tree.saveToMemory();
}

std::uint64_t addChildren(std::uint64_t count) {
    const IPtr<IKelDOMXmlV2> parser = newDomParser();
    const KelString name(u"child");
    const IPtr<IKelDOMXmlElement> root(parser->createElement(KelString(u"root")));
    parser->setRootElement(root.get());
    for (std::uint64_t i = 0; i < count; ++i) {
        const IPtr<IKelDOMXmlElement> child(parser->createElement(name));
        root->addChild(child.get());
    }
    return count;
}

void addChildGrowth(Row& row) {
    const KeptHeap kept;
    std::vector<Contender> sizes;
    for (const std::uint64_t count : kChildren)
        sizes.push_back({std::to_string(count), [count] { return addChildren(count); }});
    row.growth(sizes);
}

}  // namespace

void addGrowthRows(Suite& suite, const Documents& documents) {
    suite.add("growth/load", [&documents](Row& row) { loadGrowth(row, documents); });
    suite.add("growth/walk", [&documents](Row& row) { treeGrowth(row, documents, walk); });
    suite.add("growth/save", [&documents](Row& row) { treeGrowth(row, documents, save); });
    suite.add("growth/addchild", addChildGrowth);
}

}  // namespace bench
