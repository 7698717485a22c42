// Writes a data-model file (datamodel.h). Positions are relied upon.
//
// Every operation returns false once one has failed; failureMessage says why. A caller may therefore write
// everything and look at the result of `finish` alone. Threads: one at a time for each object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KelBasicTypes/datamodel.h"
#include "framework/object/kelunknown.h"

class KelString;
struct KelClassId;

class IKelDataModelWriter : public virtual IKelUnknown {
public:
    static constexpr const char* interfaceName() noexcept { return "IKelDataModelWriter"; }

    // 0. and 1. Records written in between belong to the block. Without an open block endBlock returns false
    // and nothing changes.
    virtual bool beginBlock(kel::DataTag tag, BinIO_Version version) = 0;
    virtual bool endBlock() = 0;

    // 2. to 7. One record. The values stay the caller's; null only with a count of 0. A text ends at its
    // first NUL, as every KelString does.
    virtual bool writeBool(kel::DataTag tag, bool value) = 0;
    virtual bool writeIntegers(kel::DataTag tag, const std::int64_t* values, std::size_t count) = 0;
    virtual bool writeReals(kel::DataTag tag, const double* values, std::size_t count) = 0;
    virtual bool writeText(kel::DataTag tag, const KelString& text) = 0;
    virtual bool writeBytes(kel::DataTag tag, const void* bytes, std::size_t byteCount) = 0;
    virtual bool writeClassId(kel::DataTag tag, const KelClassId& id) = 0;

    // 8. Completes the file: true when all of it has reached the medium. A block that is still open is a
    // failure. Nothing can be written afterwards.
    virtual bool finish() = 0;

    // 9. In the user's language, with the byte position; empty while nothing has failed. Lives as long as the
    // writer.
    [[nodiscard]] virtual const KelString& failureMessage() const = 0;

    // Short for an array of one.
    bool writeInteger(kel::DataTag tag, std::int64_t value) { return writeIntegers(tag, &value, 1); }
    bool writeReal(kel::DataTag tag, double value) { return writeReals(tag, &value, 1); }
};
