// Reads a data-model file (datamodel.h), record by record. Positions are relied upon.
//
//     kel::DataRecord record;
//     while (reader.next(record)) {
//         if (record.tag == kTitle) reader.readText(title);
//         if (record.tag == kBooks && reader.enterBlock()) { ...; reader.leaveBlock(); }
//     }
//     if (reader.hasFailed()) report(reader.failureMessage());
//
// What is not read is skipped. Nothing is believed before it is checked against what the file has left, so a
// damaged file costs no more than a good one of its size. Every operation returns false once one has failed,
// and then leaves its result alone. Threads: one at a time for each object.
#pragma once

#include <cstdint>
#include <vector>

#include "KelBasicTypes/datamodel.h"
#include "framework/object/kelunknown.h"

class KelString;
struct KelClassId;

class IKelDataModelReader : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDataModelReader"; }

    // 0. The next record of the current block, at first of the file. False at the block's end, where reading
    // goes on with leaveBlock, and after a failure: hasFailed distinguishes the two.
    virtual bool next(kel::DataRecord& record) = 0;

    // 1. Into the block that `next` returned. False, and no failure, if that was none or is entered already.
    virtual bool enterBlock() = 0;

    // 2. Out of the current block, wherever in it the reader stands. False, and no failure, outside all
    // blocks.
    virtual bool leaveBlock() = 0;

    // 3. to 10. The value of the record that `next` returned, once. A record of another kind is a failure; so
    // is, for a single number, an array of any other length.
    virtual bool readBool(bool& value) = 0;
    virtual bool readInteger(std::int64_t& value) = 0;
    virtual bool readIntegers(std::vector<std::int64_t>& values) = 0;
    virtual bool readReal(double& value) = 0;
    virtual bool readReals(std::vector<double>& values) = 0;
    virtual bool readText(KelString& text) = 0;
    virtual bool readBytes(std::vector<std::uint8_t>& bytes) = 0;
    virtual bool readClassId(KelClassId& id) = 0;

    // 11. to 13. The message is in the user's language and names the byte position, which failurePosition
    // has, too: from the start of the medium. Empty and -1 while nothing has failed. Lives as long as the
    // reader.
    [[nodiscard]] virtual bool hasFailed() const = 0;
    [[nodiscard]] virtual const KelString& failureMessage() const = 0;
    [[nodiscard]] virtual std::int64_t failurePosition() const = 0;
};
