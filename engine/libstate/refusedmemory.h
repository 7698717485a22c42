// Whether the system has refused memory to this thread. libxml2 and libxslt do not report every refusal: some
// of their functions go on without what they asked for, and return a wrong result as if it were right.
//
// A refused allocation leaves ENOMEM in errno, and nothing that succeeds clears it. Only a later failure of
// another kind can overwrite it; callbacks that may have one keep errno with KeepErrno.
// Threads: made and used on one thread; objects may nest.
#pragma once

namespace engine::libstate {

class RefusedMemory final {
public:
    RefusedMemory() noexcept;  // from here on
    ~RefusedMemory();          // errno is again what it was, unless memory was refused
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;

    [[nodiscard]] bool happened() const noexcept;
    void throwIfHappened() const;  // std::bad_alloc

private:
    int previous_;
};

// For the time of a callback: a refusal before it stays known after it.
class KeepErrno final {
public:
    KeepErrno() noexcept;
    ~KeepErrno();
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int before_;
};

}  // namespace engine::libstate
