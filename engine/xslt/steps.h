// Steps of location paths that start from several nodes, and unions, taken out of libxml2's hands. It removes
// duplicates by comparing each node with each, in no proportion to the steps that it counts:
// `//a/preceding::*` over 8,000 elements kept it busy for a minute. So, before a style sheet is compiled,
// `P/preceding::*` becomes `engine-step(P, 7)`, where 7 is the number of the step in a table, and `A | B`
// becomes `engine-union(A, B)`; the functions find duplicates by a hash. A step from one node, and one that
// cannot meet a node twice (a child, an attribute), stays as it is. Threads: as the style sheet.
#pragma once

#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxslt/xsltInternals.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/xml2/handles.h"

namespace engine::xslt {

// Sorts in document order, each node once: by the numbers that `numberNodes` gave all nodes of their tree, or
// as libxml2 does, whose comparison is not transitive where comments or instructions stand among elements.
void sortNodes(xmlNodeSet& nodes) noexcept;
void numberNodes(xmlDoc& document) noexcept;  // in a field that is otherwise not used

class Steps final {
public:
    Steps() = default;
    Steps(const Steps&) = delete;
    Steps& operator=(const Steps&) = delete;

    // What an attribute of a style sheet becomes; the same text if nothing needs to change, or if it is not
    // well formed, which libxslt then reports. `element` is the local name of one of XSLT's own, else empty.
    [[nodiscard]] std::string attribute(std::string_view element, std::string_view name,
                                        std::string_view value);
    // All attributes of a document that is made of libxml2's own memory.
    void replaceIn(xmlDoc& style);

    // A text of libxslt's, with the expressions as they were written.
    [[nodiscard]] std::string asWritten(std::string text) const;

    // The functions, for one context, whose Meter lends this table.
    static void addFunctions(xsltTransformContext& context);
    // For a context outside a transformation, which borrows `steps` as what its variables are looked up in:
    // there are none.
    static void addFunctions(xmlXPathContext& context, const Steps& steps);
    // Null if there is no such step.
    [[nodiscard]] xmlXPathCompExpr* at(double number) const noexcept;

    // Adds a step, and returns its number. Throws std::bad_alloc.
    [[nodiscard]] std::size_t add(const std::string& step);

    // What an expression becomes; the same text if it is none.
    [[nodiscard]] std::string expression(std::string_view text);

private:
    [[nodiscard]] std::string pattern(std::string_view text);        // its predicates
    [[nodiscard]] std::string valueTemplate(std::string_view text);  // its expressions

    using Compiled = std::unique_ptr<xmlXPathCompExpr, xml2::FreeBy<xmlXPathFreeCompExpr>>;
    std::vector<Compiled> steps_;
    std::vector<std::pair<std::string, std::string>> replaced_;  // what they became, as written
};

}  // namespace engine::xslt
