// What a class says about itself when it is asked for no interface in particular (see kel::describeClass).
// Threads: a description belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "framework/object/chainedtable.h"
#include "framework/object/kelclassid.h"
#include "framework/object/onebasedlist.h"

// What an entry of a description names.
enum class KelClassEntryKind : std::int32_t { Interface = 0, Class = 1 };

// One class or interface that the walk came past.
struct KelClassEntry {
    std::string name;                                       // as lookup knows it
    KelClassEntryKind kind = KelClassEntryKind::Interface;  // of the name
    std::string owner;  // the class recorded last before this entry; empty if there is none
};

// Which component a class comes from. The two texts live as long as the component's code.
struct KelComponentIdentity {
    const std::string* componentName = nullptr;  // null until the walk has filled it
    const std::string* containerName = nullptr;  // likewise
    KelClassId classId;                          // the component's own
};

namespace kel {

// The hash by which names are spread over buckets.
struct NameHash {
    // The same for equal names, in every process.
    [[nodiscard]] std::uint32_t operator()(const std::string& name) const noexcept;
};

// A set of names.
class NameSet final {
public:
    NameSet() : names_(6) {}

    // A name that is in the set already changes nothing.
    void insert(const std::string& name) { names_.insertOrReplace(name, {}); }
    // What the set holds, and the buckets it is spread over.
    [[nodiscard]] bool contains(const std::string& name) const { return names_.find(name) != nullptr; }
    [[nodiscard]] std::size_t count() const noexcept { return names_.count(); }
    [[nodiscard]] std::size_t bucketCount() const noexcept { return names_.bucketCount(); }

private:
    struct Nothing {};
    ChainedTable<std::string, Nothing, NameHash> names_;
};

}  // namespace kel

// Filled by the walk through a class and its interfaces.
class KelClassDescription final {
public:
    // With an identity record, which the caller keeps, nothing is listed and the record is filled instead.
    explicit KelClassDescription(KelComponentIdentity* identity = nullptr);

    // Called by the walk for the class and for each of its interfaces.
    void record(const char* name, KelClassEntryKind kind);

    // A class with one of these interfaces is the host's own affair: its description completes empty.
    // At first the names of the host's own interfaces; more may be put in before the walk.
    [[nodiscard]] kel::NameSet& stopNames() noexcept { return stopNames_; }

    // What was listed: the classes alone, and all entries in the order of the walk. Complete: the walk is
    // over.
    [[nodiscard]] const kel::OneBasedList<KelClassEntry>& classes() const noexcept { return classes_; }
    [[nodiscard]] const kel::OneBasedList<KelClassEntry>& entries() const noexcept { return entries_; }
    [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }

private:
    void list(const char* name, KelClassEntryKind kind);

    kel::OneBasedList<KelClassEntry> classes_;
    kel::OneBasedList<KelClassEntry> entries_;
    kel::NameSet stopNames_;
    KelComponentIdentity* identity_;
    bool isComplete_ = false;
};
