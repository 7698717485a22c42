// Which pool the buffers of this library come from.
#pragma once

class BucketMemoryPool;

namespace kel::detail {

// If the current pool is one of this library with the same three numbers, `pool` takes over what it keeps and
// becomes the current pool in its place, with a reference of its own; otherwise nothing happens.
void succeedCurrentPool(BucketMemoryPool& pool);

}  // namespace kel::detail
