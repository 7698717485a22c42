// build/100k: elements with two attributes and a text, made and appended one by one through the library's
// calls, and freeing the tree. edit/settext: another text for an element that a handle is held of. Ours gets
// UTF-16 and the others UTF-8 (Xerces-C: UTF-16): each the form that its calls take.
#include <string>

#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

constexpr std::uint64_t kBuilt = 100'000;
constexpr std::uint64_t kEdited = 10'000;

Plan planFor(std::uint64_t count) {
    Plan plan;
    plan.count = count;
    for (std::size_t i = 0; i < kPlanValues; ++i) {
        const std::string number = std::to_string(100'000 + i * 7919);
        plan.ids[i] = "item-" + number;
        plan.kinds[i] = i % 3 == 0 ? "spare part" : "article";
        plan.texts[i] =
            "Regal " + number + (i % 8 == 0 ? " für Bücher" : " for books") + std::string(i % 5 * 6, '.');
    }
    return plan;
}

void buildRow(Row& row) {
    const Plan plan = planFor(kBuilt);
    std::vector<std::unique_ptr<Tree>> trees;
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        trees.push_back(library->build(plan));
        contenders.push_back({std::string(library->name()), [library, plan]() -> std::uint64_t {
                                  return library->build(plan) != nullptr;
                              }});
    }
    demandEqualTrees(trees);
    trees.clear();
    row.latency(kBuilt, contenders);
}

void setTextRow(Row& row) {
    const Plan plan = planFor(kEdited);
    std::vector<std::unique_ptr<Tree>> trees;
    std::vector<Contender> contenders;
    for (const TreeLibrary* const library : treeLibraries()) {
        trees.push_back(library->build(plan));
        const auto edit = trees.back()->editor(plan);
        edit(1);
        contenders.push_back(
            {std::string(library->name()), [edit, shift = std::size_t{1}]() mutable -> std::uint64_t {
                 edit(++shift);
                 return kEdited;
             }});
    }
    demandEqualTrees(trees);
    row.latency(kEdited, contenders);
}

}  // namespace

void addBuildRows(Suite& suite) {
    suite.add("build/100k", buildRow);
    suite.add("edit/settext", setTextRow);
}

}  // namespace bench
