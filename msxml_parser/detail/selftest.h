// The component's own self-test: both parsers, on documents small enough to stand in it. Counts start at 0.
// Threads: one at a time for each object.
#pragma once

#include "framework/object/ikelselftest.h"
#include "framework/object/implements.h"

class MSXMLSelfTest final : public kel::Implements<MSXMLSelfTest, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "MSXMLSelfTest";

    // Lets out what the engine throws when it cannot be used at all.
    bool run(std::string& reason) override;
};
