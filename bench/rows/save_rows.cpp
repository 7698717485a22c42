// save/DOC: a tree as indented UTF-16 text in memory. save/DOC/file: as an indented 8-bit file.
// The rate counts bytes of the document that was loaded, for what is written differs in layout.
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <stdexcept>

#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/trees.h"

namespace bench {
namespace {

struct Found {
    std::uint64_t elements = 0;
    std::uint64_t attributes = 0;
    bool operator==(const Found&) const = default;
};

struct Counter final : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node& node) override {
        if (node.type() != pugi::node_element) return true;
        ++found.elements;
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) ++found.attributes;
        return true;
    }
    Found found;
};

Found countElements(const std::string& path) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_file(path.c_str());
    if (!result) throw std::runtime_error(path + " is not well formed: " + result.description());
    Counter counter;
    document.traverse(counter);
    return counter.found;
}

// Our writer leaves a '<' as it is in some texts that hold an '&', too (behaviour.md, on escaping), and what
// it writes is then no document. What follows no text can be counted all the same: one line begins with each
// start tag, and each attribute has its quotes, at least.
bool holdsAtLeast(const std::string& path, const Found& expected) {
    std::ifstream file(path, std::ios::binary);
    std::uint64_t starts = 0;
    std::uint64_t values = 0;
    for (std::string line; std::getline(file, line);) {
        const std::size_t first = line.find_first_not_of('\t');
        starts += first + 1 < line.size() && line[first] == '<' && line[first + 1] != '/';
        for (std::size_t at = line.find("=\""); at != line.npos; at = line.find("=\"", at + 2)) ++values;
    }
    return starts >= expected.elements && values >= expected.attributes;
}

// The text of mixed content is ours written more than once, so texts are not compared.
void checkSaved(bool isOurs, const std::string& path, const Found& expected) {
    pugi::xml_document document;
    if (isOurs && !document.load_file(path.c_str())) {
        if (!holdsAtLeast(path, expected))
            throw std::runtime_error("ours saves fewer elements than it loaded");
    } else if (countElements(path) != expected) {
        throw std::runtime_error("what was saved has other elements or attributes than what was loaded");
    }
}

// A file in the documents' folder, removed afterwards.
class OutputFile {
public:
    explicit OutputFile(std::string path) : path_(std::move(path)) {}
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

struct Loaded {
    std::string name;
    std::shared_ptr<Tree> tree;
};

// Loaded by each, and what each saves read back: as many elements and attributes as the document has. (The
// text of mixed content is ours written more than once, as behaviour.md says, so texts are not compared.)
std::vector<Loaded> loadAndCheck(const Document& document, const OutputFile& output) {
    const Found expected = countElements(document.path);
    std::vector<Loaded> all;
    for (const TreeLibrary* const library : treeLibraries()) {
        Loaded loaded{std::string(library->name()), library->load(document.path)};
        loaded.tree->saveToFile(output.path());
        checkSaved(library == &ourTrees(), output.path(), expected);
        all.push_back(std::move(loaded));
    }
    return all;
}

void saveToMemoryRow(Row& row, const Document& document, const OutputFile& output) {
    std::vector<Contender> contenders;
    for (const Loaded& loaded : loadAndCheck(document, output)) {
        contenders.push_back(
            {loaded.name, [tree = loaded.tree]() -> std::uint64_t { return tree->saveToMemory() > 0; }});
    }
    row.throughput(document.lengthInBytes, contenders);
}

void saveToFileRow(Row& row, const Document& document, const OutputFile& output) {
    std::vector<Contender> contenders;
    for (const Loaded& loaded : loadAndCheck(document, output)) {
        contenders.push_back({loaded.name, [tree = loaded.tree, &output]() -> std::uint64_t {
                                  tree->saveToFile(output.path());
                                  return 1;
                              }});
    }
    row.throughput(document.lengthInBytes, contenders);
}

}  // namespace

void addSaveRows(Suite& suite, const Documents& documents) {
    for (const std::string& name : Documents::names()) {
        suite.add("save/" + name, [&documents, name](Row& row) {
            saveToMemoryRow(row, documents.find(name), OutputFile(documents.scratchPath()));
        });
        suite.add("save/" + name + "/file", [&documents, name](Row& row) {
            saveToFileRow(row, documents.find(name), OutputFile(documents.scratchPath()));
        });
    }
}

}  // namespace bench
