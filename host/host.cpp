// The host: it makes the manager, offers the standard services, and loads components, one library at a time.
#include "host/host.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#include "KelBasicTypes/platform/processmemory.h"
#include "framework/object/hostlink.h"
#include "host/detail/componentmanager.h"
#include "host/detail/standardservices.h"
#include "host/errorservice.h"
#include "host/memorylimit.h"
#include "host/platform/componentthreads.h"
#include "host/platform/sharedlibrary.h"
#include "host/text.h"

namespace kelhost {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kEntryProtocolVersion = 100;

using EntryPointFunction = int (*)(std::uint32_t* version, IKelComponent** component);

// Managers are kept in a list that is never destroyed: components point at them until the very end of the
// process.
ComponentManager* makeImmortalManager(const HostOptions& options) {
    static auto& managers = *new std::vector<IPtr<ComponentManager>>;
    static auto& lock = *new std::mutex;
    IPtr<ComponentManager> manager(new ComponentManager(makeStandardServices(options)));
    const std::lock_guard guard(lock);
    return managers.emplace_back(std::move(manager)).get();
}

void warn(ComponentManager& manager, const std::string& problem) {
    void* service = nullptr;
    manager.lookupService(IKelErrorService::interfaceName(), &service);
    if (service == nullptr) return;
    static_cast<IKelErrorService*>(service)->report(fromUtf8(problem), ErrorService::kLevelWarning, "");
}

// Damaged catalogues cost nothing but the translation, and are worth a warning.
void warn(ComponentManager& manager, const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) warn(manager, problem);
}

// Never destroyed, as the manager that it reports through.
MemoryLimit& makeMemoryLimit(ComponentManager& manager) {
    const auto report = [&manager](std::uint64_t inUse, std::int64_t limit) {
        constexpr unsigned kMegabyte = 1 << 20;
        warn(manager, "the process has " + std::to_string(inUse / kMegabyte) +
                          " MB of memory in use, more than Memory/MemLimit allows (" +
                          std::to_string(static_cast<std::uint64_t>(limit) / kMegabyte) + " MB)");
    };
    return *new MemoryLimit(*manager.standard().settings, *manager.standard().memory,
                            kel::platform::processMemoryInUse, report);
}

IKelComponent& enter(EntryPointFunction entryPoint, const std::string& library) {
    std::uint32_t version = 0;
    IKelComponent* component = nullptr;
    if (entryPoint(&version, &component) == 0 || component == nullptr) {
        throw HostError(library + ": EntryPoint made no component");
    }
    if (version != kEntryProtocolVersion) {
        throw HostError(library + ": EntryPoint speaks protocol version " + std::to_string(version) +
                        ", this host " + std::to_string(kEntryProtocolVersion));
    }
    return *component;
}

void offerIn(ServiceRegistry& registry, const std::string& interfaceName, IKelUnknown& service) {
    // Held while it is looked at: rejected, a service without another holder goes away, but not before it is
    // named.
    const IPtr<IKelUnknown> held(&service);
    if (registry.add(interfaceName, service)) return;
    throw HostError("service " + interfaceName + ": offered already, or " + service.className() +
                    " has no such interface");
}

// Each library once, however many links lead to it; sorted.
std::vector<fs::path> librariesIn(const fs::path& folder) {
    std::map<fs::path, fs::path> libraries;  // by what a name leads to, its first name
    try {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            std::error_code unknown;
            if (!isLibraryName(entry.path()) || entry.is_directory(unknown)) continue;
            const fs::path target = fs::weakly_canonical(entry.path(), unknown);
            fs::path& name = libraries[unknown ? entry.path() : target];
            if (name.empty() || entry.path() < name) name = entry.path();
        }
    } catch (const fs::filesystem_error& error) {
        throw HostError("cannot look for components in " + utf8Of(folder) + ": " + error.code().message());
    }
    std::vector<fs::path> names;
    names.reserve(libraries.size());
    for (const auto& [target, name] : libraries) names.push_back(name);
    std::ranges::sort(names);
    return names;
}

}  // namespace

Host::Host(const HostOptions& options) : manager_(makeImmortalManager(options)) {
    platform::admitThreads();
    if (kel::hostCore == nullptr) kel::hostCore = manager_;
    addStandardServices(manager_->services(), manager_->standard(), options);
    manager_->setMemoryLimit(makeMemoryLimit(*manager_));
    manager_->memoryLimit().watch();
}

Component Host::load(const fs::path& library) {
    const std::string name = utf8Of(library);
    std::error_code unknown;
    if (fs::is_directory(library, unknown)) {
        throw HostError("cannot load the component: " + name + " is a folder, and no library");
    }
    const std::lock_guard guard(manager_->loadingLock());
    try {
        const LibrarySymbol entryPoint = loadSymbol(library, "EntryPoint");
        // The system's loader knows no types; the name stands for this one.
        IKelComponent& entered = enter(reinterpret_cast<EntryPointFunction>(entryPoint.address), name);
        Component component(entered);
        // Once only: other threads may be using it, and read its link to this host without a lock.
        if (const std::optional<Component> known = manager_->componentOf(component.classId())) return *known;
        warn(*manager_, manager_->standard().translators->addComponent(component.classId(), component.name(),
                                                                       entryPoint.file));
        component.component_->initialize(manager_);
        manager_->addComponent(component);
        return component;
    } catch (const HostError&) {
        throw;
    } catch (const std::exception& error) {
        throw HostError("cannot load the component: " + std::string(error.what()));
    }
}

LoadedFolder Host::loadFolder(const fs::path& folder) {
    LoadedFolder result;
    for (const fs::path& library : librariesIn(folder)) {
        try {
            result.components.push_back(load(library));
        } catch (const HostError& error) {
            result.rejected.push_back({library, error.what()});
        }
    }
    return result;
}

std::vector<Component> Host::components() const {
    return manager_->components();
}

Component Host::componentWith(const std::string& className) const {
    for (const Component& component : components()) {
        if (std::ranges::find(component.classes(), className, &ComponentClass::name) !=
            component.classes().end())
            return component;
    }
    throw HostError("no component that is loaded has a class " + className);
}

Component Host::componentWith(const KelClassId& classId) const {
    for (const Component& component : components()) {
        if (component.hasClass(classId)) return component;
    }
    throw HostError("no component that is loaded has this class");
}

void Host::offer(const std::string& interfaceName, IKelUnknown& service) {
    offerIn(manager_->services(), interfaceName, service);
}

void Host::offer(const std::string& containerName, const std::string& interfaceName, IKelUnknown& service) {
    offerIn(manager_->servicesOf(containerName), interfaceName, service);
}

void Host::leaveOut(const std::string& interfaceName) {
    manager_->services().withdraw(interfaceName);
}

void Host::setLanguages(std::string_view languages) {
    warn(*manager_, manager_->standard().translators->setLanguages(chosenLanguages(languages)));
}

Settings& Host::settings() const noexcept {
    return *manager_->standard().settings;
}

DirectoryService& Host::directories() const noexcept {
    return *manager_->standard().directories;
}

MemoryManager& Host::memory() const noexcept {
    return *manager_->standard().memory;
}

bool Host::checkMemoryLimit() {
    return manager_->memoryLimit().check();
}

std::vector<std::string> Host::serviceNames() const {
    return manager_->services().names();
}

void Host::setTestStatus(std::int32_t status) {
    manager_->setTestStatus(status);
}

IKelComponentManager& Host::manager() const noexcept {
    return *manager_;
}

}  // namespace kelhost
