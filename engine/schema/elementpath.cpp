#include "engine/schema/elementpath.h"

#include <algorithm>

namespace engine::schema {

void ElementPath::enter(tables::NameId id, std::uint32_t generation, std::string_view name) {
    if (generation != generation_) {
        generation_ = generation;
        counts_.clear();
        putAside_.clear();
        for (Level& level : levels_) {
            level.putAside = 0;
            level.countsChildren = level.children == 0;
        }
    }
    Level& parent = levels_.back();
    Level level;
    level.name = name;
    level.position = ++parent.children;
    level.isCounted = parent.countsChildren;
    if (level.isCounted) {
        if (id >= counts_.size())
            counts_.resize(std::max<std::size_t>(id + std::size_t{1}, 2 * counts_.size()));
        Count& known = counts_[id];
        if (known.parent != parent.serial || known.count == 0) {
            putAside_.push_back({id, known});
            known = {parent.serial, 0};
        }
        level.position = ++known.count;
    }
    level.serial = ++serial_;
    level.putAside = putAside_.size();
    levels_.push_back(level);
}

void ElementPath::leave() noexcept {
    for (const std::size_t start = levels_.back().putAside; putAside_.size() > start; putAside_.pop_back()) {
        counts_[putAside_.back().name] = putAside_.back().count;
    }
    levels_.pop_back();
}

std::string ElementPath::text() const {
    std::string path;
    const std::size_t skipped = depth() > kMaxSteps ? depth() - kMaxSteps : 0;
    if (skipped != 0) path = "...";
    for (std::size_t i = 1 + skipped; i < levels_.size(); ++i) {
        const Level& level = levels_[i];
        path += '/';
        path += level.isCounted ? level.name : "*";
        path += '[' + std::to_string(level.position) + ']';
    }
    return path;
}

}  // namespace engine::schema
