#include "engine/xml2/uri.h"

#include <filesystem>
#include <system_error>

#include "engine/xml2/handles.h"

namespace engine::xml2 {

namespace {

constexpr std::string_view kScheme = "file://";

bool hasScheme(std::string_view text) {
    const std::size_t colon = text.find(':');
    // one letter is a drive, not a scheme
    return colon != std::string_view::npos && colon > 1 && text.find_first_of("/\\") > colon;
}

std::string escaped(const std::string& path) {
    const TextHandle text(orThrow(xmlURIEscapeStr(chars(path), chars("/"))));
    return std::string(view(text.get()));
}

}  // namespace

std::string fileUri(std::string_view path) {
    if (hasScheme(path)) return std::string(path);
    std::string plain(path);
    for (char& c : plain) {
        if (c == '\\') c = '/';
    }
    if (!plain.starts_with('/')) {
        std::error_code failure;
        const std::string directory = std::filesystem::current_path(failure).string();
        if (failure) return plain;  // the system still knows the directory, or says that it is gone
        plain = directory + '/' + plain;
    }
    return std::string(kScheme) + escaped(plain);
}

std::string workingDirectoryUri() {
    return fileUri({});
}

std::string localPath(std::string_view uri) {
    if (!hasScheme(uri)) return std::string(uri);
    constexpr std::string_view kLocalHost = "file://localhost/";
    if (uri.starts_with(kLocalHost)) {
        uri.remove_prefix(kLocalHost.size() - 1);
    } else if (uri.starts_with("file:///")) {
        uri.remove_prefix(kScheme.size());
    } else if (uri.starts_with("file:/") && !uri.starts_with(kScheme)) {
        uri.remove_prefix(5);
    } else {
        return {};
    }
    std::string path(uri.size(), '\0');
    (void)orThrow(xmlURIUnescapeString(uri.data(), static_cast<int>(uri.size()), path.data()));
    path.resize(std::char_traits<char>::length(path.c_str()));
    return path;
}

std::string resolved(const std::string& reference, const std::string& base) {
    const TextHandle uri(xmlBuildURI(chars(reference), chars(base)));
    return std::string(view(uri.get()));
}

std::string displayName(std::string_view uri) {
    const std::string path = localPath(uri);
    if (path.empty()) return std::string(uri);
    return path.ends_with('/') ? std::string() : path;
}

}  // namespace engine::xml2
