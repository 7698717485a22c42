// A '<' stands in no value of an attribute, so that the next one after a start tag begins the next markup.
// What may hold a '<' without being a tag is skipped: comments, CDATA sections, instructions.
#include "engine/dom/starttags.h"

#include <algorithm>
#include <bit>

namespace engine::dom {

namespace {

// The first start tag after `offset`, which is not within other markup than a tag; the source's length if
// there is none.
std::size_t startTagAfter(std::string_view source, std::size_t offset) noexcept {
    const auto after = [source](std::string_view mark, std::size_t from) {
        const std::size_t at = source.find(mark, from);
        return at == std::string_view::npos ? source.size() : at + mark.size();
    };
    std::size_t at = offset + 1;
    while ((at = source.find('<', at)) < source.size()) {
        const std::string_view rest = source.substr(at + 1, 3);
        if (rest.starts_with("!--")) {
            at = after("-->", at + 4);
        } else if (rest.starts_with('!')) {
            at = after("]]>", at);
        } else if (rest.starts_with('?')) {
            at = after("?>", at + 2);
        } else if (rest.starts_with('/')) {
            ++at;
        } else {
            return at;
        }
    }
    return source.size();
}

}  // namespace

void StartTags::open(std::uint32_t group, std::uint32_t offset) {
    const std::uint32_t added = group + 1 - groups_.size();
    Group* const first = groups_.extend(added);
    std::fill_n(first, added, Group{});
    groups_.back().offset = offset;
}

// The first of a group is there as it is reported. Another one is a stray unless it begins the next start
// tag.
void StartTags::addReported(std::uint32_t id, std::uint32_t offset, std::string_view source) {
    if (id / kGroup < groups_.size()) {
        const Group& group = groups_.back();
        const std::uint32_t last = offsetIn(group, std::bit_floor(std::uint32_t{group.elements}), source);
        if (offset <= last || offset >= source.size() ||
            startTagAfter(source.substr(0, std::size_t{offset} + 2), last) != offset) {
            return strays_.append({id, offset});
        }
    }
    add(id, offset);
}

std::uint32_t StartTags::offsetIn(const Group& group, std::uint32_t bit, std::string_view source) noexcept {
    std::size_t offset = group.offset;
    for (int before = std::popcount(group.elements & (bit - 1)); before != 0; --before)
        offset = startTagAfter(source, offset);
    return static_cast<std::uint32_t>(offset);
}

std::uint32_t StartTags::offsetOf(std::uint32_t id, std::string_view source) const noexcept {
    if (id / kGroup >= groups_.size()) return kNoOffset;
    const Group& group = groups_[id / kGroup];
    const std::uint32_t bit = bitOf(id);
    if ((group.forgotten & bit) != 0) return kNoOffset;
    if ((group.elements & bit) != 0) return offsetIn(group, bit, source);
    const Stray* const end = strays_.data() + strays_.size();
    const Stray* const found = std::lower_bound(
        strays_.data(), end, id, [](const Stray& stray, std::uint32_t wanted) { return stray.id < wanted; });
    return found != end && found->id == id ? found->offset : kNoOffset;
}

void StartTags::trim() {
    groups_.trim();
    strays_.trim();
}

std::size_t StartTags::sizeInBytes() const noexcept {
    return std::size_t{groups_.capacity()} * sizeof(Group) + std::size_t{strays_.capacity()} * sizeof(Stray);
}

}  // namespace engine::dom
