// A made-up trade catalogue of any length, the same bytes on every machine for the same length and seed.
// It looks like what applications exchange: namespaces, attributes, short and long texts, some letters beyond
// ASCII, indented, no mixed content, and references only where the component's writer gives them back as
// read.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace catalogue {

inline constexpr std::uint64_t kDefaultSeed = 20240229;

// Hands the document to `write` in pieces: well-formed UTF-8, at least `lengthInBytes` long and at most one
// entry (about 1 KB) longer. What `write` throws leaves as it is.
void generate(std::uint64_t lengthInBytes, std::uint64_t seed,
              const std::function<void(std::string_view)>& write);

}  // namespace catalogue
