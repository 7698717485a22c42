#include "framework/component/kelitemfactory.h"

#include "framework/component/keldefaultclassfactory.h"

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
