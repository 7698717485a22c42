// Directories by name, where the platform's conventions have them:
//
//     temp, home, config, data, state, cache, runtime, desktop, documents, downloads, music, pictures, videos
//
// POSIX: TMPDIR, and the XDG variables with their defaults and user-dirs.dirs; Windows: the known folders.
// Threads: any, while no thread changes the environment.
#pragma once

#include <map>
#include <shared_mutex>
#include <string>

#include "KelBasicTypes/ikeldirservicev2.h"
#include "framework/object/implements.h"

namespace kelhost {

class DirectoryService final : public kel::Implements<DirectoryService, IKelDirService, IKelDirServiceV2> {
public:
    static constexpr const char* kClassName = "DirectoryService";

    // UTF-8, absolute, without a separator at its end. Empty for a name that is not known, and for a folder
    // that the system does not have ("runtime" outside a session). The folder need not exist yet.
    std::string directory(const std::string& name) override;

    bool list(const KelString& folder, const kel::ListingOptions& options,
              kel::DirectoryListing& result) override;
    bool create(const KelString& folder) override;
    bool change(const KelString& folder) override;

    // From now on this name, known or new, means this directory.
    void set(const std::string& name, const std::string& directory);

private:
    std::shared_mutex lock_;
    std::map<std::string, std::string, std::less<>> chosen_;
};

}  // namespace kelhost
