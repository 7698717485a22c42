// Reads a data-model file (datamodel.h) from a stream or from a path. Counts start at 0. Threads: one at a
// time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "KelBasicTypes/ikeldatamodelreader.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/object/implements.h"

class BinInput;

class KelFileRead final : public kel::Implements<KelFileRead, IKelDataModelReader> {
public:
    static constexpr const char* kClassName = "KelFileRead";

    // From where the stream stands; what follows the data-model file is left alone. Borrowed for the reader's
    // life. A stream whose option is off is only ever read forward.
    explicit KelFileRead(BinInput& in);
    explicit KelFileRead(const KelString& path);
    ~KelFileRead() override;

    bool next(kel::DataRecord& record) override;
    bool enterBlock() override;
    bool leaveBlock() override;
    bool readBool(bool& value) override;
    bool readInteger(std::int64_t& value) override;
    bool readIntegers(std::vector<std::int64_t>& values) override;
    bool readReal(double& value) override;
    bool readReals(std::vector<double>& values) override;
    bool readText(KelString& text) override;
    bool readBytes(std::vector<std::uint8_t>& bytes) override;
    bool readClassId(KelClassId& id) override;
    [[nodiscard]] bool hasFailed() const override { return !failure_.isNull(); }
    [[nodiscard]] const KelString& failureMessage() const override { return failure_; }
    [[nodiscard]] std::int64_t failurePosition() const override { return failurePosition_; }

private:
    enum class Value { None, Unread, Read };  // of record_

    void begin();
    void readFileHeader();
    // Both move position_, and fail at the medium's end.
    bool take(void* bytes, std::size_t byteCount);
    bool skipTo(std::int64_t position);
    [[nodiscard]] bool readRecordHeader(kel::DataRecord& record);
    // Whether the value of the record can be read: of this kind, unread, of whole units, `exactly` so many
    // bytes long unless that is 0.
    [[nodiscard]] bool startValue(kel::DataKind kind, std::uint64_t unitInBytes, std::uint64_t exactly);
    template <class Element, class Append>
    bool readUnits(Append append);
    [[nodiscard]] std::int64_t recordEnd() const noexcept;
    bool fail(std::int64_t position, const KelString& message);

    std::unique_ptr<BinInput> own_;   // only for a path
    BinInput* in_;                    // null when there is none
    std::int64_t position_ = 0;       // of the next byte, from the start of the medium
    std::vector<std::int64_t> ends_;  // of the file and the blocks that were entered; empty: no file
    kel::DataRecord record_;
    std::int64_t body_ = 0;  // where the value of record_ starts
    Value value_ = Value::None;
    KelString failure_;  // null: none
    std::int64_t failurePosition_ = -1;
};
