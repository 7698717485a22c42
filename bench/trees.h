// Libraries that load a document into a tree, ours among them, behind one small interface: a call per
// document, never per node, so that it costs none of them anything. White space between elements is dropped
// where the library has a switch for it, as our loads do. Threads: one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/tally.h"

namespace bench {

// What is built and edited through a library's own calls: a root element "items" and `count` children "item"
// with the attributes "id" and "kind" and a text. The values repeat after kPlanValues elements.
inline constexpr std::size_t kPlanValues = 64;
struct Plan {
    std::uint64_t count = 0;
    std::array<std::string, kPlanValues> ids;
    std::array<std::string, kPlanValues> kinds;
    std::array<std::string, kPlanValues> texts;  // UTF-8
};

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
    // Of a tree that was built: a function that gives every child the text of the one `shift` places on.
    // Handles and texts are prepared here, not in the function; it lives no longer than the tree.
    [[nodiscard]] virtual std::function<void(std::size_t shift)> editor(const Plan& plan) = 0;
};

class TreeLibrary {
public:
    [[nodiscard]] virtual std::string_view name() const = 0;
    // Throws std::runtime_error with the library's words when the document is rejected.
    [[nodiscard]] virtual std::unique_ptr<Tree> load(const std::string& path) const = 0;
    // Takes the UTF-8 text over into the form that the library loads from, and returns what loads it.
    [[nodiscard]] virtual std::function<std::unique_ptr<Tree>()> loader(const std::string& text) const = 0;
    [[nodiscard]] virtual std::unique_ptr<Tree> build(const Plan& plan) const = 0;

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
void demandEqualTrees(const std::vector<std::unique_ptr<Tree>>& trees);  // in the order of treeLibraries()

}  // namespace bench
