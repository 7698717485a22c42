#include "framework/component/kelitemfactory.h"

#include "framework/component/keldefaultclassfactory.h"

KelItemFactory::KelItemFactory(const KelClassId* id, const char* name, const char* description)
    : name_(name), description_(description), classId_(*id) {
    KelDefaultClassFactory::instance().registerFactory(classId_, this);
}
