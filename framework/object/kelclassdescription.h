// What a class says about itself when it is asked for no interface in particular (see kel::describeClass).
// Threads: a description belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "framework/object/chainedtable.h"
#include "framework/object/kelclassid.h"
#include "framework/object/onebasedlist.h"

enum class KelClassEntryKind : std::int32_t { Interface = 0, Class = 1 };

struct KelClassEntry {
    std::string name;
    KelClassEntryKind kind = KelClassEntryKind::Interface;
    std::string owner;  // the class recorded last before this entry; empty if there is none
};

// Which component a class comes from. The two texts live as long as the component's code.
struct KelComponentIdentity {
    const std::string* componentName = nullptr;
    const std::string* containerName = nullptr;
    KelClassId classId;
};

namespace kel {

struct NameHash {
    [[nodiscard]] std::uint32_t operator()(const std::string& name) const noexcept;
};

// A set of names.
class NameSet final {
public:
    NameSet() : names_(6) {}

    void insert(const std::string& name) { names_.insertOrReplace(name, {}); }
    [[nodiscard]] bool contains(const std::string& name) const { return names_.find(name) != nullptr; }
    [[nodiscard]] std::size_t count() const noexcept { return names_.count(); }
    [[nodiscard]] std::size_t bucketCount() const noexcept { return names_.bucketCount(); }

private:
    struct Nothing {};
    ChainedTable<std::string, Nothing, NameHash> names_;
};

}  // namespace kel

class KelClassDescription final {
public:
    // With an identity record, which the caller keeps, nothing is listed and the record is filled instead.
    explicit KelClassDescription(KelComponentIdentity* identity = nullptr);

    // Called by the walk for the class and for each of its interfaces.
    void record(const char* name, KelClassEntryKind kind);

    // A class with one of these interfaces is the host's own affair: its description completes empty.
    // At first the names of the host's own interfaces; more may be put in before the walk.
    [[nodiscard]] kel::NameSet& stopNames() noexcept { return stopNames_; }

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
