#include "host/detail/standardservices.h"

#include "KelBasicTypes/bucketmemorypool.h"
#include "host/assertionhandler.h"
#include "host/errorservice.h"
#include "host/messages.h"
#include "host/platform/localestrsupport.h"

namespace kelhost {

namespace {

// Under the name of the interface; only a part of that type gets in.
template <class Interface>
void add(ServiceRegistry& registry, Interface& service) {
    registry.addStandard(Interface::interfaceName(), service);
}

}  // namespace

std::vector<std::string> chosenLanguages(std::string_view languages) {
    return languages.empty() ? userLanguages() : languagesOf(languages);
}

StandardServices makeStandardServices(const HostOptions& options) {
    StandardServices services{IPtr<Settings>(new Settings), IPtr<DirectoryService>(new DirectoryService),
                              IPtr<MemoryManager>(new MemoryManager),
                              IPtr<TranslatorService>(new TranslatorService(
                                  options.catalogueFolders, chosenLanguages(options.languages)))};
    if (!options.settingsFile.empty()) services.settings->load(options.settingsFile);
    return services;
}

void addStandardServices(ServiceRegistry& registry, const StandardServices& services,
                         const HostOptions& options) {
    add<IDataStore>(registry, *services.settings);
    add<IKelDirService>(registry, *services.directories);
    add<KelMM::IKelMManager>(registry, *services.memory);
    add<IKelTranslatorService>(registry, *services.translators);
    add<IKelStrSupport>(registry,
                        *new LocaleStrSupport(options.locale.empty() ? nullptr : options.locale.c_str()));
    add<IKelErrorService>(registry, *new ErrorService);
    add<IMemChecker>(registry, *new MemoryChecker);
    add<IKelAssertHandlerCB>(registry, *new AssertionHandler);
    const IPtr<BucketMemoryPool> pool(new BucketMemoryPool);
    add<IBucketMemoryPool>(registry, *pool);
    services.memory->addPool("buffers",
                             [pool](std::uint64_t& inUse, std::uint64_t&) { inUse = pool->keptInBytes(); });
}

}  // namespace kelhost
