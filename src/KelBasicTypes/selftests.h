// Self-tests of what every component stands on, for components to register beside their own
// (KelBaseComponent::addSelfTest, or KelTClassItemFactory with KelItemFactory::Listing::SelfTest). Counts
// start at 0. Threads: one at a time for each object.
#pragma once

#include "framework/object/ikelselftest.h"
#include "framework/object/implements.h"

namespace kel {

// Takes buffers of every size class from the current pool, fills them, and looks whether each kept its
// contents.
class PoolSelfTest final : public Implements<PoolSelfTest, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "PoolSelfTest";
    bool run(std::string& reason) override;
};

// Writes numbers and a data-model file to memory and to a temporary file, which goes again, and reads them
// back.
class StreamSelfTest final : public Implements<StreamSelfTest, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "StreamSelfTest";
    bool run(std::string& reason) override;
};

}  // namespace kel
