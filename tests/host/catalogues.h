// Message catalogues made for tests, and an environment for the languages of a user.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "environment.h"
#include "tests/support/temporaryfolder.h"

namespace kel::test {

inline constexpr const char* kDomain = "samples";

// The bytes of a catalogue.
inline std::string catalogue(std::map<std::string, std::string> texts,
                             const std::string& encoding = "UTF-8") {
    texts[""] = "Content-Type: text/plain; charset=" + encoding + "\n";
    const auto count = static_cast<std::uint32_t>(texts.size());
    std::string keyTable, textTable, bytes;
    const std::uint32_t start = 28 + count * 16;
    const auto number = [](std::uint32_t value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const auto add = [&](std::string& table, const std::string& text) {
        table += number(static_cast<std::uint32_t>(text.size())) +
                 number(start + static_cast<std::uint32_t>(bytes.size()));
        bytes += text + '\0';
    };
    for (const auto& [key, text] : texts) add(keyTable, key), add(textTable, text);
    return number(0x950412de) + number(0) + number(count) + number(28) + number(28 + count * 8) + number(0) +
           number(start) + keyTable + textTable + bytes;
}

// Both return the file's path.
inline std::string writeCatalogueFile(const TemporaryFolder& folder, const std::string& language,
                                      const std::string& bytes, const std::string& domain = kDomain) {
    std::filesystem::create_directories(folder.pathOf(language + "/LC_MESSAGES"));
    return folder.write(language + "/LC_MESSAGES/" + domain + ".mo", bytes);
}
inline std::string writeCatalogue(const TemporaryFolder& folder, const std::string& language,
                                  const std::map<std::string, std::string>& texts,
                                  const std::string& domain = kDomain) {
    return writeCatalogueFile(folder, language, catalogue(texts), domain);
}

// Environment variables for the time of a scope; an empty value unsets one.
class Environment {
public:
    explicit Environment(const std::vector<std::pair<const char*, std::string>>& variables) {
        for (const auto& [name, value] : variables) {
            const char* const before = std::getenv(name);
            before_.emplace_back(name, before != nullptr ? before : "");
            set(name, value);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() {
        for (const auto& [name, value] : before_) set(name, value);
    }

private:
    static void set(const char* name, const std::string& value) {
        value.empty() ? unsetVariable(name) : setVariable(name, value.c_str());
    }
    std::vector<std::pair<const char*, std::string>> before_;
};

}  // namespace kel::test
