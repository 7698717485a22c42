// A test that a component brings along for the field: does what it relies on work in this process, on this
// machine? Its class is in the component's list of test classes (IKelCompInternal::selfTest); a host creates
// an object by that class identifier and runs it. Positions are relied upon. Threads: one thread at a time
// for each object.
#pragma once

#include <string>

#include "framework/object/kelunknown.h"

class IKelSelfTest : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelSelfTest"; }

    // 0. Runs the test, which leaves nothing behind. True: passed, `reason` is then empty. False: `reason` is
    // one line of plain English that says what was expected. May let out std::bad_alloc.
    virtual bool run(std::string& reason) = 0;
};
