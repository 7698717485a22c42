// The services that every host starts with.
#pragma once

#include <string>
#include <vector>

#include "framework/object/iptr.h"
#include "host/detail/serviceregistry.h"
#include "host/detail/translatorservice.h"
#include "host/directoryservice.h"
#include "host/host.h"
#include "host/memory.h"
#include "host/settings.h"

namespace kelhost {

// Those that the host itself goes on using. None is null.
struct StandardServices {
    IPtr<Settings> settings;
    IPtr<DirectoryService> directories;
    IPtr<MemoryManager> memory;
    IPtr<TranslatorService> translators;
};

// Throws SettingsError.
[[nodiscard]] StandardServices makeStandardServices(const HostOptions& options);

// Offers these and the others.
void addStandardServices(ServiceRegistry& registry, const StandardServices& services,
                         const HostOptions& options);

// The languages of a list, the user's if it is empty.
[[nodiscard]] std::vector<std::string> chosenLanguages(std::string_view languages);

}  // namespace kelhost
