// basic/…: the basic types beside what a program would use without them.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"
#include "bench/blockrounds.h"
#include "bench/rows.h"

namespace bench {
namespace {

// Keeps a value from being computed nowhere.
template <class T>
void use(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

// --- Strings
// -------------------------------------------------------------------------------------------------

constexpr std::uint64_t kTextsInRound = 20'000;
constexpr const char16_t* kLine = u"Error while reading C:\\data\\projects\\model.xml  : Line 12, column 40";
constexpr const char16_t* kShortLine = u"a line that fits into the same buffer";

template <class Text>
std::uint64_t copyTexts() {
    const Text source(kLine);
    std::uint64_t units = 0;
    for (std::uint64_t i = 0; i < kTextsInRound; ++i) {
        const Text copy(source);
        use(copy);
        units += copy.length();
    }
    return units;
}

template <class Text>
std::uint64_t assignTexts() {
    const Text line(kLine);
    const Text shortLine(kShortLine);
    Text target;
    std::uint64_t units = 0;
    for (std::uint64_t i = 0; i < kTextsInRound; ++i) {
        target = i % 2 == 0 ? line : shortLine;
        use(target);
        units += target.length();
    }
    return units;
}

template <class Text>
std::uint64_t appendTexts() {
    constexpr std::uint64_t kPieces = 32;
    std::uint64_t units = 0;
    for (std::uint64_t i = 0; i < kTextsInRound / kPieces; ++i) {
        Text text;
        for (std::uint64_t piece = 0; piece < kPieces; ++piece) text.append(u"some words ");
        use(text);
        units += text.length();
    }
    return units;
}

constexpr const char* kTemplate = "Error while reading %1  : Line %2, column %3 : %4";
constexpr const char16_t* kFile = u"C:\\data\\projects\\model.xml";
constexpr const char16_t* kReason = u"End tag 'b' does not match the start tag 'a'.";

std::uint64_t formatOurs() {
    const KelString file(kFile);
    const KelString line(12);
    const KelString column(40);
    const KelString reason(kReason);
    KelString result;
    std::uint64_t units = 0;
    for (std::uint64_t i = 0; i < kTextsInRound; ++i) {
        kel::translate(result, kTemplate, file, line, column, reason);
        units += result.length();
    }
    return units;
}

// What std::u16string takes to fill the same placeholders, one after the other.
std::uint64_t formatStandard() {
    const std::array<std::u16string, 4> arguments{kFile, u"12", u"40", kReason};
    std::u16string result;
    std::uint64_t units = 0;
    for (std::uint64_t i = 0; i < kTextsInRound; ++i) {
        result.assign(kTemplate, kTemplate + std::strlen(kTemplate));
        std::size_t from = 0;
        for (std::size_t a = 0; a < arguments.size(); ++a) {
            const char16_t placeholder[] = {u'%', static_cast<char16_t>(u'1' + a), 0};
            from = result.find(placeholder, from);
            result.replace(from, 2, arguments[a]);
            from += arguments[a].size();
        }
        units += result.length();
    }
    return units;
}

void textRow(Row& row, std::uint64_t (*ours)(), std::uint64_t (*standard)()) {
    row.latency(kTextsInRound, {{std::string(kOurs), ours}, {"u16string", standard}});
}

// --- The pool
// ------------------------------------------------------------------------------------------------

void poolRow(Row& row) {
    row.latency(kBlocksInRound, {{std::string(kOurs), takeAndGiveBack}, {"malloc", allocateAndFree}});
}

// --- Streams
// -------------------------------------------------------------------------------------------------

constexpr std::size_t kStreamBytes = std::size_t{16} << 20;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
};

std::FILE* temporaryFile() {
    std::FILE* const file = std::tmpfile();
    if (file == nullptr) throw std::runtime_error("no temporary file");
    return file;
}

template <class T>
std::vector<T> numbers() {
    std::vector<T> values(kStreamBytes / sizeof(T));
    std::mt19937_64 random(3);
    for (T& value : values) value = static_cast<T>(random());
    return values;
}

template <class T>
T swapped(T value) {
    if constexpr (sizeof(T) == 4) {
        return __builtin_bswap32(value);
    } else {
        return __builtin_bswap64(value);
    }
}

template <class T>
Contender writeOurs(const std::shared_ptr<const std::vector<T>>& values) {
    const auto out = std::make_shared<BinOutputFile>(temporaryFile());
    return {std::string(kOurs), [values, out]() -> std::uint64_t {
                return out->seek(0, true) &&
                       kel::writeNumbers(*out, values->data(), sizeof(T), values->size()) &&
                       out->flushBuffer();
            }};
}

template <class T>
Contender writePlain(const std::shared_ptr<const std::vector<T>>& values) {
    const std::shared_ptr<std::FILE> file(temporaryFile(), FileCloser());
    const auto buffer = std::make_shared<std::vector<T>>(values->size());
    return {"fwrite", [values, file, buffer]() -> std::uint64_t {
                std::rewind(file.get());
                std::transform(values->begin(), values->end(), buffer->begin(), swapped<T>);
                return std::fwrite(buffer->data(), sizeof(T), buffer->size(), file.get()) == buffer->size();
            }};
}

template <class T>
std::FILE* filledFile(const std::vector<T>& values) {
    std::vector<T> buffer(values.size());
    std::transform(values.begin(), values.end(), buffer.begin(), swapped<T>);
    std::FILE* const file = temporaryFile();
    if (std::fwrite(buffer.data(), sizeof(T), buffer.size(), file) != buffer.size())
        throw std::runtime_error("the temporary file cannot be written");
    std::rewind(file);
    return file;
}

template <class T>
Contender readOurs(const std::shared_ptr<const std::vector<T>>& values) {
    const auto in = std::make_shared<BinInputFile>(filledFile(*values));
    const auto buffer = std::make_shared<std::vector<T>>(values->size());
    return {std::string(kOurs), [values, in, buffer]() -> std::uint64_t {
                const bool isRead =
                    in->seek(0, true) && kel::readNumbers(*in, buffer->data(), sizeof(T), buffer->size());
                return isRead && buffer->back() == values->back();
            }};
}

template <class T>
Contender readPlain(const std::shared_ptr<const std::vector<T>>& values) {
    const std::shared_ptr<std::FILE> file(filledFile(*values), FileCloser());
    const auto buffer = std::make_shared<std::vector<T>>(values->size());
    return {"fread", [values, file, buffer]() -> std::uint64_t {
                std::rewind(file.get());
                const bool isRead =
                    std::fread(buffer->data(), sizeof(T), buffer->size(), file.get()) == buffer->size();
                std::transform(buffer->begin(), buffer->end(), buffer->begin(), swapped<T>);
                return isRead && buffer->back() == values->back();
            }};
}

template <class T>
void writeRow(Row& row) {
    const auto values = std::make_shared<const std::vector<T>>(numbers<T>());
    row.throughput(kStreamBytes, {writeOurs<T>(values), writePlain<T>(values)});
}

template <class T>
void readRow(Row& row) {
    const auto values = std::make_shared<const std::vector<T>>(numbers<T>());
    row.throughput(kStreamBytes, {readOurs<T>(values), readPlain<T>(values)});
}

}  // namespace

void addBasicRows(Suite& suite) {
    suite.add("basic/pool", poolRow);
    suite.add("basic/copy", [](Row& row) { textRow(row, copyTexts<KelString>, copyTexts<std::u16string>); });
    suite.add("basic/assign",
              [](Row& row) { textRow(row, assignTexts<KelString>, assignTexts<std::u16string>); });
    suite.add("basic/append",
              [](Row& row) { textRow(row, appendTexts<KelString>, appendTexts<std::u16string>); });
    suite.add("basic/format", [](Row& row) { textRow(row, formatOurs, formatStandard); });
    suite.add("basic/write32", writeRow<std::uint32_t>);
    suite.add("basic/write64", writeRow<std::uint64_t>);
    suite.add("basic/read32", readRow<std::uint32_t>);
    suite.add("basic/read64", readRow<std::uint64_t>);
}

}  // namespace bench
