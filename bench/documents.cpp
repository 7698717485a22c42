#include "bench/documents.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tools/catalogue/catalogue.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

struct RealDocument {
    std::string_view name;
    std::string_view path;
    std::string_view package;
};

constexpr std::array kRealDocuments{
    RealDocument{"docbook.xsd", "/usr/share/xml/docbook/schema/xsd/5.0/docbook.xsd", "docbook5-xml"},
    RealDocument{"vk.xml", "/usr/share/vulkan/registry/vk.xml", "libvulkan-dev"},
    RealDocument{"gl.xml", "/usr/share/khronos-api/gl.xml", "khronos-api"},
    RealDocument{"Gio-2.0.gir", "/usr/share/gir-1.0/Gio-2.0.gir", "libgirepository1.0-dev"},
};

constexpr std::uint64_t kMegabyte = 1'000'000;
constexpr std::string_view kCatalogue = "catalogue-30MB";

std::string catalogueName(std::uint64_t lengthInBytes) {
    return "catalogue-" + (lengthInBytes % kMegabyte == 0 ? std::to_string(lengthInBytes / kMegabyte) + "MB"
                                                          : std::to_string(lengthInBytes));
}

constexpr std::uint64_t kNamespacesLengthInBytes = 20 * kMegabyte;

// Ten elements an entry: five with a prefix, one of them declares it anew; the others are in the default
// namespace. Some attributes have a prefix, too.
void writeNamespaces(std::ofstream& file) {
    file << "<?xml version=\"1.0\"?>\n<stock xmlns=\"urn:example:stock\" xmlns:p=\"urn:example:part\" "
            "xmlns:q=\"urn:example:quantity\">\n";
    for (std::uint64_t entry = 0; static_cast<std::uint64_t>(file.tellp()) < kNamespacesLengthInBytes;
         ++entry) {
        const std::string number = std::to_string(entry);
        const std::string maker = std::to_string(entry % 97);
        file << "  <m:entry xmlns:m=\"urn:example:maker:" << maker << "\" m:id=\"" << number << "\">\n"
             << "    <p:part p:code=\"KX-" << number << "\"><name>Bracket " << maker << "</name><p:size>"
             << entry % 40 << "</p:size></p:part>\n"
             << "    <place><shelf>" << entry % 13 << "</shelf><m:row>" << entry % 7 << "</m:row></place>\n"
             << "    <q:count unit=\"piece\">" << entry % 1000 << "</q:count>\n"
             << "    <note/><checked by=\"Jo\"/>\n"
             << "  </m:entry>\n";
    }
    file << "</stock>\n";
}

}  // namespace

const std::vector<std::string>& Documents::names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        for (const RealDocument& document : kRealDocuments) list.emplace_back(document.name);
        list.emplace_back(kCatalogue);
        return list;
    }();
    return names;
}

Document Documents::find(std::string_view name) const {
    if (name == kCatalogue) return catalogue(30 * kMegabyte);
    for (const RealDocument& real : kRealDocuments) {
        if (real.name != name) continue;
        std::error_code error;
        const auto length = fs::file_size(real.path, error);
        if (error) {
            throw std::runtime_error(std::string(real.path) + " is absent; the package " +
                                     std::string(real.package) + " has it");
        }
        return {std::string(name), std::string(real.path), length};
    }
    throw std::runtime_error("unknown document " + std::string(name));
}

template <class Write>
Document Documents::generated(const std::string& name, Write write) const {
    const std::string path = folder_ + "/" + name + ".xml";
    if (!fs::exists(path)) {
        // Under another name until it is whole: a run that was stopped leaves no half document behind.
        const std::string partial = path + ".part";
        std::ofstream file(partial, std::ios::binary);
        write(file);
        file.close();
        if (!file) throw std::runtime_error("cannot write " + partial);
        fs::rename(partial, path);
    }
    return {name, path, fs::file_size(path)};
}

Document Documents::catalogue(std::uint64_t lengthInBytes) const {
    return generated(catalogueName(lengthInBytes), [lengthInBytes](std::ofstream& file) {
        catalogue::generate(lengthInBytes, catalogue::kDefaultSeed, [&](std::string_view piece) {
            file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
        });
    });
}

Document Documents::namespaces() const {
    return generated("namespaces", writeNamespaces);
}

}  // namespace bench
