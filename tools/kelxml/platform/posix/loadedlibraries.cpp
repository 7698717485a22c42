#include "tools/kelxml/platform/loadedlibraries.h"

#include <link.h>

namespace kelxml {

std::vector<std::filesystem::path> loadedLibraries() {
    std::vector<std::filesystem::path> libraries;
    ::dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* list) {
            std::error_code absent;  // the program itself and what the kernel provides have no file
            const auto path = std::filesystem::canonical(info->dlpi_name, absent);
            if (!absent) static_cast<std::vector<std::filesystem::path>*>(list)->push_back(path);
            return 0;
        },
        &libraries);
    return libraries;
}

}  // namespace kelxml
