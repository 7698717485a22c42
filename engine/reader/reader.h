// Reads one document and reports its events to a sink. The whole public surface of the reader, with events.h
// and errors.h; parse.h has the same for a sink whose class is known. Threads: `read` may run on any number
// of threads at once, each with an Input and a sink of its own.
#pragma once

#include <cstdint>

#include "engine/reader/events.h"
#include "engine/source/input.h"

namespace engine::reader {

using source::ByteStream;
using source::Input;

struct ReadOptions : source::SourceOptions {
    enum class Dtd : std::uint8_t {
        Prohibit,  // a DOCTYPE ends the read with a positioned error
        Internal,  // the internal subset is read: entities expand, attribute defaults arrive; nothing
                   // external is opened
    };
    // Which parser reads. Either gives the same verdict and the same events.
    enum class Parser : std::uint8_t {
        Automatic,  // ours, and libxml2 from a DOCTYPE on
        Direct,     // for tests: ours alone; a DOCTYPE is prohibited whatever `dtd` says
        Libxml2,    // for tests: libxml2 from the start
    };

    Dtd dtd = Dtd::Prohibit;
    Parser parser = Parser::Automatic;
    // A reference to an entity that is external, or could only be declared outside, ends the read with an
    // error; otherwise it adds nothing.
    bool rejectExternalEntities = false;
    std::uint32_t depthLimit = 10'000;  // elements open at once
    // Text that comes out of entities may be this many bytes, or this many times the bytes read so far if
    // that is more.
    std::uint64_t entityFloorInBytes = std::uint64_t{1} << 20;
    std::uint32_t entityFactor = 100;
};

// Delivers the document's events to `sink` until its end or its first error, which is the result.
// Nothing is thrown but what the sink throws and std::bad_alloc; afterwards everything is given back.
[[nodiscard]] ParseError read(const Input& input, const ReadOptions& options, EventSink& sink);

}  // namespace engine::reader
