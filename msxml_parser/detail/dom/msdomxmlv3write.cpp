// The DOM parser: writing the whole document as it is.
#include <cerrno>
#include <exception>
#include <filesystem>
#include <system_error>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/detail/fileactions.h"
#include "KelBasicTypes/pathnormalise.h"
#include "KelBasicTypes/platform/nativepath.h"
#include "KelBasicTypes/utf8.h"
#include "msxml_parser/detail/dom/msdomxml.h"
#include "msxml_parser/detail/enginespecific.h"
#include "msxml_parser/detail/failure.h"
#include "msxml_parser/detail/outputstream.h"
#include "msxml_parser/detail/text.h"

using msxml::fail;
using msxml::OutputStream;
using msxml::WriteSettings;

namespace {

namespace fs = std::filesystem;

WriteSettings settingsOf(unsigned options, const KelString& encoding) {
    WriteSettings settings;
    settings.encoding = std::u16string(encoding.view());
    if ((options & IKelDOMXmlV3::kNoDeclaration) != 0)
        settings.declaration = WriteSettings::Declaration::Never;
    settings.indent = (options & IKelDOMXmlV3::kIndent) != 0;
    const unsigned spaces = options >> IKelDOMXmlV3::kIndentBlanksShift & 0xFF;
    if (spaces != 0) settings.indentUnit = std::u16string(spaces - 1, u' ');
    return settings;
}

// The system's own words, or ours where it said nothing.
KelString reasonOf(int systemError) {
    KelString reason;
    if (systemError == 0) return kel::translate(reason, "The medium took no more bytes");
    const std::string text = std::generic_category().message(systemError);
    return KelString(std::u16string_view(kel::fromUtf8(text)));
}

// A file that is written beside `target` and takes its place in the end; what is no regular file is written
// itself. Removed unless it has taken its place.
class NewFile final {
public:
    explicit NewFile(const fs::path& target) : target_(target) {
        std::error_code failure;
        status_ = fs::status(target_, failure);
        isBeside_ = !fs::exists(status_) || fs::is_regular_file(status_);
        if (isBeside_ && fs::is_symlink(fs::symlink_status(target_, failure))) followLink();
        path_ = KelString(std::u16string_view(kel::platform::unitsOf(target_)));
        if (isBeside_) path_ = kel::detail::unfinishedPath(path_);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() {
        if (isMade_ && isBeside_) kel::detail::removeFile(path_.view());
    }

    [[nodiscard]] const KelString& path() const noexcept { return path_; }
    void setMade() noexcept { isMade_ = true; }

    // The file must be closed. Returns the system's reason when it fails; empty when done.
    [[nodiscard]] std::string replaceTarget() {
        if (!isBeside_) return {};
        const fs::path made = kel::platform::nativePath(path_.view());
        std::error_code failure;
        if (fs::exists(status_)) fs::permissions(made, status_.permissions(), failure);
        if (!failure) fs::rename(made, target_, failure);
        if (failure) return failure.message();
        isMade_ = false;
        return {};
    }

private:
    void followLink() {
        std::error_code failure;
        const fs::path end = fs::weakly_canonical(target_, failure);
        if (!failure) target_ = end;
    }

    fs::path target_;
    fs::file_status status_;
    bool isBeside_ = true;
    bool isMade_ = false;
    KelString path_;
};

}  // namespace

// Empty: everything is written; else why not. Memory that ran out is raised.
KelString MSDOMXml::writeTo(OutputStream& out, const WriteSettings& settings) {
    KelString reason;
    if (!documentElement()) return kel::translate(reason, "The document has no root element");
    try {
        msxml::writeDocument(document_, out, settings);
        return {};
    } catch (const _com_error& error) {
        out.rethrow();
        if (out.hasFailed()) return reasonOf(out.systemError());
        if (error.Error() == E_OUTOFMEMORY) throw;
        reason = msxml::descriptionOf(error);
        return reason.isEmpty() ? kel::translate(reason, "The engine rejected it") : reason;
    }
}

bool MSDOMXml::writeFile(const KelString& path, unsigned options, const KelString& encoding) {
    return msxml::atBorder([&] {
        error_.clear();
        const KelString normalised = kel::normalisePath(path);
        if (!document_)
            return fail(error_, kNoDocument, "Error while writing %1 : No DOM Object", normalised);
        const auto rejected = [&](const KelString& reason) {
            error_.setDetails({}, reason);
            return fail(error_, kNotWritten, "Error while writing %1 : %2", normalised, reason);
        };
        const fs::path target = kel::platform::nativePath(normalised.view());
        NewFile file(target);
        BinOutputFile medium(target.empty() ? KelString() : file.path());
        if (!medium.good()) {
            return fail(error_, kNotWritable, "Error while writing %1 : The file cannot be created",
                        normalised);
        }
        file.setMade();
        OutputStream out(medium);
        KelString reason = writeTo(out, settingsOf(options, encoding));
        errno = 0;
        if (reason.isEmpty() && !medium.flush()) reason = reasonOf(errno);
        medium.close();
        if (!reason.isEmpty()) return rejected(reason);
        const std::string replacing = file.replaceTarget();
        return replacing.empty() || rejected(KelString(std::u16string_view(kel::fromUtf8(replacing))));
    });
}

bool MSDOMXml::writeStream(BinOutput& target, unsigned options, const KelString& encoding) {
    return msxml::atBorder([&] {
        error_.clear();
        if (!document_) return fail(error_, kNoDocument, "Error while writing XML : No DOM Object");
        OutputStream out(target);
        errno = 0;
        KelString reason;
        if (!target.flushBuffer()) reason = reasonOf(errno);  // what waits comes first
        if (reason.isEmpty()) reason = writeTo(out, settingsOf(options, encoding));
        if (reason.isEmpty() && !target.flush()) reason = reasonOf(errno);
        error_.setDetails({}, reason);
        return reason.isEmpty() || fail(error_, kNotWritten, "Error while writing XML : %1", reason);
    });
}

bool MSDOMXml::writeString(KelString& text, unsigned options) {
    return msxml::atBorder([&] {
        error_.clear();
        if (!document_) return fail(error_, kNoDocument, "Error while writing XML : No DOM Object");
        WriteSettings settings = settingsOf(options, KelString());
        if (settings.declaration == WriteSettings::Declaration::AsLoaded)
            settings.declaration = WriteSettings::Declaration::WithoutEncoding;
        settings.encoding = u"UTF-8";
        std::string bytes;
        OutputStream out(bytes);
        const KelString reason = writeTo(out, settings);
        error_.setDetails({}, reason);
        if (!reason.isEmpty()) return fail(error_, kNotWritten, "Error while writing XML : %1", reason);
        const std::u16string units = kel::fromUtf8(bytes);
        msxml::assign(text, units);
        return true;
    });
}
