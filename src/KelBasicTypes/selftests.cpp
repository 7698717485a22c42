#include "KelBasicTypes/selftests.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binmemory.h"
#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/detail/fileactions.h"
#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/kelfileread.h"
#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"

namespace kel {

namespace {

constexpr DataTag kNumber = dataTag("numb");
constexpr DataTag kWords = dataTag("word");

// A buffer of the pool with a pattern of its own.
class Patterned {
public:
    Patterned(std::size_t size, unsigned char pattern)
        : pattern_(pattern), block_(takeBuffer(size, capacity_)) {
        std::memset(block_, pattern_, static_cast<std::size_t>(capacity_));
    }
    Patterned(const Patterned&) = delete;
    Patterned& operator=(const Patterned&) = delete;
    ~Patterned() { giveBackBuffer(capacity_, block_); }

    [[nodiscard]] bool isIntact() const noexcept {
        const auto* const bytes = static_cast<const unsigned char*>(block_);
        return std::all_of(bytes, bytes + capacity_, [this](unsigned char byte) { return byte == pattern_; });
    }

private:
    unsigned char pattern_;
    std::int32_t capacity_ = 0;
    void* block_;
};

bool writeAll(BinOutput& out) {
    const std::int64_t number = -2;
    if (!writeNumbers(out, &number, 3, 1)) return false;
    KelFileWrite writer(out);
    writer.beginBlock(kWords, BinIO_Version(1, 0));
    writer.writeText(kWords, u"\u6E90\u6C0F \U0001F600");
    writer.endBlock();
    writer.writeInteger(kNumber, number);
    return writer.finish();
}

bool readsBack(BinInput& in) {
    std::int64_t number = 0;
    if (!readNumbers(in, &number, 3, 1) || number != -2) return false;
    KelFileRead reader(in);
    DataRecord record;
    KelString words;
    const bool isTextRead = reader.next(record) && reader.enterBlock() && reader.next(record) &&
                            reader.readText(words) && reader.leaveBlock();
    return isTextRead && words == u"\u6E90\u6C0F \U0001F600" && reader.next(record) &&
           reader.readInteger(number) && number == -2 && !reader.next(record) && !reader.hasFailed();
}

class RemovedAtEnd {
public:
    explicit RemovedAtEnd(const KelString& path) : path_(path) {}
    RemovedAtEnd(const RemovedAtEnd&) = delete;
    RemovedAtEnd& operator=(const RemovedAtEnd&) = delete;
    ~RemovedAtEnd() { detail::removeFile(path_.view()); }

private:
    const KelString& path_;
};

}  // namespace

bool PoolSelfTest::run(std::string& reason) {
    std::vector<std::unique_ptr<Patterned>> buffers;
    unsigned char pattern = 1;
    for (std::size_t size = 1; size <= 1 << 20; size += size / 3 + 1)
        buffers.push_back(std::make_unique<Patterned>(size, pattern++));
    for (std::size_t at = 0; at < buffers.size(); at += 2) buffers[at].reset();  // and taken again
    for (std::size_t at = 0; at < buffers.size(); at += 2)
        buffers[at] = std::make_unique<Patterned>(at * at + 1, pattern++);
    if (std::ranges::all_of(buffers, [](const auto& buffer) { return buffer->isIntact(); })) return true;
    reason = "expected every buffer of the pool to keep its contents";
    return false;
}

bool StreamSelfTest::run(std::string& reason) {
    BinOutputMemory memory;
    if (!writeAll(memory)) return reason = "expected memory to take a data-model file", false;
    BinInputMemory fromMemory(memory.bytes());
    if (!readsBack(fromMemory)) return reason = "expected to read back from memory what was written", false;

    KelString path;
    makeTempFileName(path);
    const RemovedAtEnd removed(path);
    BinOutputFile file(path);
    const std::string name = toUtf8(path.view());
    if (!writeAll(file)) return reason = "expected " + name + " to take a data-model file", false;
    file.close();
    BinInputFile fromFile(path);
    if (!readsBack(fromFile))
        return reason = "expected to read back from " + name + " what was written", false;
    return true;
}

}  // namespace kel
