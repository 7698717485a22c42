// What a component sets up while it is loaded, and what all its component objects share. Its identity and its
// host stand in framework/object/hostlink.h. Threads: set during load and initialisation, only read
// afterwards; nothing here locks.
#pragma once

#include "framework/object/kelclassid.h"
#include "framework/object/onebasedlist.h"

class IKelClassFactory;
class IKelComponentCustomizer;
class IKelComponentFactory;

namespace kel {

// All borrowed and null until the component sets them.
extern IKelClassFactory* defaultClassFactory;    // the classes that createObject makes
extern IKelComponentFactory* componentFactory;   // what the library's entry makes components with
extern IKelComponentCustomizer* customizerHook;  // started and stopped with the component

// Read once, at load, from the environment variable KEL_BREAK_ENABLED: false only for exactly "0".
[[nodiscard]] bool isBreakEnabled() noexcept;
void setBreakEnabled(bool on) noexcept;

// The classes that the self-test names, which have the interface IKelSelfTest; made on first use.
[[nodiscard]] OneBasedList<KelClassId>& testClassList();

}  // namespace kel
