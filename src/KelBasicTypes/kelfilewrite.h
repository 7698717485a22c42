// Writes a data-model file (datamodel.h) to a stream or to a path. The lengths of blocks are written back
// when the blocks end, so the medium must be able to seek. Counts start at 0. Threads: one at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "KelBasicTypes/ikeldatamodelwriter.h"
#include "KelBasicTypes/kelstring.h"
#include "framework/object/implements.h"

class BinOutput;

class KelFileWrite final : public kel::Implements<KelFileWrite, IKelDataModelWriter> {
public:
    static constexpr const char* kClassName = "KelFileWrite";

    // From where the stream stands. Borrowed until `finish` or the writer's end; not to be used meanwhile.
    explicit KelFileWrite(BinOutput& out);

    // The file appears under its path, or replaces the one there, when `finish` succeeds; until then, and
    // after a failure, that is untouched. Meanwhile the data is in a file beside it, which the writer removes
    // if it ends unfinished.
    explicit KelFileWrite(const KelString& path);
    ~KelFileWrite() override;

    bool beginBlock(kel::DataTag tag, BinIO_Version version) override;
    bool endBlock() override;
    bool writeBool(kel::DataTag tag, bool value) override;
    bool writeIntegers(kel::DataTag tag, const std::int64_t* values, std::size_t count) override;
    bool writeReals(kel::DataTag tag, const double* values, std::size_t count) override;
    bool writeText(kel::DataTag tag, const KelString& text) override;
    bool writeBytes(kel::DataTag tag, const void* bytes, std::size_t byteCount) override;
    bool writeClassId(kel::DataTag tag, const KelClassId& id) override;
    bool finish() override;
    [[nodiscard]] const KelString& failureMessage() const override { return failure_; }

private:
    struct OpenBlock {
        kel::DataTag tag;
        std::int64_t header;  // position
    };

    void begin();
    [[nodiscard]] bool canWrite() const noexcept { return failure_.isNull() && !isFinished_; }
    bool beginRecord(kel::DataTag tag, kel::DataKind kind, std::uint64_t length);
    bool written(bool isWritten, std::uint64_t byteCount);
    bool writeBack(std::int64_t position, std::uint64_t length, std::size_t width);
    bool replaceTarget();
    void discard() noexcept;

    std::unique_ptr<BinOutput> own_;  // only for a path
    BinOutput* out_;                  // null when there is none
    KelString path_;                  // where own_ is to appear
    KelString unfinishedPath_;        // where own_ is; empty when there is nothing to remove
    std::int64_t start_ = 0;          // of the file header
    std::int64_t position_ = 0;       // of the next byte
    std::vector<OpenBlock> blocks_;   // outermost first
    KelString failure_;               // null: none
    bool isFinished_ = false;
};
