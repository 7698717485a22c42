// The documents that rows work on: real ones from Debian packages, and generated ones of any length.
// Threads: one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

struct Document {
    std::string name;  // as rows are named: "Gio-2.0.gir"
    std::string path;
    std::uint64_t lengthInBytes = 0;
};

class Documents {
public:
    // Generated documents are kept in `folder`, which exists, and made when first asked for.
    explicit Documents(std::string folder) : folder_(std::move(folder)) {}

    // Those that every group has a row for; the last one is generated. Not yet looked for.
    [[nodiscard]] static const std::vector<std::string>& names();

    // Throws std::runtime_error naming the file that is absent and the package that has it.
    [[nodiscard]] Document find(std::string_view name) const;
    // A catalogue of this many bytes; throws std::runtime_error when it cannot be written.
    [[nodiscard]] Document catalogue(std::uint64_t lengthInBytes) const;
    // 20 MB in which every second element has a prefix and every tenth declares one; throws likewise.
    [[nodiscard]] Document namespaces() const;
    // Where a row may write a file; it removes it.
    [[nodiscard]] std::string scratchPath(const std::string& name = "scratch.xml") const {
        return folder_ + '/' + name;
    }

private:
    // Made by `write` unless it is there.
    template <class Write>
    [[nodiscard]] Document generated(const std::string& name, Write write) const;

    std::string folder_;
};

}  // namespace bench
