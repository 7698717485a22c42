#include "host/directoryservice.h"

#include <mutex>

#include "host/platform/knownfolders.h"

namespace kelhost {

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

}  // namespace kelhost
