// The path of the element that a walk through a document has come to: "/list[1]/p:item[3]", with the names as
// written and the position among the siblings of that name.
//
// Each name remembers how often the innermost parent that has it has had it. What it remembered of an outer
// parent is put aside and comes back when the inner one ends, so an element costs a few operations however
// many siblings or names there are. When the names get new ids, the counts of the open elements are lost;
// their further children are then identified by their position among all siblings: "/list[1]/*[100001]".
// Threads: as the walk.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "engine/tables/names.h"

namespace engine::schema {

class ElementPath final {
public:
    static constexpr std::size_t kMaxSteps = 40;  // of a text: longer ones lose their beginning

    ElementPath() { levels_.push_back({}); }  // the document

    // The name lives until `leave`. A new `generation`: all ids have changed.
    void enter(tables::NameId id, std::uint32_t generation, std::string_view name);
    void leave() noexcept;

    [[nodiscard]] std::size_t depth() const noexcept { return levels_.size() - 1; }
    [[nodiscard]] std::string text() const;  // empty outside the document element

private:
    struct Level {
        std::string_view name;
        std::uint64_t serial = 0;    // of this element, different for each
        std::uint64_t position = 0;  // among the siblings of its name, or among all
        std::uint64_t children = 0;  // so far
        std::size_t putAside = 0;    // the first entry that its children have put aside
        bool isCounted = true;       // the position is that among the siblings of its name
        bool countsChildren = true;  // by name
    };
    struct Count {
        std::uint64_t parent = 0;  // its serial
        std::uint64_t count = 0;
    };
    struct PutAside {
        tables::NameId name;
        Count count;
    };

    std::vector<Level> levels_;
    std::vector<Count> counts_;  // by name
    std::vector<PutAside> putAside_;
    std::uint64_t serial_ = 0;
    std::uint32_t generation_ = 0;
};

}  // namespace engine::schema
