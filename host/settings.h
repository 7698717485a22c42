// The settings store: values by slash-separated keys, from a file or set by the application.
//
//     # comment            ("; comment" is one, too)
//     [Memory]
//     MemLimit = 2e9       sets Memory/MemLimit
//     UseErrorService = yes
//     [Directories]
//     Logs Directory = "/var/log/my app "
//
// Files are UTF-8. White space around names and values does not count, unless the value stands in quotes.
// Keys are case-sensitive. Threads: any. A receiver is called on the thread that makes the change, one change
// at a time, and may read and change settings itself.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KelBasicTypes/idatastorev2.h"
#include "KelBasicTypes/ikeldatareceiver.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"

namespace kelhost {

// What() is "file:line:column: what is wrong"; line and column are 0, and left out, if the file cannot be
// read at all.
class SettingsError : public std::runtime_error {
public:
    // Line and column 0 stand for none.
    SettingsError(const std::string& file, std::size_t line, std::size_t column, const std::string& reason);

    [[nodiscard]] std::size_t line() const noexcept { return line_; }      // from 1
    [[nodiscard]] std::size_t column() const noexcept { return column_; }  // from 1, in characters

private:
    std::size_t line_;
    std::size_t column_;
};

class Settings final : public kel::Implements<Settings, IDataStore, IDataStoreV2> {
public:
    static constexpr const char* kClassName = "Settings";

    // Replaces all settings by those of the file and reports the changes to receivers. Throws
    // SettingsError, and changes nothing, for a file that cannot be read, or has a line that is no setting, a
    // key twice, or a value of the wrong type for a key that the component library reads.
    void load(const std::filesystem::path& file);
    void parse(std::string_view content, const std::string& name);  // `name` is what errors call it

    // Receivers get a report if anything changes.
    void set(const std::string& key, std::string value);
    void remove(const std::string& key);
    [[nodiscard]] std::optional<std::string> text(const std::string& key) const;  // UTF-8; empty: not set

    // true, yes, on, 1 and false, no, off, 0 in any case. Like the following one: the fallback for any other
    // text.
    bool readBool(const char* key, bool fallback) override;
    double readDouble(const char* key, double fallback) override;  // with a point, whatever the locale
    void readText(const char* key, KelString& result) override;    // empty if it is not set

    // Receives every change of the setting: its number, 1 or 0 for a truth value, and NaN for any other text
    // or when it is no longer set. Added twice, called twice; null is ignored. The store keeps a reference
    // until the receiver is removed.
    void addReceiver(IKelDataReceiver* receiver, const char* key) override;
    void removeReceiver(IKelDataReceiver& receiver);  // for all keys
    void removeReceiver(IKelDataReceiver* receiver) override;

private:
    using Values = std::map<std::string, std::string, std::less<>>;

    void replaceAll(Values values);
    void notify(const std::vector<std::string>& changedKeys);
    [[nodiscard]] std::vector<IPtr<IKelDataReceiver>> receiversOf(const std::string& key) const;

    std::recursive_mutex changing_;  // held while a change is made and reported; taken before lock_
    mutable std::shared_mutex lock_;
    Values values_;
    std::vector<std::pair<std::string, IPtr<IKelDataReceiver>>> receivers_;
};

}  // namespace kelhost
