// A directory of its own for a test, gone with everything in it when the test is over.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace kel::test {

class TempDirectory final {
public:
    TempDirectory() {
        std::random_device random;
        std::filesystem::path path;
        do {
            path = std::filesystem::temp_directory_path() / ("kel-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path));  // false: there is one of that name
        path_ = path.string();
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;
    ~TempDirectory() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] std::string path() const { return path_; }
    [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

[[nodiscard]] inline std::string contentsOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace kel::test
