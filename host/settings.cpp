// The store of settings. Changes come one after the other (`changing_`); receivers are called without the
// lock of the values, so that they can read and set.
#include "host/settings.h"

#include <cerrno>
#include <fstream>
#include <limits>
#include <system_error>

#include "host/detail/settingsparser.h"
#include "host/text.h"

namespace kelhost {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestInBytes = std::uintmax_t{16} << 20;

std::string describe(const std::string& file, std::size_t line, std::size_t column,
                     const std::string& reason) {
    if (line == 0) return file + ": " + reason;
    return file + ':' + std::to_string(line) + ':' + std::to_string(column) + ": " + reason;
}

std::string contentOf(const fs::path& file) {
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(file, failure);  // only a file has one: a pipe would block
    if (failure) throw SettingsError(utf8Of(file), 0, 0, failure.message());
    if (size > kLargestInBytes) throw SettingsError(utf8Of(file), 0, 0, "too long for a settings file");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw SettingsError(utf8Of(file), 0, 0, std::generic_category().message(errno));
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!stream.read(content.data(), static_cast<std::streamsize>(size)))
        throw SettingsError(utf8Of(file), 0, 0, "cannot be read to its end");
    return content;
}

double announcedValue(const std::optional<std::string>& text) {
    if (text) {
        if (const auto number = numberOf(*text)) return *number;
        if (const auto isTrue = truthValueOf(*text)) return *isTrue ? 1 : 0;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

SettingsError::SettingsError(const std::string& file, std::size_t line, std::size_t column,
                             const std::string& reason)
    : std::runtime_error(describe(file, line, column, reason)), line_(line), column_(column) {}

void Settings::load(const fs::path& file) {
    parse(contentOf(file), utf8Of(file));
}

void Settings::parse(std::string_view content, const std::string& name) {
    replaceAll(parseSettings(content, name));
}

void Settings::replaceAll(Values values) {
    const std::lock_guard change(changing_);
    std::vector<std::string> changed;
    {
        const std::unique_lock guard(lock_);
        for (const auto& [key, value] : values_) {
            const auto now = values.find(key);
            if (now == values.end() || now->second != value) changed.push_back(key);
        }
        for (const auto& [key, value] : values) {
            if (!values_.contains(key)) changed.push_back(key);
        }
        values_.swap(values);
    }
    notify(changed);
}

void Settings::set(const std::string& key, std::string value) {
    const std::lock_guard change(changing_);
    {
        const std::unique_lock guard(lock_);
        const auto [known, isNew] = values_.try_emplace(key);
        if (!isNew && known->second == value) return;
        known->second = std::move(value);
    }
    notify({key});
}

void Settings::remove(const std::string& key) {
    const std::lock_guard change(changing_);
    {
        const std::unique_lock guard(lock_);
        if (values_.erase(key) == 0) return;
    }
    notify({key});
}

std::optional<std::string> Settings::text(const std::string& key) const {
    const std::shared_lock guard(lock_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

bool Settings::readBool(const char* key, bool fallback) {
    const std::optional<std::string> value = text(key);
    return value ? truthValueOf(*value).value_or(fallback) : fallback;
}

double Settings::readDouble(const char* key, double fallback) {
    const std::optional<std::string> value = text(key);
    return value ? numberOf(*value).value_or(fallback) : fallback;
}

void Settings::readText(const char* key, KelString& result) {
    result = fromUtf8(text(key).value_or(std::string()));
}

void Settings::addReceiver(IKelDataReceiver* receiver, const char* key) {
    if (receiver == nullptr) return;
    const std::unique_lock guard(lock_);
    receivers_.emplace_back(key, receiver);
}

void Settings::removeReceiver(IKelDataReceiver* receiver) {
    if (receiver != nullptr) removeReceiver(*receiver);
}

void Settings::removeReceiver(IKelDataReceiver& receiver) {
    // Destroyed after the lock is free: the last release may come back here.
    std::vector<std::pair<std::string, IPtr<IKelDataReceiver>>> removed;
    const std::unique_lock guard(lock_);
    for (auto& entry : receivers_) {
        if (entry.second.get() == &receiver) removed.push_back(entry);
    }
    std::erase_if(receivers_, [&](const auto& entry) { return entry.second.get() == &receiver; });
}

std::vector<IPtr<IKelDataReceiver>> Settings::receiversOf(const std::string& key) const {
    const std::shared_lock guard(lock_);
    std::vector<IPtr<IKelDataReceiver>> found;
    for (const auto& [wanted, receiver] : receivers_) {
        if (wanted == key) found.push_back(receiver);
    }
    return found;
}

void Settings::notify(const std::vector<std::string>& changedKeys) {
    for (const std::string& key : changedKeys) {
        const double value = announcedValue(text(key));
        for (const IPtr<IKelDataReceiver>& receiver : receiversOf(key))
            (void)receiver->dataChanged(key.c_str(), value);
    }
}

}  // namespace kelhost
