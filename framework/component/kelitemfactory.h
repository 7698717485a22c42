// Makes the objects of one class. An item factory registers itself when it is made and lives as long as the
// process. Threads: made while the library loads; create may run on any.
//
//     auto& shelfFactory = *new KelTClassItemFactory<Shelf>(&kShelfClassId, "Shelf", nullptr);
#pragma once

#include "framework/object/kelclassid.h"
#include "framework/object/kelunknown.h"

class KelItemFactory {
public:
    // Registers with KelDefaultClassFactory under the identifier, in place of an item factory that was there.
    // The texts are static; the description may be null.
    KelItemFactory(const KelClassId* id, const char* name, const char* description);

    // The same for a class that is offered to users, or for one of the self-test, which has the interface
    // IKelSelfTest: see KelDefaultClassFactory::registerTestFactory.
    enum class Listing { Offered, SelfTest };
    // As above, listed as `listing` says.
    KelItemFactory(const KelClassId* id, const char* name, const char* description, Listing listing);

    KelItemFactory(const KelItemFactory&) = delete;  // the class map points at us
    KelItemFactory& operator=(const KelItemFactory&) = delete;

    // 0.
    virtual ~KelItemFactory() = default;
    // 1. A new object with count 0, null when none could be made; *created becomes 1 either way. Throws
    // nothing.
    virtual IKelUnknown* create(int* created) = 0;
    // 2. and 3. The texts given when it was made.
    [[nodiscard]] virtual const char* name() const { return name_; }
    [[nodiscard]] virtual const char* description() const { return description_; }

private:
    const char* name_;
    const char* description_;
    KelClassId classId_;
};

// The item factory of a class T with a default constructor.
template <class T>
class KelTClassItemFactory final : public KelItemFactory {
public:
    using KelItemFactory::KelItemFactory;  // same arguments

    IKelUnknown* create(int* created) override {
        *created = 1;
        try {
            return new T;
        } catch (...) {  // the constructor may fail for reasons of its own
            return nullptr;
        }
    }
};
