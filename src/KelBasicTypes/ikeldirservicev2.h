// A directory service that lists, makes and enters folders, too. Positions are relied upon. Threads: any.
#pragma once

#include "KelBasicTypes/directorylisting.h"
#include "KelBasicTypes/ikeldirservice.h"

class IKelDirServiceV2 : public virtual IKelDirService {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDirServiceV2"; }

    // 0. As kel::listDirectory; returns whether the folder could be read, and otherwise leaves no entries.
    virtual bool list(const KelString& folder, const kel::ListingOptions& options,
                      kel::DirectoryListing& result) = 0;

    // 1. and 2. As kel::createDirectory and kel::changeDirectory.
    virtual bool create(const KelString& folder) = 0;
    virtual bool change(const KelString& folder) = 0;
};
