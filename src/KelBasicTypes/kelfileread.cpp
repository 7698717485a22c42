// The reader knows where the file and every block that it is in end, and believes no length that reaches
// beyond the innermost end. Values are read in pieces, so that a length which the medium does not keep costs
// no memory.
#include "KelBasicTypes/kelfileread.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <utility>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/detail/bigendian.h"
#include "KelBasicTypes/message.h"
#include "framework/object/kelclassid.h"

using kel::DataFormat;
using kel::DataKind;
using kel::DataRecord;

namespace {

constexpr std::int64_t kFarthest = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kTextLimit = KelString::kMaxUnits * sizeof(char16_t);

KelString number(std::uint64_t value) {
    return KelString(static_cast<long long>(value));
}
KelString number(std::int64_t value) {
    return KelString(static_cast<long long>(value));
}
KelString text(const std::string& ascii) {
    return KelString(std::string_view(ascii));
}

template <class T>
T decoded(const std::uint8_t* bytes, std::size_t width = sizeof(T)) {
    T value = 0;
    kel::detail::decode(bytes, &value, width, 1);
    return value;
}

}  // namespace

KelFileRead::KelFileRead(BinInput& in) : in_(&in) {
    begin();
}

KelFileRead::KelFileRead(const KelString& path)
    : own_(std::make_unique<BinInputFile>(path)), in_(own_.get()) {
    if (own_->good()) {
        begin();
    } else {
        KelString message;
        fail(0, kel::translate(message, "cannot open %1 for reading", path));
    }
}

KelFileRead::~KelFileRead() = default;

void KelFileRead::begin() {
    position_ = std::max<std::int64_t>(in_->tell(), 0);
    readFileHeader();
}

void KelFileRead::readFileHeader() {
    const std::int64_t start = position_;
    std::array<std::uint8_t, DataFormat::kFileHeader> header{};
    KelString message;
    if (!take(header.data(), 4) || decoded<std::int32_t>(header.data()) != DataFormat::kMagic) {
        failure_.clear();  // a file too short for the word is no data-model file either
        fail(start, kel::translate(message, "byte %1: expected 'KELD' at the start of a data-model file",
                                   number(start)));
        return;
    }
    if (!take(header.data() + 4, header.size() - 4)) return;
    const BinIO_Version version(decoded<std::int32_t>(header.data() + 4));
    if (!version.isCompatibleWith(DataFormat::kVersion)) {
        fail(start + 4,
             kel::translate(message, "byte %1: expected format version %2, found %3", number(start + 4),
                            KelString(DataFormat::kVersion.majorNumber()), KelString(version.majorNumber())));
        return;
    }
    const auto length = decoded<std::uint64_t>(header.data() + 8);
    if (length == DataFormat::kUnfinishedFile) {
        fail(start + 8, kel::translate(message, "byte %1: the file was not finished", number(start + 8)));
        return;
    }
    const std::int64_t limit = in_->option() && in_->length() > 0 ? in_->length() : kFarthest;
    const auto left = static_cast<std::uint64_t>(std::max<std::int64_t>(limit - position_, 0));
    if (length > left) {
        fail(start + 8, kel::translate(message, "byte %1: the file is cut off: %2 of %3 bytes are left",
                                       number(start + 8), number(left), number(length)));
        return;
    }
    ends_.push_back(position_ + static_cast<std::int64_t>(length));
}

bool KelFileRead::next(DataRecord& record) {
    if (hasFailed() || ends_.empty()) return false;
    if (value_ != Value::None && !skipTo(recordEnd())) return false;
    value_ = Value::None;
    if (position_ == ends_.back()) return false;
    if (!readRecordHeader(record_)) return false;
    value_ = Value::Unread;
    record = record_;
    return true;
}

bool KelFileRead::readRecordHeader(DataRecord& record) {
    KelString message;
    const std::int64_t at = position_;
    const auto left = [this] { return static_cast<std::uint64_t>(ends_.back() - position_); };
    std::array<std::uint8_t, DataFormat::kRecordHeader> header{};
    if (left() < header.size()) {
        return fail(at, kel::translate(message, "byte %1: expected a record, found %2 bytes", number(at),
                                       number(left())));
    }
    if (!take(header.data(), header.size())) return false;
    record.position = at;
    record.tag = decoded<std::uint32_t>(header.data());
    record.kind = static_cast<DataKind>(header[4]);
    record.length = decoded<std::uint64_t>(header.data() + 5, DataFormat::kLengthWidth);
    record.version = BinIO_Version();
    const KelString tag = text(kel::dataTagText(record.tag));
    if (record.length == DataFormat::kUnfinishedRecord) {
        return fail(at, kel::translate(message, "byte %1: block '%2' was not finished", number(at), tag));
    }
    if (record.length > left()) {
        return fail(at, kel::translate(message, "byte %1: record '%2' has %3 bytes, but only %4 are left",
                                       number(at), tag, number(record.length), number(left())));
    }
    if (record.kind == DataKind::Block) {
        if (record.length < DataFormat::kVersionWord) {
            return fail(at, kel::translate(message, "byte %1: expected %2 bytes in '%3', found %4",
                                           number(at), number(std::uint64_t{DataFormat::kVersionWord}), tag,
                                           number(record.length)));
        }
        if (!take(header.data(), DataFormat::kVersionWord)) return false;
        record.version = BinIO_Version(decoded<std::int32_t>(header.data()));
        record.length -= DataFormat::kVersionWord;
    }
    body_ = position_;
    return true;
}

bool KelFileRead::enterBlock() {
    if (hasFailed() || value_ != Value::Unread || record_.kind != DataKind::Block) return false;
    if (ends_.size() > DataFormat::kDepthLimit) {
        KelString message;
        return fail(record_.position,
                    kel::translate(message, "byte %1: blocks are nested more than %2 levels deep",
                                   number(record_.position), number(std::uint64_t{DataFormat::kDepthLimit})));
    }
    ends_.push_back(recordEnd());
    value_ = Value::None;
    return true;
}

bool KelFileRead::leaveBlock() {
    if (hasFailed() || ends_.size() < 2) return false;
    const std::int64_t end = ends_.back();
    ends_.pop_back();
    value_ = Value::None;
    return skipTo(end);
}

bool KelFileRead::readBool(bool& value) {
    if (!startValue(DataKind::Bool, 1, 1)) return false;
    std::uint8_t byte = 0;
    if (!take(&byte, 1)) return false;
    if (byte > 1) {
        KelString message;
        return fail(body_,
                    kel::translate(message, "byte %1: expected 0 or 1 in '%2', found %3", number(body_),
                                   text(kel::dataTagText(record_.tag)), KelString(int{byte})));
    }
    value = byte == 1;
    return true;
}

// Reads the value of record_ in pieces, each element by append(its bytes).
template <class Element, class Append>
bool KelFileRead::readUnits(Append append) {
    std::array<std::uint8_t, BinInput::kBufferSizeInBytes> piece;
    for (std::uint64_t left = record_.length; left > 0;) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size()));
        if (!take(piece.data(), size)) return false;
        for (std::size_t at = 0; at < size; at += sizeof(Element)) append(piece.data() + at);
        left -= size;
    }
    return true;
}

bool KelFileRead::readIntegers(std::vector<std::int64_t>& values) {
    std::vector<std::int64_t> read;
    if (!startValue(DataKind::Integers, sizeof(std::int64_t), 0) ||
        !readUnits<std::int64_t>(
            [&](const std::uint8_t* bytes) { read.push_back(decoded<std::int64_t>(bytes)); }))
        return false;
    values.swap(read);
    return true;
}

bool KelFileRead::readReals(std::vector<double>& values) {
    std::vector<double> read;
    if (!startValue(DataKind::Reals, sizeof(double), 0) || !readUnits<double>([&](const std::uint8_t* bytes) {
            read.push_back(std::bit_cast<double>(decoded<std::uint64_t>(bytes)));
        }))
        return false;
    values.swap(read);
    return true;
}

bool KelFileRead::readInteger(std::int64_t& value) {
    std::uint8_t bytes[sizeof value];
    if (!startValue(DataKind::Integers, sizeof value, sizeof value) || !take(bytes, sizeof value))
        return false;
    value = decoded<std::int64_t>(bytes);
    return true;
}

bool KelFileRead::readReal(double& value) {
    std::uint8_t bytes[sizeof value];
    if (!startValue(DataKind::Reals, sizeof value, sizeof value) || !take(bytes, sizeof value)) return false;
    value = std::bit_cast<double>(decoded<std::uint64_t>(bytes));
    return true;
}

bool KelFileRead::readText(KelString& result) {
    if (!startValue(DataKind::Text, sizeof(char16_t), 0)) return false;
    std::u16string units;
    if (!readUnits<char16_t>([&](const std::uint8_t* bytes) {
            units.push_back(static_cast<char16_t>(decoded<std::uint16_t>(bytes)));
        }))
        return false;
    if (const std::size_t nul = units.find(u'\0'); nul != std::u16string::npos) {
        const std::int64_t at = body_ + static_cast<std::int64_t>(nul * sizeof(char16_t));
        KelString message;
        return fail(at, kel::translate(message, "byte %1: text '%2' contains U+0000", number(at),
                                       text(kel::dataTagText(record_.tag))));
    }
    result = units;
    return true;
}

bool KelFileRead::readBytes(std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint8_t> read;
    if (!startValue(DataKind::Bytes, 1, 0) ||
        !readUnits<std::uint8_t>([&](const std::uint8_t* byte) { read.push_back(*byte); }))
        return false;
    bytes.swap(read);
    return true;
}

bool KelFileRead::readClassId(KelClassId& id) {
    std::uint8_t bytes[sizeof id];
    if (!startValue(DataKind::ClassId, 1, sizeof id) || !take(bytes, sizeof id)) return false;
    id = {decoded<std::uint32_t>(bytes),
          decoded<std::uint16_t>(bytes + 4),
          decoded<std::uint16_t>(bytes + 6),
          {}};
    std::copy_n(bytes + 8, id.data4.size(), id.data4.begin());
    return true;
}

bool KelFileRead::startValue(DataKind kind, std::uint64_t unitInBytes, std::uint64_t exactly) {
    if (hasFailed() || value_ != Value::Unread) return false;
    KelString message;
    const KelString tag = text(kel::dataTagText(record_.tag));
    if (record_.kind != kind) {
        return fail(record_.position, kel::translate(message, "byte %1: expected %2 in '%3', found %4",
                                                     number(record_.position), text(kel::dataKindText(kind)),
                                                     tag, text(kel::dataKindText(record_.kind))));
    }
    if (exactly != 0 && record_.length != exactly) {
        return fail(record_.position,
                    kel::translate(message, "byte %1: expected %2 bytes in '%3', found %4",
                                   number(record_.position), number(exactly), tag, number(record_.length)));
    }
    if (kind == DataKind::Text && record_.length > kTextLimit) {
        return fail(
            record_.position,
            kel::translate(message, "byte %1: expected at most %2 bytes in text '%3', found %4",
                           number(record_.position), number(kTextLimit), tag, number(record_.length)));
    }
    if (record_.length % unitInBytes != 0) {
        return fail(
            record_.position,
            kel::translate(message, "byte %1: expected a multiple of %2 bytes in '%3', found %4",
                           number(record_.position), number(unitInBytes), tag, number(record_.length)));
    }
    value_ = Value::Read;
    return true;
}

bool KelFileRead::take(void* bytes, std::size_t byteCount) {
    auto* to = static_cast<std::uint8_t*>(bytes);
    for (std::size_t left = byteCount; left > 0;) {
        const auto piece = in_->fetch(left);
        if (piece.empty()) {
            KelString message;
            return fail(position_,
                        kel::translate(message, "byte %1: expected %2 more bytes, found the end of the file",
                                       number(position_), number(std::uint64_t{left})));
        }
        to = std::copy(piece.begin(), piece.end(), to);
        left -= piece.size();
        position_ += static_cast<std::int64_t>(piece.size());
    }
    return true;
}

// Forward. A short way is read, which keeps what the medium has buffered.
bool KelFileRead::skipTo(std::int64_t position) {
    constexpr std::int64_t kWorthSeeking = 4096;
    if (in_->option() && position - position_ >= kWorthSeeking && in_->seek(position, true)) {
        position_ = position;
        return true;
    }
    std::array<std::uint8_t, BinInput::kBufferSizeInBytes> dropped;
    while (position_ < position) {
        const std::int64_t left = position - position_;
        if (!take(dropped.data(), static_cast<std::size_t>(std::min<std::int64_t>(left, dropped.size()))))
            return false;
    }
    return true;
}

std::int64_t KelFileRead::recordEnd() const noexcept {
    return body_ + static_cast<std::int64_t>(record_.length);
}

bool KelFileRead::fail(std::int64_t position, const KelString& message) {
    if (hasFailed()) return false;
    failure_ = message;
    failurePosition_ = position;
    value_ = Value::None;
    return false;
}
