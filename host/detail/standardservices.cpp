// The registry of services, the services that every host starts with, and those of them that are small.
#include "host/detail/standardservices.h"

#include <cstdio>
#include <mutex>
#include <utility>

#include "KelBasicTypes/bucketmemorypool.h"
#include "KelBasicTypes/detail/utf8encode.h"
#include "host/assertionhandler.h"
#include "host/detail/serviceregistry.h"
#include "host/directoryservice.h"
#include "host/errorservice.h"
#include "host/messages.h"
#include "host/platform/knownfolders.h"
#include "host/text.h"

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
    add<IKelStrSupport>(registry, *options.strSupport(options.locale));
    add<IKelErrorService>(registry, *new ErrorService);
    add<IMemChecker>(registry, *new MemoryChecker);
    add<IKelAssertHandlerCB>(registry, *new AssertionHandler);
    const IPtr<BucketMemoryPool> pool(new BucketMemoryPool);
    add<IBucketMemoryPool>(registry, *pool);
    services.memory->addPool("buffers",
                             [pool](std::uint64_t& inUse, std::uint64_t&) { inUse = pool->keptInBytes(); });
}

bool ServiceRegistry::add(const std::string& interfaceName, IKelUnknown& service) {
    void* part = nullptr;
    service.queryInterface(interfaceName.c_str(), &part, false);
    if (part == nullptr) return false;
    const std::unique_lock guard(lock_);
    const auto [known, isNew] =
        services_.try_emplace(interfaceName, Service{IPtr<IKelUnknown>(&service), false});
    if (isNew) return true;
    if (!known->second.isStandard) return false;
    withdrawn_.push_back(known->second.object);
    known->second = {IPtr<IKelUnknown>(&service), false};
    return true;
}

void ServiceRegistry::addStandard(const std::string& interfaceName, IKelUnknown& service) {
    const IPtr<IKelUnknown> held(&service);
    const std::unique_lock guard(lock_);
    services_.try_emplace(interfaceName, Service{held, true});
}

void ServiceRegistry::withdraw(const std::string& interfaceName) {
    const std::unique_lock guard(lock_);
    const auto found = services_.find(interfaceName);
    if (found == services_.end()) return;
    withdrawn_.push_back(std::move(found->second.object));
    services_.erase(found);
}

std::int32_t ServiceRegistry::lookUp(const std::string& interfaceName, void** out) {
    *out = nullptr;
    const std::shared_lock guard(lock_);
    const auto found = services_.find(interfaceName);
    if (found == services_.end()) return 0;
    found->second.object->queryInterface(interfaceName.c_str(), out, false);
    return 1;
}

std::vector<std::string> ServiceRegistry::names() const {
    const std::shared_lock guard(lock_);
    std::vector<std::string> names;
    names.reserve(services_.size());
    for (const auto& [name, service] : services_) names.push_back(name);
    return names;
}

void AssertionHandler::assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) {
    if (receiver_) return receiver_(expression, sourcePath, line);
    std::fprintf(stderr, "assertion failed: %s (%s, line %ld)\n", expression, sourcePath,
                 static_cast<long>(line));
}

std::string DirectoryService::directory(const std::string& name) {
    {
        const std::shared_lock guard(lock_);
        if (const auto found = chosen_.find(name); found != chosen_.end()) return found->second;
    }
    return platform::knownFolder(name);
}

bool DirectoryService::list(const KelString& folder, const kel::ListingOptions& options,
                            kel::DirectoryListing& result) {
    result = kel::listDirectory(folder, options);
    return result.isRead;
}

bool DirectoryService::create(const KelString& folder) {
    return kel::createDirectory(folder);
}

bool DirectoryService::change(const KelString& folder) {
    return kel::changeDirectory(folder);
}

void DirectoryService::set(const std::string& name, const std::string& directory) {
    const std::unique_lock guard(lock_);
    chosen_[name] = directory;
}

namespace {

// A sink of bytes that asks for no memory: memory may be what has run out.
class StandardError {
public:
    StandardError() = default;
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;
    ~StandardError() { flush(); }

    void push_back(char byte) noexcept {
        if (size_ == sizeof bytes_) flush();
        bytes_[size_++] = byte;
    }

private:
    void flush() noexcept {
        std::fwrite(bytes_, 1, size_, stderr);
        size_ = 0;
    }

    char bytes_[512];
    std::size_t size_ = 0;
};

void writeToStandardError(std::u16string_view message, std::int32_t level, const char* operation) {
    std::fputs(level == ErrorService::kLevelWarning ? "warning" : "error", stderr);
    if (*operation != '\0') std::fprintf(stderr, " (%s)", operation);
    std::fputs(": ", stderr);
    StandardError out;
    kel::detail::appendUtf8(out, message);
    out.push_back('\n');
}

}  // namespace

void ErrorService::report(const KelString& message, const std::int32_t& level, const char* operation) {
    const std::lock_guard guard(lock_);
    if (receiver_) {
        receiver_({toUtf8(message), level, operation});
    } else {
        writeToStandardError(message.view(), level, operation);
    }
}

}  // namespace kelhost
