// A folder of a test's own that goes away with it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace kel::test {

[[nodiscard]] inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// With the system's line ends as a program sees them. The path is UTF-8.
[[nodiscard]] inline std::string readText(const std::string& path) {
    std::ifstream file(std::filesystem::path(std::u8string(path.begin(), path.end())));
    return {std::istreambuf_iterator<char>(file), {}};
}

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() / ("kel-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));  // false: there is one of that name
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

    // Names and the paths of files are UTF-8. Returns the file's path.
    std::string write(const std::string& name, std::string_view content) const {
        std::ofstream(path_ / std::u8string(name.begin(), name.end()), std::ios::binary) << content;
        return pathOf(name);
    }

    [[nodiscard]] std::string pathOf(const std::string& name) const {
        const std::u8string path =
            (path_ / std::u8string(name.begin(), name.end())).make_preferred().u8string();
        return {path.begin(), path.end()};
    }

    [[nodiscard]] std::size_t fileCount() const {
        const std::filesystem::directory_iterator files(path_);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::filesystem::path path_;
};

}  // namespace kel::test
