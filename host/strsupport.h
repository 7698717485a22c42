// String support that a host offers to components, IKelStrSupport. The 8-bit form is UTF-8 in both.
#pragma once

#include <string>

#include "KelBasicTypes/ikelstrsupport.h"
#include "framework/object/iptr.h"

namespace kelhost {

// Makes string support for a locale, "de_DE"; empty: the user's. Threads: all operations of the result may
// run together.
using MakeStrSupport = IPtr<IKelStrSupport> (*)(const std::string& locale);

// Unicode's classes and normal form; order and case are the locale's. Outside Windows by ICU.
[[nodiscard]] IPtr<IKelStrSupport> makeLocaleStrSupport(const std::string& locale);

// The same in every locale, by no library: order by code units; classes and case of ASCII; no normal form.
[[nodiscard]] IPtr<IKelStrSupport> makeInvariantStrSupport(const std::string& locale);

}  // namespace kelhost
