// One piece of work in libxslt: while it lives, everything that is reported on this thread is collected,
// every file comes from the style sheet's inclusions, and the thread's settings are the library's defaults.
// Its result is good only if `finish` says so. Threads: made and destroyed on one thread.
#pragma once

#include <new>
#include <string_view>

#include "engine/com/status.h"
#include "engine/libstate/libstate.h"
#include "engine/libstate/xslterrors.h"
#include "engine/xml2/inclusions.h"
#include "engine/xslt/steps.h"

namespace engine::xslt {

class Operation final {
public:
    // Reports expressions as they were before `steps` replaced them.
    Operation(xml2::Inclusions& inclusions, const Steps& steps)
        : steps_(steps),
          inclusions_(inclusions),
          settings_({&causes_, xml2::listenStructured, xml2::listenUnlocated}, xml2::OpenFrom::hook),
          files_(inclusions),
          xsltErrors_({&causes_, hear}) {
        inclusions_.setCauses(&causes_);
    }
    ~Operation() { inclusions_.setCauses(nullptr); }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    [[nodiscard]] xml2::Causes& causes() noexcept { return causes_; }
    // Throws std::bad_alloc if an allocation of the libraries failed, whatever they made of it.
    void finish() const {
        if (causes_.isOutOfMemory()) throw std::bad_alloc();
        memory_.throwIfHappened();
    }
    // Throws what was reported, or `otherwise` if nothing was; std::bad_alloc if that was the cause.
    [[noreturn]] void fail(std::string_view otherwise) {
        finish();
        if (causes_.empty()) causes_.add(otherwise);
        throw com::Exception(E_FAIL, steps_.asWritten(causes_.text()));
    }

private:
    static void hear(void* causes, std::string_view piece) {
        static_cast<xml2::Causes*>(causes)->addText(piece);
    }

    libstate::AllocationError memory_;
    xml2::Causes causes_;
    const Steps& steps_;
    xml2::Inclusions& inclusions_;
    libstate::ThreadSettings settings_;
    xml2::OpenFrom files_;
    libstate::XsltErrors xsltErrors_;
};

}  // namespace engine::xslt
