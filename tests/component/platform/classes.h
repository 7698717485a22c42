// What tests do to the engine's classes, whosever engine it is. Threads: for tests that create objects on one
// thread.
#pragma once

#include <memory>

#include "msxml_parser/detail/platformcom.h"

namespace component_test {

// While it lives, creating an object of the class fails as if the class were not registered.
class FailingClass final {
public:
    explicit FailingClass(REFCLSID classId);
    FailingClass(const FailingClass&) = delete;
    FailingClass& operator=(const FailingClass&) = delete;
    ~FailingClass();

private:
    struct State;
    std::unique_ptr<State> state_;
};

// While it lives, creating an object of the class gives a reference on this one. One at a time.
class ClassReplacement final {
public:
    ClassReplacement(REFCLSID classId, IUnknown& object);
    ClassReplacement(const ClassReplacement&) = delete;
    ClassReplacement& operator=(const ClassReplacement&) = delete;
    ~ClassReplacement();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace component_test
