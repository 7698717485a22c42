// The DOM parser: writing.
#include <cstdio>
#include <exception>
#include <memory>

#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/file.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/msdomxml.h"
#include "msxml_parser/detail/outlive.h"

using msxml::fail;

namespace {

constexpr const char16_t* kIndentUnit = u"\t";
constexpr std::size_t kFileBufferInBytes = std::size_t{1} << 16;

// Made by getRootElement for one call and shared with nobody: deleted outright, not released by count.
using RootElement = std::unique_ptr<IKelDOMXmlElement>;

void writeRoot(const RootElement& root, std::FILE* file, KelString& out) {
    if (root == nullptr) throw _com_error(E_OUTOFMEMORY);
    (void)root->write(file, out, KelString(u""), KelString(kIndentUnit), false);  // it always answers true
}

}  // namespace

bool MSDOMXml::saveToStream(BinOutput&) {
    return false;
}

bool MSDOMXml::saveToString(KelString& out) {
    error_.clear();
    if (!document_) return fail(error_, kNoDocument, "Error while writing XML : No DOM Object");
    const RootElement root(getRootElement());
    writeRoot(root, nullptr, out);
    return true;
}

bool MSDOMXml::saveToFile(const KelString& path) try {
    error_.clear();
    const KelString normalised = kel::normalisePath(path);
    if (!document_) {
        return fail(error_, kNoDocument, "Error while writing %1 : No DOM Object", normalised);
    }
    kel::platform::FileHandle file = kel::platform::openFile(normalised.view(), "w");
    if (file == nullptr) {
        // Kept: the code stays 0. See behaviour.md, "Saving to a file that cannot be written".
        msxml::setMessage(
            error_,
            "Error while writing to XML file %1  : The file doesn't exist or you don't have write "
            "rights to it",
            normalised);
        return false;
    }
    // The writer flushes every few lines; the system is called when there is something worth its while.
    (void)std::setvbuf(file.get(), nullptr, _IOFBF, kFileBufferInBytes);
    RootElement root;
    try {
        root.reset(getRootElement());
        KelString scratch;
        writeRoot(root, file.get(), scratch);
    } catch (...) {
        // Kept: the file stays open and the element alive. See behaviour.md, "Saving without a root element".
        (void)file.release();
        msxml::keepUntilProcessEnd(root.release());
        throw;
    }
    return true;
} catch (const std::exception&) {
    msxml::raiseAsComError();
}
