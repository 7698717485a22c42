#include <algorithm>
#include <fstream>
#include <string_view>
#include <vector>

#include "host/text.h"
#include "tools/kelxml/compare.h"
#include "tools/kelxml/complaint.h"
#include "tools/kelxml/failure.h"
#include "tools/kelxml/message.h"
#include "tools/kelxml/progress.h"
#include "tools/kelxml/result.h"
#include "tools/kelxml/unwritable.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPlacesShown = 5;

// Whether the bytes "<![CDATA[" stand in the file, in any encoding that has them as ASCII with or without
// zero bytes around. A false alarm, from a comment say, costs time and changes nothing.
HiddenText lookForCData(const fs::path& path) {
    static constexpr std::string_view kStart = "<![CDATA[";
    std::error_code absent;
    if (!fs::is_regular_file(path, absent)) return HiddenText::Possible;  // a pipe cannot be read twice
    std::ifstream file(path, std::ios::binary);
    std::vector<char> block(1 << 16);
    std::string window;
    while (file) {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        const auto end = block.begin() + file.gcount();
        std::copy_if(block.begin(), end, std::back_inserter(window), [](char byte) { return byte != '\0'; });
        if (window.find(kStart) != std::string::npos) return HiddenText::Possible;
        if (window.size() >= kStart.size()) window.erase(0, window.size() - (kStart.size() - 1));
    }
    return HiddenText::None;
}

std::string listOf(const std::vector<Difference>& differences) {
    std::string list;
    for (const Difference& difference : differences)
        list += "\n  " + difference.place + ": " + difference.what;
    if (differences.size() == kPlacesShown) list += "\n  (" + tr("further places are not listed") + ')';
    return list;
}

// The file is written here and not by the parser, which does not report what the disk refuses.
void write(IKelDOMXml& parser, Result& result) {
    const Progress progress(tr("writing"));
    KelString text;
    if (!parser.saveToString(text))
        throw Failure(kRefused,
                      describeError(*parser.getError(), InputFile(result.path(), tr("the result"))));
    result.write(text.narrow(), LineEnds::Platform);
}

// What is wrong with the result; empty if nothing is.
std::string check(const Session& session, const InputFile& input, IKelDOMXml& original,
                  const fs::path& result) {
    const Progress progress(tr("reading back"));
    const IPtr<IKelDOMXmlV2> copy = session.makeParser();
    if (!copy->loadFromFile(kelhost::fromUtf8(kelhost::utf8Of(result)))) {
        const std::string error = describeError(*copy->getError(), InputFile(result, tr("the result")));
        return tr("the result would not be well formed: %1", error) +
               listOf(findUnwritable(*ElementPtr(original.getRootElement()), *copy, kPlacesShown));
    }
    const std::vector<Difference> differences =
        compareTrees(*ElementPtr(original.getRootElement()), *ElementPtr(copy->getRootElement()),
                     lookForCData(input.path()), kPlacesShown);
    return differences.empty() ? "" : tr("the result would differ from the document:") + listOf(differences);
}

}  // namespace

void save(Session& session, const SaveOptions& options) {
    const InputFile input(options.file);
    const IPtr<IKelDOMXmlV2> original = loadWithProgress(session, input);
    Result result(options.out);
    write(*original, result);
    const std::string complaint = check(session, input, *original, result.path());
    if (!complaint.empty() && !options.force) {
        throw Failure(kRefused,
                      complaint + '\n' + tr("Nothing was written; --force writes it all the same."));
    }
    if (!complaint.empty()) tell(tr("warning: %1", complaint));
    result.deliver();
}

}  // namespace kelxml
