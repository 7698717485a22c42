// A record's header is written with its length where that is known. A block's is not: its header says
// "unfinished" until the block ends, when the length is written over that. The same holds for the file as a
// whole, so whatever is cut off by a crash is recognised by its reader.
#include "KelBasicTypes/kelfilewrite.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/detail/fileactions.h"
#include "KelBasicTypes/message.h"
#include "framework/object/kelclassid.h"

using kel::DataFormat;
using kel::DataKind;
using kel::DataTag;

namespace {

constexpr std::size_t kMaxElements = DataFormat::kUnfinishedRecord / sizeof(std::int64_t) - 1;

// Text is written through a buffer, for a unit of text is no 16-bit number to the language.
bool writeUnits(BinOutput& out, std::u16string_view text) {
    std::array<std::uint16_t, 256> units;
    while (!text.empty()) {
        const std::size_t count = std::min(text.size(), units.size());
        std::copy_n(text.begin(), count, units.begin());
        if (!kel::writeNumbers(out, units.data(), sizeof(char16_t), count)) return false;
        text.remove_prefix(count);
    }
    return true;
}

bool writeBits(BinOutput& out, double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    return kel::writeNumbers(out, &bits, sizeof bits, 1);
}

}  // namespace

KelFileWrite::KelFileWrite(BinOutput& out) : out_(&out) {
    begin();
}

KelFileWrite::KelFileWrite(const KelString& path)
    : out_(nullptr), path_(path.view()), unfinishedPath_(kel::detail::unfinishedPath(path)) {
    own_ = std::make_unique<BinOutputFile>(unfinishedPath_);
    if (own_->good()) {
        out_ = own_.get();
        begin();
    } else {
        unfinishedPath_.clear();
        kel::translate(failure_, "cannot open %1 for writing", path_);
    }
}

KelFileWrite::~KelFileWrite() {
    discard();
}

void KelFileWrite::begin() {
    const std::int64_t at = out_->flushBuffer() ? out_->tell() : -1;
    start_ = position_ = std::max<std::int64_t>(at, 0);
    if (!out_->option()) {
        kel::translate(failure_, "byte %1: cannot write the length back",
                       KelString(static_cast<long long>(start_)));
        return;
    }
    const std::uint64_t length = DataFormat::kUnfinishedFile;
    (void)written(at >= 0 && kel::writeWord(*out_, DataFormat::kMagic) &&
                      kel::writeWord(*out_, DataFormat::kVersion.word()) &&
                      kel::writeNumbers(*out_, &length, sizeof length, 1),
                  DataFormat::kFileHeader);
}

bool KelFileWrite::beginBlock(DataTag tag, BinIO_Version version) {
    if (!canWrite()) return false;
    if (blocks_.size() == DataFormat::kDepthLimit) {
        kel::translate(failure_, "byte %1: blocks are nested more than %2 levels deep",
                       KelString(static_cast<long long>(position_)),
                       KelString(static_cast<long long>(DataFormat::kDepthLimit)));
        return false;
    }
    blocks_.push_back({tag, position_});
    return beginRecord(tag, DataKind::Block, DataFormat::kUnfinishedRecord) &&
           written(kel::writeWord(*out_, version.word()), DataFormat::kVersionWord);
}

bool KelFileWrite::endBlock() {
    if (!canWrite() || blocks_.empty()) return false;
    const OpenBlock block = blocks_.back();
    blocks_.pop_back();
    const auto headerSize = static_cast<std::int64_t>(DataFormat::kRecordHeader);
    const auto lengthAt = headerSize - static_cast<std::int64_t>(DataFormat::kLengthWidth);
    return writeBack(block.header + lengthAt,
                     static_cast<std::uint64_t>(position_ - block.header - headerSize),
                     DataFormat::kLengthWidth);
}

bool KelFileWrite::writeBool(DataTag tag, bool value) {
    const std::uint8_t byte = value ? 1 : 0;
    return beginRecord(tag, DataKind::Bool, 1) && written(kel::writeRecords(*out_, &byte, 1, 1), 1);
}

bool KelFileWrite::writeIntegers(DataTag tag, const std::int64_t* values, std::size_t count) {
    const std::uint64_t length = sizeof(std::int64_t) * std::min(count, kMaxElements);
    return beginRecord(tag, DataKind::Integers, length) &&
           written(kel::writeNumbers(*out_, values, sizeof(std::int64_t), count), length);
}

bool KelFileWrite::writeReals(DataTag tag, const double* values, std::size_t count) {
    const std::uint64_t length = sizeof(double) * std::min(count, kMaxElements);
    if (!beginRecord(tag, DataKind::Reals, length)) return false;
    return written(std::all_of(values, values + count, [&](double value) { return writeBits(*out_, value); }),
                   length);
}

bool KelFileWrite::writeText(DataTag tag, const KelString& text) {
    const std::u16string_view units = text.view();
    const std::uint64_t length = sizeof(char16_t) * units.size();
    return beginRecord(tag, DataKind::Text, length) && written(writeUnits(*out_, units), length);
}

bool KelFileWrite::writeBytes(DataTag tag, const void* bytes, std::size_t byteCount) {
    return beginRecord(tag, DataKind::Bytes, byteCount) &&
           written(kel::writeRecords(*out_, bytes, 1, byteCount), byteCount);
}

bool KelFileWrite::writeClassId(DataTag tag, const KelClassId& id) {
    return beginRecord(tag, DataKind::ClassId, sizeof id) &&
           written(kel::writeNumbers(*out_, &id.data1, sizeof id.data1, 1) &&
                       kel::writeNumbers(*out_, &id.data2, sizeof id.data2, 1) &&
                       kel::writeNumbers(*out_, &id.data3, sizeof id.data3, 1) &&
                       kel::writeRecords(*out_, id.data4.data(), 1, id.data4.size()),
                   sizeof id);
}

bool KelFileWrite::finish() {
    if (!canWrite()) return false;
    if (!blocks_.empty()) {
        kel::translate(failure_, "block '%1' was not ended",
                       KelString(std::string_view(kel::dataTagText(blocks_.back().tag))));
        return false;
    }
    const std::int64_t end = position_;
    const std::int64_t lengthAt = start_ + static_cast<std::int64_t>(DataFormat::kFileHeader - sizeof end);
    const auto length =
        static_cast<std::uint64_t>(end - start_ - static_cast<std::int64_t>(DataFormat::kFileHeader));
    if (!writeBack(lengthAt, length, sizeof length) || !written(out_->flush(), 0)) return false;
    isFinished_ = true;
    return own_ == nullptr || replaceTarget();
}

bool KelFileWrite::beginRecord(DataTag tag, DataKind kind, std::uint64_t length) {
    if (!canWrite()) return false;
    const auto kindByte = static_cast<std::uint16_t>(kind);
    return written(kel::writeNumbers(*out_, &tag, sizeof tag, 1) &&
                       kel::writeNumbers(*out_, &kindByte, 1, 1) &&
                       kel::writeNumbers(*out_, &length, DataFormat::kLengthWidth, 1),
                   DataFormat::kRecordHeader);
}

// Counts what was written, or fails.
bool KelFileWrite::written(bool isWritten, std::uint64_t byteCount) {
    if (!isWritten) {
        kel::translate(failure_, "byte %1: cannot write", KelString(static_cast<long long>(position_)));
        return false;
    }
    position_ += static_cast<std::int64_t>(byteCount);
    return true;
}

// Over what stands there; the medium is afterwards where it was.
bool KelFileWrite::writeBack(std::int64_t position, std::uint64_t length, std::size_t width) {
    if (out_->flushBuffer() && out_->seek(position, true) && kel::writeNumbers(*out_, &length, width, 1) &&
        out_->flushBuffer() && out_->seek(position_, true))
        return true;
    kel::translate(failure_, "byte %1: cannot write the length back",
                   KelString(static_cast<long long>(position)));
    return false;
}

bool KelFileWrite::replaceTarget() {
    own_->close();
    const KelString reason(std::string_view(kel::detail::replaceFile(unfinishedPath_.view(), path_.view())));
    if (reason.isEmpty()) {
        unfinishedPath_.clear();
        return true;
    }
    kel::translate(failure_, "cannot replace %1: %2", path_, reason);
    return false;
}

void KelFileWrite::discard() noexcept {
    if (own_ == nullptr) return;
    own_->close();
    if (!unfinishedPath_.isEmpty()) kel::detail::removeFile(unfinishedPath_.view());
}
