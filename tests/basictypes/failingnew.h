// The language's own allocation, in this whole test program; it fails when a test says so.
#pragma once

namespace kel::test {

extern bool isNewFailing;

}  // namespace kel::test
