// The data-model file: records of named, typed data, in blocks that nest. docs/datamodel.md has the format,
// with an example of both directions.
//
// A file is a header and records. A record is a tag, a kind and a length, and is skipped by readers that do
// not know its tag or its kind; so a later version of a program may add records without breaking earlier
// ones. A block holds a version and records. Threads: values and pure functions.
#pragma once

#include <cstdint>
#include <string>

#include "KelBasicTypes/binnumbers.h"

namespace kel {

// What a record is about, in the terms of its enclosing block. By convention four ASCII characters.
using DataTag = std::uint32_t;

// The tag of four characters.
[[nodiscard]] constexpr DataTag dataTag(const char (&text)[5]) noexcept {
    DataTag tag = 0;
    for (int i = 0; i < 4; ++i) tag = tag << 8 | static_cast<unsigned char>(text[i]);
    return tag;
}

// The four characters; "0x0000002A" for a tag that is not made of printable ASCII.
[[nodiscard]] std::string dataTagText(DataTag tag);

// What a record holds. Readers skip kinds that they do not know.
enum class DataKind : std::uint8_t {
    Block = 1,     // a version word of 4 bytes, then records
    Bool = 2,      // one byte, 0 or 1
    Integers = 3,  // signed, 8 bytes each
    Reals = 4,     // IEEE 754 binary64, 8 bytes each
    Text = 5,      // UTF-16 code units, 2 bytes each, no NUL
    Bytes = 6,
    ClassId = 7,  // 16 bytes
};

// "block", "integers"; "kind 9" for one that is not known.
[[nodiscard]] std::string dataKindText(DataKind kind);

// A record as a reader finds it.
struct DataRecord {
    DataTag tag = 0;                  // what it is about
    DataKind kind = DataKind::Block;  // what it holds
    BinIO_Version version;            // of a block
    std::uint64_t length = 0;         // in bytes, without the header; of a block without the version word
    std::int64_t position = 0;        // of the header, in bytes from the start of the medium
};

// The numbers of the format. All numbers in a file are big-endian.
struct DataFormat {
    static constexpr std::int32_t kMagic = 0x4B454C44;  // "KELD"
    static constexpr BinIO_Version kVersion{1, 0};      // readers accept every minor number
    static constexpr std::size_t kFileHeader = 16;      // magic 4, version word 4, length of what follows 8
    static constexpr std::size_t kRecordHeader = 12;    // tag 4, kind 1, length 7
    static constexpr std::size_t kVersionWord = 4;      // of a block
    static constexpr std::size_t kLengthWidth = 7;      // of a record's length
    // Stands for a length until it is written back: what has it was not finished. All ones in its width.
    static constexpr std::uint64_t kUnfinishedRecord = ~std::uint64_t{0} >> 8;
    static constexpr std::uint64_t kUnfinishedFile = ~std::uint64_t{0};
    static constexpr std::size_t kDepthLimit = 1000;  // blocks in blocks
};

}  // namespace kel
