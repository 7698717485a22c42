// The reference host: what an application without the framework embeds to run components.
//
//     kelhost::Host host;                                        // counting and services are ready
//     host.load("lib/libmsxml_parser.so");
//     auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
//     if (!parser->loadFromFile(u"catalogue.xml"))
//         std::cerr << kelhost::toUtf8(parser->getError()->getMessage()) << '\n';
//
// A component keeps its link to the host until the process ends. What stands behind a Host therefore lives as
// long, and the Host itself may go at any time. Threads: all operations may run together. Counting through
// the host is atomic.
#pragma once

#include "framework/object/needscxx20.h"  // first

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "framework/object/ikelcomponentmanager.h"
#include "host/component.h"
#include "host/strsupport.h"

namespace kelhost {

class ComponentManager;
class DirectoryService;
class MemoryManager;
class Settings;

// What a host's standard services start with.
struct HostOptions {
    // Of messages, "de_AT:fr"; empty: the user's; "en": the texts as the components have them.
    std::string languages = {};
    // Of comparison and case, "de_DE"; empty: the user's.
    std::string locale = {};
    // Makes the string support. A program in which every HostOptions names makeInvariantStrSupport here is
    // not linked with makeLocaleStrSupport, and so needs no ICU.
    MakeStrSupport strSupport = makeLocaleStrSupport;
    // Of message catalogues, looked into before those near a component's library.
    std::vector<std::filesystem::path> catalogueFolders = {};
    // See host/settings.h; empty: no settings.
    std::filesystem::path settingsFile = {};
};

// A library that a folder had and that was rejected.
struct RejectedLibrary {
    std::filesystem::path library;  // the file
    std::string reason;             // what HostError would have said
};

// What became of the libraries of a folder.
struct LoadedFolder {
    std::vector<Component> components;      // in the order of the libraries' names
    std::vector<RejectedLibrary> rejected;  // in the same order
};

// Runs components and offers them services. See the top of host/host.h.
class Host {
public:
    // Offers the standard services:
    //
    //     IKelStrSupport         Unicode's rules in the user's locale (host/strsupport.h)
    //     IKelTranslatorService  messages in the user's language, from catalogues (host/messages.h)
    //     IKelErrorService       writes to standard error (host/errorservice.h)
    //     IDataStore             settings from a file or set by the application (host/settings.h)
    //     IKelDirService         the platform's directories (host/directoryservice.h)
    //     IKelMManager, IMemChecker (host/memory.h), IKelAssertHandlerCB (host/assertionhandler.h)
    //     IBucketMemoryPool      one pool of buffers for all components
    //
    // Becomes the process's own link to a host, too, unless there is one: objects that the application itself
    // implements are then counted atomically. Throws SettingsError for a settings file that is not one.
    explicit Host(const HostOptions& options = {});
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Loads a component library and initialises its component with this host. A bare name that no file in the
    // current folder has, such as "libmsxml_parser.so.6", is found where the system finds libraries. A
    // component that this host has loaded before stays as it is. Throws HostError.
    Component load(const std::filesystem::path& library);

    // Loads every component library that stands directly in the folder; what is no library is passed over.
    // Throws HostError if the folder cannot be read.
    LoadedFolder loadFolder(const std::filesystem::path& folder);

    [[nodiscard]] std::vector<Component> components() const;  // each once, in the order of loading

    // A new object of a class of any component, the first loaded one that has it. Throws as
    // Component::create.
    template <class Interface>
    [[nodiscard]] IPtr<Interface> create(const std::string& className) const {
        return componentWith(className).create<Interface>(className);
    }
    template <class Interface>
    [[nodiscard]] IPtr<Interface> create(const KelClassId& classId) const {
        return componentWith(classId).create<Interface>(classId);
    }

    // Offers a service under the name of its interface, to all components or inside a named container, and
    // keeps a reference to it for good. It takes the place of a standard service; a component that has asked
    // before keeps what it got, so offer before loading. Throws HostError if the service has no such
    // interface or the application has offered one there; a service without another holder is then destroyed.
    void offer(const std::string& interfaceName, IKelUnknown& service);
    void offer(const std::string& containerName, const std::string& interfaceName, IKelUnknown& service);

    // Takes a service, standard or not, out of the offer. Components fall back to what they do without it.
    void leaveOut(const std::string& interfaceName);

    [[nodiscard]] std::vector<std::string> serviceNames() const;  // offered to all components, sorted

    // From now on messages are in these languages, "ja:de"; empty: the user's.
    void setLanguages(std::string_view languages);

    // The standard services, whether they are offered or not. They live until the process ends.
    [[nodiscard]] Settings& settings() const noexcept;
    [[nodiscard]] DirectoryService& directories() const noexcept;
    [[nodiscard]] MemoryManager& memory() const noexcept;

    // Compares the memory in use with the setting Memory/MemLimit now; while there is such a setting, the
    // host does so every second. False: it is more; see host/memorylimit.h for what is then done.
    bool checkMemoryLimit();

    // What the self-test of a component reports, by its low byte.
    void setTestStatus(std::int32_t status);

    [[nodiscard]] IKelComponentManager& manager() const noexcept;  // lives until the process ends

private:
    [[nodiscard]] Component componentWith(const std::string& className) const;
    [[nodiscard]] Component componentWith(const KelClassId& classId) const;

    ComponentManager* manager_;  // never destroyed, see above
};

}  // namespace kelhost
