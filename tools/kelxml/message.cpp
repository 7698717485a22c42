#include "tools/kelxml/message.h"

#include "host/messages.h"

#include "tools/kelxml/platform/files.h"

namespace kelxml {

namespace {

// Read on first use; the environment says which languages.
const kelhost::Messages& messages() {
    static const kelhost::Messages catalogues("kelxml",
                                              kelhost::catalogueFoldersNear(programFolder() / "kelxml"));
    return catalogues;
}

}  // namespace

std::string tr(const char* key) {
    return std::string(messages().text(key));
}

std::string pluralText(const char* one, const char* several, std::uint64_t count) {
    return std::string(messages().text(one, several, count));
}

std::string completed(std::string_view text, std::initializer_list<std::string_view> arguments) {
    return kelhost::fillIn(text, {arguments.begin(), arguments.size()});
}

}  // namespace kelxml
