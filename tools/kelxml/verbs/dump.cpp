// The records of a data-model file, one a line: position, tag, kind, value.
#include <algorithm>
#include <array>
#include <cstdio>

#include "KelBasicTypes/classidtext.h"
#include "KelBasicTypes/kelfileread.h"
#include "host/text.h"
#include "tools/kelxml/files/batch.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

constexpr std::size_t kTextInCharacters = 60;
constexpr std::size_t kShownElements = 8;  // of an array
constexpr std::size_t kIndentedLevels = 40;

template <class Element, class Text>
std::string listed(const std::vector<Element>& elements, Text text) {
    std::string line;
    for (std::size_t at = 0; at < elements.size() && at < kShownElements; ++at)
        line += (at > 0 ? " " : "") + text(elements[at]);
    if (elements.size() > kShownElements) line += " ... (" + std::to_string(elements.size()) + ')';
    return line;
}

std::string realText(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.17g", value);
    return text.data();
}

std::string byteText(std::uint8_t byte) {
    std::array<char, 4> text{};
    std::snprintf(text.data(), text.size(), "%02x", byte);
    return text.data();
}

// Empty for a value that cannot be read; the reader then knows why.
std::string valueOf(KelFileRead& reader, const kel::DataRecord& record) {
    bool truth = false;
    KelString text;
    std::vector<std::int64_t> integers;
    std::vector<double> reals;
    std::vector<std::uint8_t> bytes;
    KelClassId id;
    switch (record.kind) {
        case kel::DataKind::Block:
            return std::to_string(record.version.majorNumber()) + '.' +
                   std::to_string(record.version.minorNumber());
        case kel::DataKind::Bool:
            return !reader.readBool(truth) ? "" : truth ? "true" : "false";
        case kel::DataKind::Integers:
            (void)reader.readIntegers(integers);
            return listed(integers, [](std::int64_t value) { return std::to_string(value); });
        case kel::DataKind::Reals:
            (void)reader.readReals(reals);
            return listed(reals, realText);
        case kel::DataKind::Text:
            return reader.readText(text) ? '"' + oneLine(kelhost::toUtf8(text), kTextInCharacters) + '"' : "";
        case kel::DataKind::Bytes:
            (void)reader.readBytes(bytes);
            return listed(bytes, byteText);
        case kel::DataKind::ClassId:
            return reader.readClassId(id) ? kel::classIdText(id) : "";
    }
    return "(" + std::to_string(record.length) + ')';  // of a later version: skipped
}

void writeRecord(Output& output, std::size_t level, const kel::DataRecord& record, const std::string& value) {
    std::array<char, 24> position{};
    std::snprintf(position.data(), position.size(), "%10lld  ", static_cast<long long>(record.position));
    output.write(position.data(), Ink::Dim);
    output.write(std::string(2 * std::min(level, kIndentedLevels), ' '));
    output.write(kel::dataTagText(record.tag), Ink::Name);
    output.write(' ' + kel::dataKindText(record.kind), Ink::Attribute);
    output.write((value.empty() ? "" : ' ' + value) + '\n');
}

void dumpFile(Task& task) {
    Output& output = task.output();
    if (task.isOneOfSeveral()) output.writeHeading(task.file());
    const InputFile input(task.file());
    const IPtr<KelFileRead> reader(new KelFileRead(kelhost::fromUtf8(kelhost::utf8Of(input.path()))));
    std::size_t level = 0;
    for (kel::DataRecord record;;) {
        if (reader->next(record)) {
            const std::string value = valueOf(*reader, record);
            if (reader->hasFailed()) break;
            writeRecord(output, level, record, value);
            if (record.kind == kel::DataKind::Block && reader->enterBlock()) ++level;
        } else if (level > 0 && reader->leaveBlock()) {
            --level;
        } else {
            break;
        }
    }
    output.finish();
    if (reader->hasFailed()) {
        throw Exception(kRejected, input.withName(kelhost::toUtf8(reader->failureMessage())));
    }
}

}  // namespace

void dump(const DumpOptions& options) {
    translateBasicTypes();
    forEachFile(options.files, []() -> Work { return dumpFile; });
}

}  // namespace kelxml
