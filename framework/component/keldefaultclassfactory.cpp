#include "framework/component/keldefaultclassfactory.h"

#include "framework/component/componentstate.h"
#include "framework/component/kelitemfactory.h"

KelDefaultClassFactory& KelDefaultClassFactory::instance() {
    static auto& theFactory = *new KelDefaultClassFactory;
    return theFactory;
}

void KelDefaultClassFactory::registerFactory(const KelClassId& id, KelItemFactory* factory) {
    if (factory == nullptr) return;
    cursor_ = nullptr;  // it points into the map, whose entries may move
    classes_.insertOrReplace(id, factory);
}

void KelDefaultClassFactory::registerTestFactory(const KelClassId& id, KelItemFactory* factory) {
    if (factory == nullptr) return;
    if (testClasses_.find(id) == nullptr) kel::testClassList().append(id);
    testClasses_.insertOrReplace(id, factory);
}

std::int32_t KelDefaultClassFactory::create(const KelClassId& id, IKelUnknown** out) {
    const ClassMap::Entry* const entry = find(id);
    if (entry == nullptr) return 0;
    int created = 0;
    *out = entry->value->create(&created);
    return created;
}

std::int32_t KelDefaultClassFactory::classCount() const {
    return static_cast<std::int32_t>(classes_.count());
}

bool KelDefaultClassFactory::firstClass(KelClassId* id) {
    return moveTo(classes_.first(), id);
}

bool KelDefaultClassFactory::nextClass(KelClassId* id) {
    return cursor_ != nullptr && moveTo(classes_.after(*cursor_), id);
}

const char* KelDefaultClassFactory::classNameOf(const KelClassId& id) const {
    const ClassMap::Entry* const entry = find(id);
    return entry == nullptr ? nullptr : entry->value->name();
}

const KelDefaultClassFactory::ClassMap::Entry* KelDefaultClassFactory::find(const KelClassId& id) const {
    const ClassMap::Entry* const entry = classes_.find(id);
    return entry != nullptr ? entry : testClasses_.find(id);
}

bool KelDefaultClassFactory::moveTo(const ClassMap::Entry* entry, KelClassId* id) {
    cursor_ = entry;
    if (entry == nullptr) return false;
    *id = entry->key;
    return true;
}

KelItemFactory::KelItemFactory(const KelClassId* id, const char* name, const char* description)
    : KelItemFactory(id, name, description, Listing::Offered) {}

KelItemFactory::KelItemFactory(const KelClassId* id, const char* name, const char* description,
                               Listing listing)
    : name_(name), description_(description), classId_(*id) {
    KelDefaultClassFactory& factory = KelDefaultClassFactory::instance();
    if (listing == Listing::SelfTest) {
        factory.registerTestFactory(classId_, this);
    } else {
        factory.registerFactory(classId_, this);
    }
}
