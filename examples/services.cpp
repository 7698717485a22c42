// A host with its standard services set up: language, settings, directories, reports, memory.
#include <cstdio>
#include <exception>

#include "KelBasicTypes/ikeldatareceiver.h"
#include "KelBasicTypes/oxadatareceiver.h"
#include "framework/object/implements.h"
#include "host/directoryservice.h"
#include "host/errorservice.h"
#include "host/host.h"
#include "host/memory.h"
#include "host/settings.h"
#include "host/text.h"
#include "msxml_parser/msxml_parser.h"

namespace {

// [begin receiver]
class ShelfWidth final : public kel::Implements<ShelfWidth, IKelDataReceiver> {
public:
    static constexpr const char* kClassName = "ShelfWidth";
    std::int32_t dataChanged(const char* key, double value) override {
        std::printf("%s is %g now\n", key, value);
        return 0;
    }
};
// [end receiver]

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) return std::fputs("usage: services LIBRARY SETTINGS\n", stderr), 2;
    // [begin options]
    kelhost::HostOptions options;
    options.languages = "de_AT:fr";  // of messages; empty: what the user has chosen
    options.settingsFile = argv[2];  // a bad one is rejected: "app.settings:3:1: the setting has no name"
    kelhost::Host host(options);
    host.offer("IKelErrorService", *new kelhost::ErrorService([](const kelhost::Report& report) {
                   std::printf("%s\n", report.message.c_str());  // UTF-8
               }));
    host.leaveOut("IKelAssertHandlerCB");  // a failed assertion ends the process then
    host.load(argv[1]);
    // [end options]

    // [begin settings]
    const IPtr<ShelfWidth> width(new ShelfWidth);
    host.settings().addReceiver(width.get(), "Shelf/Width");
    host.settings().set("Shelf/Width", "80");
    std::printf("%s\n", host.settings().readBool("Shelf/Sorted", false) ? "sorted" : "unsorted");
    // [end settings]

    // [begin changes]
    OxaDataReceiver changes(host.settings());
    changes.receive("Shelf/Height", [](double height) { std::printf("%g high\n", height); });
    host.settings().set("Shelf/Height", "200");
    // [end changes]

    // [begin others]
    host.directories().set("temp",
                           "/var/tmp");  // "temp", "config", "cache" and others have the platform's own
    host.memory().addReclaimer([] {
        return std::size_t{0};  // free what the application can do without, and say how much that was
    });
    host.setLanguages("ja");  // while components are in use, too
    // [end others]
    const auto parser = host.create<IKelDOMXmlV2>("MSDOMXml");
    if (parser->loadFromString(u"<shelf>")) return 1;
    std::printf("%s\n", kelhost::toUtf8(parser->getError()->getMessage()).c_str());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
