// An object with two interfaces, the second derived from the first, that logs its end.
#pragma once

#include <string>
#include <vector>

#include "framework/object/implements.h"

class IKelShelf : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelShelf"; }
    virtual int size() { return 1; }
};

class IKelShelfV2 : public virtual IKelShelf {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelShelfV2"; }
    virtual int depth() { return 2; }
};

class Shelf : public kel::Implements<Shelf, IKelShelf, IKelShelfV2> {
public:
    static constexpr const char* kClassName = "Shelf";

    explicit Shelf(bool* isDead = nullptr) : isDead_(isDead) {}
    ~Shelf() override {
        if (isDead_ != nullptr) *isDead_ = true;
    }

private:
    bool* isDead_;
};
