// Any sequence of a writer's operations, on a medium that may fill up: what `finish` reports as written reads
// back as exactly these records; what does not finish is recognised by the reader. The bytes of an input are
// the operations; the first two say how much the medium takes.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "KelBasicTypes/binmemory.h"
#include "KelBasicTypes/kelfileread.h"
#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/kelclassid.h"

namespace {

// Takes so many bytes and then nothing.
class LimitedMemory final : public BinOutput {
public:
    explicit LimitedMemory(std::size_t limit) : left_(limit) {}
    bool flush() override { return flushBuffer() && memory_.flush(); }
    std::size_t writeRaw(const void* bytes, std::size_t byteCount) override {
        const std::size_t taken = memory_.writeRaw(bytes, std::min(byteCount, left_));
        left_ -= taken;
        return taken == byteCount ? taken : 0;
    }
    std::size_t readRaw(void* buffer, std::size_t byteCount) override {
        return memory_.readRaw(buffer, byteCount);
    }
    std::int64_t tell() override { return memory_.tell(); }
    bool seek(std::int64_t position, bool fromStart) override {
        return flushBuffer() && memory_.seek(position, fromStart);
    }
    bool good() const override { return memory_.good(); }
    void close() override { memory_.close(); }
    const std::vector<std::uint8_t>& bytes() const { return memory_.bytes(); }

private:
    BinOutputMemory memory_;
    std::size_t left_;
};

class Input {
public:
    explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}
    [[nodiscard]] bool isEmpty() const { return rest_.empty(); }
    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const std::uint8_t first = rest_.front();
        rest_ = rest_.subspan(1);
        return first;
    }
    std::span<const std::uint8_t> bytes(std::size_t count) {
        const auto front = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(front.size());
        return front;
    }

private:
    std::span<const std::uint8_t> rest_;
};

std::string logged(const char* kind, kel::DataTag tag, std::span<const std::uint8_t> bytes) {
    std::string line = kind + std::to_string(tag) + ':';
    for (const std::uint8_t byte : bytes) line += ' ' + std::to_string(byte);
    return line + '\n';
}

template <class T>
std::span<const std::uint8_t> bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const std::uint8_t*>(values.data()), sizeof(T) * values.size()};
}

// One operation; what it wrote, as readBack logs it.
std::string writeOne(KelFileWrite& writer, Input& input, std::size_t& depth) {
    const std::uint8_t operation = input.byte();
    const auto tag = kel::DataTag{input.byte()} * 0x01010101U;
    const std::size_t count = operation >> 3;
    switch (operation & 7) {
        case 0:
            if (!writer.beginBlock(tag, BinIO_Version(static_cast<int>(count), 1))) return "";
            ++depth;
            return "{" + std::to_string(tag) + ' ' + std::to_string(count) + '\n';
        case 1:
            if (!writer.endBlock()) return "";
            --depth;
            return "}\n";
        case 2:
            (void)writer.writeBool(tag, count != 0);
            return logged("b", tag, std::vector<std::uint8_t>{count != 0});
        case 3: {
            std::vector<std::int64_t> values;
            for (std::size_t i = 0; i < count; ++i)
                values.push_back(std::int64_t{input.byte()} << (8 * (i % 8)));
            (void)writer.writeIntegers(tag, values.data(), values.size());
            return logged("i", tag, bytesOf(values));
        }
        case 4: {
            std::vector<double> values;
            for (std::size_t i = 0; i < count; ++i)
                values.push_back(std::bit_cast<double>(std::uint64_t{input.byte()} << (8 * (i % 8))));
            (void)writer.writeReals(tag, values.data(), values.size());
            return logged("r", tag, bytesOf(values));
        }
        case 5: {
            std::u16string units;
            for (const std::uint8_t byte : input.bytes(count * 50))
                units += static_cast<char16_t>(0xD000 + 37 * byte + 1);
            (void)writer.writeText(tag, units);
            return logged(
                "t", tag,
                {reinterpret_cast<const std::uint8_t*>(units.data()), units.size() * sizeof(char16_t)});
        }
        case 6: {
            const auto bytes = input.bytes(count * 50);
            (void)writer.writeBytes(tag, bytes.data(), bytes.size());
            return logged("x", tag, bytes);
        }
        default: {
            const KelClassId id{
                tag, static_cast<std::uint16_t>(count), 0xFFFF, {1, 2, 3, 4, 5, 6, 7, input.byte()}};
            (void)writer.writeClassId(tag, id);
            return logged("c", tag, {reinterpret_cast<const std::uint8_t*>(&id), sizeof id});
        }
    }
}

std::string valueOf(KelFileRead& reader, const kel::DataRecord& record) {
    bool truth = false;
    KelString text;
    std::vector<std::int64_t> integers;
    std::vector<double> reals;
    std::vector<std::uint8_t> bytes;
    KelClassId id;
    const kel::DataTag tag = record.tag;
    switch (record.kind) {
        case kel::DataKind::Block:
            return "{" + std::to_string(tag) + ' ' + std::to_string(record.version.majorNumber()) + '\n';
        case kel::DataKind::Bool:
            (void)reader.readBool(truth);
            return logged("b", tag, std::vector<std::uint8_t>{truth});
        case kel::DataKind::Integers:
            (void)reader.readIntegers(integers);
            return logged("i", tag, bytesOf(integers));
        case kel::DataKind::Reals:
            (void)reader.readReals(reals);
            return logged("r", tag, bytesOf(reals));
        case kel::DataKind::Text: {
            (void)reader.readText(text);
            const std::u16string_view units = text.view();
            return logged(
                "t", tag,
                {reinterpret_cast<const std::uint8_t*>(units.data()), units.size() * sizeof(char16_t)});
        }
        case kel::DataKind::Bytes:
            (void)reader.readBytes(bytes);
            return logged("x", tag, bytes);
        case kel::DataKind::ClassId:
            (void)reader.readClassId(id);
            return logged("c", tag, {reinterpret_cast<const std::uint8_t*>(&id), sizeof id});
    }
    return "?";
}

std::string readBack(KelFileRead& reader) {
    std::string log;
    std::size_t depth = 0;
    for (kel::DataRecord record;;) {
        if (reader.next(record)) {
            log += valueOf(reader, record);
            if (reader.enterBlock()) ++depth;
        } else if (depth > 0 && reader.leaveBlock()) {
            --depth;
            log += "}\n";
        } else {
            return log;
        }
    }
}

void require(bool holds, const char* what, const std::string& written, const std::string& read) {
    if (holds) return;
    std::fprintf(stderr, "%s\nwritten:\n%sread:\n%s", what, written.c_str(), read.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    Input input({data + 2, size - 2});
    LimitedMemory out(data[0] == 0xFF ? std::size_t{1} << 30 : std::size_t{data[0]} * 256 + data[1]);
    KelFileWrite writer(out);
    std::string written;
    std::size_t depth = 0;
    while (!input.isEmpty()) written += writeOne(writer, input, depth);
    for (; depth > 0 && writer.endBlock(); --depth) written += "}\n";
    const bool isFinished = writer.finish();
    require(isFinished == writer.failureMessage().isEmpty(), "result and message differ", written, "");
    BinInputMemory in(out.bytes());
    KelFileRead reader(in);
    const std::string read = readBack(reader);
    const std::string failure = kel::toUtf8(reader.failureMessage().view());
    require(isFinished == failure.empty(), "what was not finished must be rejected, and only that", written,
            failure);
    if (isFinished) require(read == written, "another text than was written", written, read);
    return 0;
}
