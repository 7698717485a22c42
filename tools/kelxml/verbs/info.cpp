// What this program consists of: `kelxml info` and `kelxml --version`.
#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include <CLI/Version.hpp>

#include "KelBasicTypes/classidtext.h"
#include "host/text.h"
#include "tools/kelxml/platform/loadedlibraries.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/verbs/verbs.h"

namespace kelxml {

namespace {

constexpr std::array<std::string_view, 5> kInteresting{"libxml2", "libxslt", "libexslt", "libicuuc",
                                                       "libicui18n"};

// "libxml2 2.9.14" of ".../libxml2.so.2.9.14"; nothing for other libraries.
std::optional<std::string> nameAndVersion(const std::filesystem::path& library) {
    static constexpr std::string_view kMark = ".so.";
    const std::string file = kelhost::utf8Of(library.filename());
    const std::size_t mark = file.find(kMark);
    if (mark == std::string::npos) return std::nullopt;
    const std::string name = file.substr(0, mark);
    if (std::ranges::find(kInteresting, name) == kInteresting.end()) return std::nullopt;
    return name + ' ' + file.substr(mark + kMark.size());
}

std::string libraries() {
    std::string list;
    for (const std::filesystem::path& library : loadedLibraries()) {
        if (const auto known = nameAndVersion(library)) list += *known + ", ";
    }
    return list + "CLI11 " CLI11_VERSION;
}

std::string componentLine(const std::string& path) {
    try {
        const Session session(path);
        return session.component().name() + ' ' + session.component().version() + " (" +
               kelhost::utf8Of(session.libraryPath()) + ')';
    } catch (const Exception& exception) {
        return exception.what();
    }
}

void line(Output& output, const char* label, const std::string& value) {
    output.write(label, Ink::Dim);
    output.write(value + "\n");
}

}  // namespace

void info(Session& session) {
    const kelhost::Component& component = session.component();
    Output output;
    line(output, "component   ", component.name());
    line(output, "version     ", component.version());
    line(output, "identifier  ", kel::classIdText(component.classId()));
    for (const kelhost::ComponentClass& offered : component.classes()) {
        line(output, "class       ", kel::classIdText(offered.id) + "  " + offered.name);
    }
    for (const std::string& service : session.host().serviceNames()) line(output, "service     ", service);
    output.finish();
}

void showVersions(const std::string& component) {
    Output output;
    output.write(std::string("kelxml ") + KELXML_VERSION + '\n');
    const std::string loaded = componentLine(component);  // brings its libraries along
    output.write(tr("component: %1", loaded) + '\n');
    output.write(tr("libraries: %1", libraries()) + '\n');
    output.finish();
}

}  // namespace kelxml
