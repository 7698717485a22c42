// Any bytes at all as a data-model file: reading ends without a complaint of the sanitizers, whether the
// medium seeks or is only read forward, and both ways agree on every record. A failure has a message and a
// position in the file. The first byte of an input says which values are read and which are skipped.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "KelBasicTypes/binmemory.h"
#include "KelBasicTypes/kelfileread.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/kelclassid.h"

namespace {

// Reads the value that the record has, or another kind if the choice says so. What was read becomes text.
std::string valueOf(KelFileRead& reader, kel::DataKind kind) {
    bool truth = false;
    KelString text;
    std::int64_t integer = 0;
    double real = 0;
    std::vector<std::int64_t> integers;
    std::vector<double> reals;
    std::vector<std::uint8_t> bytes;
    KelClassId id;
    switch (kind) {
        case kel::DataKind::Block:
            return "";
        case kel::DataKind::Bool:
            return reader.readBool(truth) ? std::to_string(truth) : "-";
        case kel::DataKind::Integers:
            if (reader.readIntegers(integers)) return std::to_string(integers.size());
            return reader.readInteger(integer) ? "1" : "-";
        case kel::DataKind::Reals:
            if (reader.readReals(reals)) return std::to_string(reals.size());
            return reader.readReal(real) ? "1" : "-";
        case kel::DataKind::Text:
            return reader.readText(text) ? kel::toUtf8(text.view()) : "-";
        case kel::DataKind::Bytes:
            return reader.readBytes(bytes) ? std::to_string(bytes.size()) : "-";
        case kel::DataKind::ClassId:
            return reader.readClassId(id) ? std::to_string(id.data1) : "-";
    }
    return "?";
}

struct Reading {
    std::string log;
    std::string failure;
    std::int64_t position;
};

Reading read(std::span<const std::uint8_t> file, std::uint8_t choice, bool isSeekable) {
    BinInputMemory in(file);
    in.setOption(isSeekable);
    KelFileRead reader(in);
    std::string log;
    std::size_t depth = 0;
    std::uint8_t count = 0;
    for (kel::DataRecord record;;) {
        if (reader.next(record)) {
            ++count;
            log += kel::dataTagText(record.tag) + '@' + std::to_string(record.position) + ' ';
            const bool isSkipped = (choice & 1) != 0 && count % 3 == 0;
            const bool isMistaken = (choice & 2) != 0 && count == choice >> 3;
            if (!isSkipped) log += valueOf(reader, isMistaken ? kel::DataKind::Text : record.kind);
            if (!isSkipped && reader.enterBlock()) ++depth;
            if ((choice & 4) != 0 && count % 7 == 0 && reader.leaveBlock()) --depth;
        } else if (depth > 0 && reader.leaveBlock()) {
            --depth;
        } else {
            break;
        }
    }
    return {std::move(log), kel::toUtf8(reader.failureMessage().view()), reader.failurePosition()};
}

[[noreturn]] void complain(const char* what, const Reading& seeking, const Reading& forward) {
    std::fprintf(stderr, "%s\nseeking: %s\n%s\nforward: %s\n%s\n", what, seeking.log.c_str(),
                 seeking.failure.c_str(), forward.log.c_str(), forward.failure.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::span<const std::uint8_t> file(data + 1, size - 1);
    const Reading seeking = read(file, data[0], true);
    const Reading forward = read(file, data[0], false);
    // Only a medium that knows its length sees at once that the file as a whole is cut off.
    if (seeking.failure.empty() && (!forward.failure.empty() || seeking.log != forward.log))
        complain("the two ways differ", seeking, forward);
    for (const Reading* reading : {&seeking, &forward}) {
        const bool hasPosition =
            reading->position >= 0 && reading->position <= static_cast<std::int64_t>(file.size());
        if (reading->failure.empty() ? reading->position != -1 : !hasPosition)
            complain("a failure without a position in the file", seeking, forward);
    }
    return 0;
}
