// Messages in the user's language, from gettext catalogues that are keyed by the English texts.
//
//     const kelhost::Messages messages("kelxml", kelhost::catalogueFoldersNear(programFile));
//     std::puts(messages.format("%1: no such file", {name}).c_str());
//
// A catalogue is <folder>/<language>/LC_MESSAGES/<domain>.mo. No locale needs to be installed on the system,
// and nothing of the process is read but its environment, nothing changed. All texts are UTF-8. Threads: a
// Messages object may be used by many threads at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelhost {

class Catalogue;

// The languages of a list, the first choice first: "de_AT.UTF-8:fr" gives de_AT, de, fr. English is the
// language of the keys: "en" or "C" in the list ends it. What is no language's name is left out.
[[nodiscard]] std::vector<std::string> languagesOf(std::string_view list);

// What the user has chosen: on POSIX LANGUAGE, LC_ALL, LC_MESSAGES and LANG, weighed as gettext does; on
// Windows the languages of the user interface. Empty: English.
[[nodiscard]] std::vector<std::string> userLanguages();

// Where the catalogues of a program or library may be: share/locale beside the file's folder and up to two
// folders above, which fits <prefix>/bin, <prefix>/lib, <prefix>/lib/<architecture> and the build tree. Only
// folders that exist.
[[nodiscard]] std::vector<std::filesystem::path> catalogueFoldersNear(const std::filesystem::path& file);

// The text with %1 to %9 replaced by the arguments, whatever their order. A number without an argument stays.
[[nodiscard]] std::string fillIn(std::string_view text, std::span<const std::string_view> arguments);

// The messages of one text domain. Copies share their catalogues.
class Messages {
public:
    Messages() = default;  // every text is its key

    // For each language in turn the first folder that has a catalogue counts. One that is damaged is passed
    // over, see problems().
    Messages(std::string_view domain, std::span<const std::filesystem::path> folders,
             std::span<const std::string> languages = userLanguages());

    // The first translation in the order of the languages, else the key. Lives as long as this object, or the
    // key.
    [[nodiscard]] std::string_view text(std::string_view english) const;

    // The form that the language has for the count; without a translation `one` for 1 and else `several`.
    [[nodiscard]] std::string_view text(std::string_view one, std::string_view several,
                                        std::uint64_t count) const;

    // The text with its arguments filled in.
    [[nodiscard]] std::string format(std::string_view english,
                                     std::initializer_list<std::string_view> arguments) const {
        return fillIn(text(english), {arguments.begin(), arguments.size()});
    }

    // Whether any catalogue was found.
    [[nodiscard]] bool hasTranslations() const noexcept { return !catalogues_.empty(); }

    // One line for each catalogue that could not be used: its path and what is wrong with it.
    [[nodiscard]] const std::vector<std::string>& problems() const noexcept { return problems_; }

private:
    std::vector<std::shared_ptr<const Catalogue>> catalogues_;
    std::vector<std::string> problems_;
};

}  // namespace kelhost
