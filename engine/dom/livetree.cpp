#include "engine/dom/livetree.h"

#include <cassert>
#include <utility>
#include <vector>

#include "engine/com/status.h"
#include "engine/dom/utf8text.h"
#include "engine/text/chars.h"

namespace engine::dom {

Binding* Binding::of(IUnknown* object) noexcept {
    void* binding = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(kBindingId, &binding))) return nullptr;
    object->Release();  // the caller's own reference keeps it
    return static_cast<Binding*>(binding);
}

void LiveTree::retire() noexcept {
    isCurrent_ = false;
    if (objects_ == 0) delete this;
}

void LiveTree::reset() noexcept {
    assert(objects_ == 0);
    keptStyle_.reset();
    keptCopy_.reset();
    positions_.reset();
    url_.clear();
    tree_.reset();
}

// Objects that are kept count 0, so that the first reference to one is its last.
LiveTree::~LiveTree() {
    for (Idle* idle : {&idleElements_, &idleTexts_}) {
        while (idle->count != 0) {
            IXMLDOMNode* object = slots_[idle->slots[--idle->count]].object;
            object->AddRef();
            object->Release();
        }
    }
}

// Adds a free slot; only when there is none.
void LiveTree::growSlots() {
    slots_.reserve(slots_.size() == 0 ? 2 : 1);
    if (slots_.size() == 0) slots_.append({});
    firstFree_ = slots_.size();
    slots_.append({});
}

void LiveTree::place(const Slot& object) noexcept {
    const std::uint32_t at = firstFree_;
    firstFree_ = slots_[at].nextFree;
    slots_[at] = object;
    object.binding->tree_ = this;
    object.binding->slot_ = at;
}

void LiveTree::enter(IXMLDOMNode& object, Binding& binding, NodeId node) {
    if (firstFree_ == 0) growSlots();
    place({&object, &binding});
    bind(binding, node);
}

void LiveTree::vacate(std::uint32_t slot) noexcept {
    slots_[slot] = {nullptr, nullptr, firstFree_};
    firstFree_ = slot;
}

void LiveTree::leave(Binding& binding) noexcept {
    vacate(binding.slot_);
    if (binding.node_ == kNoNode) return;
    tree_.giveUp(binding.node_);
    dropObjects(1);
}

void LiveTree::dropDocument() noexcept {
    IXMLDOMDocument2* document = document_;
    if (!isCurrent_) delete this;
    document->Release();  // last, for it may destroy a current tree, this one
}

NodeId LiveTree::adopt(LiveTree& source, NodeId node) {
    std::uint32_t objects = 0;
    for (NodeId at = node; at != kNoNode; at = source.tree_.nextInSubtree(at, node)) {
        if (source.findSlot(at) != nullptr) ++objects;
    }
    slots_.reserve(objects + 1);  // nothing can fail once the copy is made
    const NodeId copy = tree_.copyFrom(source.tree_, node);
    NodeId made = copy;
    for (NodeId at = node; at != kNoNode; at = source.tree_.nextInSubtree(at, node)) {
        if (const Slot* live = source.findSlot(at)) {
            const Slot object = *live;
            source.vacate(object.binding->slot_);
            if (firstFree_ == 0) growSlots();
            place(object);
            bind(*object.binding, made);
        }
        made = tree_.nextInSubtree(made, copy);
    }
    source.tree_.unlink(node);
    source.tree_.free(node);
    if (objects != 0) source.dropObjects(objects);  // the source may be gone from here on
    return copy;
}

NameId LiveTree::lookUpName(std::u16string_view name, const char* what) {
    if (!text::isQualifiedName(name)) {
        throw com::Exception(E_INVALIDARG, "'" + text::toUtf8(name.substr(0, 100)) + "' is not a name that " +
                                               what + " can have.");
    }
    const Utf8Text narrow(name);
    const NameId id = tree_.intern(narrow.view());
    remember(name, id);
    return id;
}

NameId LiveTree::findName(std::u16string_view name) {
    const NameId recent = recentNames_ ? recentNames_->find(name, tree_.names()) : tables::kNoName;
    if (recent != tables::kNoName) return recent;
    const Utf8Text narrow(name);
    const std::optional<NameId> found = tree_.names().find(narrow.view());
    if (!found) return tables::kNoName;
    remember(name, *found);
    return *found;
}

// Only names that stand in the table: all of them are qualified names.
void LiveTree::remember(std::u16string_view name, NameId id) {
    if (!recentNames_) recentNames_ = std::make_unique<RecentNames>();
    recentNames_->remember(name, id, tree_.names());
}

void LiveTree::reclaim() {
    std::vector<NodeId> roots;
    for (std::uint32_t slot = 1; slot < slots_.size(); ++slot) {
        const Binding* binding = slots_[slot].binding;
        if (binding != nullptr && binding->node_ != kNoNode) roots.push_back(binding->node_);
    }
    tree_.reclaim(roots);
}

}  // namespace engine::dom
