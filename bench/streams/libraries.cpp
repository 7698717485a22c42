#include <stdexcept>

#include "bench/streams.h"

namespace bench {

std::vector<const StreamLibrary*> streamLibraries() {
    return {&ourStreams(), &expatStreams(), &libxml2Streams()};
}

void demandEqualEvents(const std::string& path) {
    EventCounts expected = ourStreams().parse(path);
    expected.attributes += countRepeatedLocalNames(path);
    for (const StreamLibrary* const library : streamLibraries()) {
        if (library == &ourStreams()) continue;
        const EventCounts counts = library->parse(path);
        if (counts.result() != expected.result() || counts.attributes != expected.attributes)
            throw std::runtime_error(std::string(library->name()) + " reports other events from " + path);
    }
}

}  // namespace bench
