// The format: seven 32-bit numbers (magic, revision, count, offsets of two tables, size and offset of a hash
// table that we do not need), then two tables of (length, offset), the one of keys sorted. Either byte order.
// Texts end with a NUL that their length does not count; a text with plural forms has further NULs inside.
// The key "" has the header.
#include "host/detail/catalogue.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/text.h"

namespace kelhost {

namespace {

constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::uint32_t kSwappedMagic = 0xde120495;
constexpr std::uint64_t kHeaderInBytes = 28;
constexpr std::uint64_t kDescriptorInBytes = 8;
constexpr std::uintmax_t kLargestInBytes = std::uintmax_t{64} << 20;

std::uint32_t numberAt(std::string_view bytes, std::uint64_t offset, bool isSwapped) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    if (!isSwapped) return number;
    return number >> 24 | (number >> 8 & 0xFF00u) | (number << 8 & 0xFF0000u) | number << 24;
}

bool isSwapped(std::string_view content) {
    if (content.size() < kHeaderInBytes) throw std::runtime_error("too short for a message catalogue");
    const std::uint32_t magic = numberAt(content, 0, false);
    if (magic != kMagic && magic != kSwappedMagic) throw std::runtime_error("not a message catalogue");
    return magic == kSwappedMagic;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

}  // namespace

Catalogue Catalogue::read(const std::filesystem::path& file) {
    const std::string name = utf8Of(file);
    std::error_code unknown;
    const std::uintmax_t size =
        std::filesystem::file_size(file, unknown);  // only a file has one: a pipe would block
    if (unknown) throw std::runtime_error(name + ": " + unknown.message());
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error(name + ": " + std::generic_category().message(errno));
    if (size > kLargestInBytes) throw std::runtime_error(name + ": too long for a message catalogue");
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!stream.read(content.data(), static_cast<std::streamsize>(size)))
        throw std::runtime_error(name + ": cannot be read to its end");
    try {
        return parse(std::move(content));
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
}

Catalogue::Range Catalogue::checkedRange(std::uint64_t descriptor, bool isSwapped) const {
    const std::uint64_t length = numberAt(content_, descriptor, isSwapped);
    const std::uint64_t offset = numberAt(content_, descriptor + 4, isSwapped);
    if (offset + length >= content_.size() || content_[offset + length] != '\0')
        throw std::runtime_error("a text lies outside the file");
    return {static_cast<std::uint32_t>(offset),
            static_cast<std::uint32_t>(std::strlen(content_.data() + offset))};  // without plural forms
}

void Catalogue::checkEncoding() const {
    std::string header(find(""));
    std::ranges::transform(header, header.begin(), lower);
    constexpr std::string_view kField = "charset=";
    const std::size_t field = header.find(kField);
    const std::string_view encoding =
        std::string_view(header).substr(field == std::string::npos ? header.size() : field + kField.size());
    if (!encoding.starts_with("utf-8") && !encoding.starts_with("utf8"))
        throw std::runtime_error("its encoding is not UTF-8");
}

Catalogue Catalogue::parse(std::string content) {
    Catalogue catalogue;
    const bool swapped = isSwapped(content);
    catalogue.content_ = std::move(content);
    const std::string& bytes = catalogue.content_;
    if (numberAt(bytes, 4, swapped) >> 16 > 1) throw std::runtime_error("a format that is not known");
    const std::uint64_t count = numberAt(bytes, 8, swapped);
    const std::uint64_t keys = numberAt(bytes, 12, swapped);
    const std::uint64_t texts = numberAt(bytes, 16, swapped);
    if (std::max(keys, texts) + count * kDescriptorInBytes > bytes.size())
        throw std::runtime_error("a table lies outside the file");
    catalogue.entries_.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        catalogue.entries_.push_back({catalogue.checkedRange(keys + i * kDescriptorInBytes, swapped),
                                      catalogue.checkedRange(texts + i * kDescriptorInBytes, swapped),
                                      numberAt(bytes, texts + i * kDescriptorInBytes, swapped)});
    }
    // The usual tools write it sorted.
    std::ranges::stable_sort(catalogue.entries_, {},
                             [&](const Entry& entry) { return catalogue.at(entry.key); });
    catalogue.checkEncoding();
    if (const std::string_view forms = catalogue.headerField("Plural-Forms:"); !forms.empty())
        catalogue.rule_ = PluralRule(forms);
    return catalogue;
}

std::string_view Catalogue::find(std::string_view key) const noexcept {
    const auto found =
        std::ranges::lower_bound(entries_, key, {}, [this](const Entry& entry) { return at(entry.key); });
    return found != entries_.end() && at(found->key) == key ? at(found->text) : std::string_view();
}

std::string_view Catalogue::find(std::string_view key, std::uint64_t count) const noexcept {
    const auto found =
        std::ranges::lower_bound(entries_, key, {}, [this](const Entry& entry) { return at(entry.key); });
    if (found == entries_.end() || at(found->key) != key) return {};
    std::string_view forms = at({found->text.offset, found->lengthOfForms});
    for (std::size_t skipped = rule_.formFor(count); skipped > 0; --skipped) {
        const std::size_t end = forms.find('\0');
        if (end == std::string_view::npos) break;
        forms.remove_prefix(end + 1);
    }
    return forms.substr(0, forms.find('\0'));
}

std::string_view Catalogue::headerField(std::string_view name) const noexcept {
    const std::string_view header = find("");
    const std::size_t field = header.find(name);
    if (field == std::string_view::npos) return {};
    return header.substr(field + name.size(), header.find('\n', field) - field - name.size());
}

std::vector<std::string_view> Catalogue::keys() const {
    std::vector<std::string_view> keys;
    keys.reserve(entries_.size());
    for (const Entry& entry : entries_) keys.push_back(at(entry.key));
    return keys;
}

}  // namespace kelhost
