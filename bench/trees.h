// Libraries that load a document into a tree, ours among them, behind one small interface: a call per
// document, never per node, so that it costs none of them anything. White space between elements is dropped
// where the library has a switch for it, as our loads do. Threads: one.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/tally.h"

namespace bench {

class Tree {
public:
    Tree() = default;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    virtual ~Tree() = default;

    virtual void walk(CountingSink& sink) = 0;
    virtual void walk(DigestSink& sink) = 0;
    // Indented, as UTF-16 in memory; returns the number of units.
    virtual std::uint64_t saveToMemory() = 0;
    // Indented, 8-bit.
    virtual void saveToFile(const std::string& path) = 0;
};

class TreeLibrary {
public:
    [[nodiscard]] virtual std::string_view name() const = 0;
    // Throws std::runtime_error with the library's words when the document is refused.
    [[nodiscard]] virtual std::unique_ptr<Tree> load(const std::string& path) const = 0;

protected:
    ~TreeLibrary() = default;
};

const TreeLibrary& ourTrees();
const TreeLibrary& pugixmlTrees();
const TreeLibrary& libxml2Trees();
const TreeLibrary& xercesTrees();

[[nodiscard]] std::vector<const TreeLibrary*> treeLibraries();  // ours first

// Throws std::runtime_error unless all libraries find the same names, attributes and texts in it.
void demandEqualTrees(const std::string& path);

}  // namespace bench
