// A data-model file written and read back: names and types for data, without XML.
#include <cstdio>
#include <vector>

#include "KelBasicTypes/kelfileread.h"
#include "KelBasicTypes/kelfilewrite.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"

namespace {

// [begin tags]
constexpr kel::DataTag kShelf = kel::dataTag("shlf");
constexpr kel::DataTag kBook = kel::dataTag("book");
constexpr kel::DataTag kTitle = kel::dataTag("titl");
constexpr kel::DataTag kYears = kel::dataTag("year");
constexpr BinIO_Version kShelfVersion(1, 2);  // 1.2: since then books have years
// [end tags]

int failed(const KelString& message) {
    std::fprintf(stderr, "%s\n", kel::toUtf8(message.view()).c_str());
    return 1;
}

// [begin write]
bool writeShelf(IKelDataModelWriter& writer) {
    writer.beginBlock(kShelf, kShelfVersion);
    writer.beginBlock(kBook, kShelfVersion);
    writer.writeText(kTitle, u"Emma");
    const std::int64_t editions[] = {1815, 1833};
    writer.writeIntegers(kYears, editions, 2);
    writer.endBlock();
    writer.endBlock();
    return writer.finish();  // what failed on the way is known here
}
// [end write]

// [begin read]
void readBook(IKelDataModelReader& reader) {
    KelString title;
    std::vector<std::int64_t> years;
    for (kel::DataRecord record; reader.next(record);) {
        if (record.tag == kTitle) reader.readText(title);
        if (record.tag == kYears) reader.readIntegers(years);
    }  // what else there is, of a later version perhaps, is skipped
    std::printf("%s, %zu editions\n", kel::toUtf8(title.view()).c_str(), years.size());
}

void readShelf(IKelDataModelReader& reader) {
    kel::DataRecord record;
    if (!reader.next(record) || record.tag != kShelf || !reader.enterBlock()) return;
    if (!record.version.isCompatibleWith(kShelfVersion)) return;  // another major number
    while (reader.next(record)) {
        if (record.tag != kBook || !reader.enterBlock()) continue;
        readBook(reader);
        reader.leaveBlock();
    }
    reader.leaveBlock();
}
// [end read]

}  // namespace

int main() {
    // [begin main]
    const IPtr<KelFileWrite> writer(new KelFileWrite(KelString(u"shelf.kel")));
    if (!writeShelf(*writer)) return failed(writer->failureMessage());
    const IPtr<KelFileRead> reader(new KelFileRead(KelString(u"shelf.kel")));
    readShelf(*reader);
    if (reader->hasFailed()) return failed(reader->failureMessage());
    // [end main]
    return 0;
}
