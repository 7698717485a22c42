#include "bench/streams.h"

namespace bench {

std::vector<const StreamLibrary*> streamLibraries() {
    return {&ourStreams(), &expatStreams(), &libxml2Streams()};
}

}  // namespace bench
