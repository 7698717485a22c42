// What malformed documents lead to, and in which language.
#include <fstream>

#include "host/text.h"
#include "malformed.h"
#include "steps.h"

namespace demo {

namespace {

std::string outcome(const Stage& stage, const std::filesystem::path& file) {
    const Parser parser = stage.makeParser();
    return parser->loadFromFile(kelhost::fromUtf8(kelhost::utf8Of(file))) ? "loaded?!"
                                                                          : describeError(*parser);
}

}  // namespace

void explain(const Stage& stage, const std::filesystem::path& file) {
    for (const char* language : {"en", "de", "ja"}) {
        stage.host.setLanguages(language);
        say(std::string(language) + "  " + outcome(stage, file));
    }
    stage.host.setLanguages("");
}

void reject(const Stage& stage, const std::string& content) {
    bool isFirst = true;
    for (const MalformedVariant& variant : makeMalformed(content)) {
        const std::filesystem::path file = stage.results / (variant.name + ".xml");
        std::ofstream(file, std::ios::binary) << variant.content;
        say(variant.fault);
        if (isFirst)
            explain(stage, file);
        else
            say("    " + outcome(stage, file));
        isFirst = false;
    }
}

}  // namespace demo
