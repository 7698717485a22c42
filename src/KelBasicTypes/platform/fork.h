// What a library does when its process is forked.
#pragma once

namespace kel::platform {

using ForkStep = void (*)() noexcept;

// From now on `before` runs on the thread that forks, ahead of the fork, and `inParent` or `inChild` after
// it, as long as the library is loaded. False: the system failed. On systems without fork nothing is done.
bool callAroundFork(ForkStep before, ForkStep inParent, ForkStep inChild) noexcept;

}  // namespace kel::platform
