// The whole story on one document: load, outline, edit, save, validate, transform, stream; then what
// malformed variants of it lead to.
//     demo FILE EXAMPLES RESULTS      EXAMPLES holds style sheet and schema, RESULTS takes what is written
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/host.h"
#include "host/text.h"
#include "msxml_parser/comerror.h"
#include "steps.h"
#include "tools/kelxml/documents/session.h"
#include "tools/kelxml/platform/startup.h"

namespace {

namespace fs = std::filesystem;

using namespace demo;

// Beyond this, steps that cost more than a moment are left to kelxml.
constexpr std::uintmax_t kLongInBytes = 20'000'000;

std::string readFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

fs::path keepStandardInput(const fs::path& results) {
    const kelxml::InputFile input("-");
    fs::path kept = results / "standard-input.xml";
    fs::copy_file(input.path(), kept, fs::copy_options::overwrite_existing);
    return kept;
}

// A document that a tree rejects may still be read as events: one with a DOCTYPE, for instance.
int showRejected(const Stage& stage) {
    step("Why", "The message names the position, in the language of the user.");
    explain(stage, stage.document);
    step("Stream", "As events, what comes before the fault can still be read; a DOCTYPE is none there.");
    (void)stream(stage, stage.document);  // the demo has failed already
    return 1;
}

int showAll(const Stage& stage) {
    step("Load", "A file becomes a tree in memory.");
    const Parser parser = stage.makeParser();
    if (!load(*parser, stage.document))
        return parser->getError()->getCode() == IKelDOMXml::kFileNotReadable ? 1 : showRejected(stage);
    std::error_code unknown;
    const bool isLong = fs::file_size(stage.document, unknown) > kLongInBytes && !unknown;

    step("Outline", "Elements, attributes and texts through light handles; 'kelxml tree' shows it all.");
    outline(*parser);

    step("Edit", "The same handles change the tree.");
    edit(*parser);

    step("Save", "Written, loaded again and compared; 'kelxml save' does the same.");
    const fs::path saved = stage.results / "edited.xml";
    bool isWell = saveAndCompare(stage, *parser, saved);

    step("Validate", "Validated against an XML Schema; 'kelxml validate' does it for many files.");
    isWell = validate(stage, stage.document) && isWell;

    step("Transform", "A style sheet makes a page of it; 'kelxml transform' does it with yours.");
    if (isLong)
        say("left out for a document of this size");
    else
        isWell = report(stage, *parser) && isWell;

    step("Stream", "The same file as events, in constant memory; 'kelxml events --json' feeds programs.");
    isWell = stream(stage, stage.document) && isWell;

    step("Malformed files", "Each is rejected with code, line and column, in the language of the user.");
    reject(stage, isLong ? "<shelf>\n  <book year=\"1815\">Emma</book>\n</shelf>\n" : readFile(saved));
    std::printf("\nWhat was written stands in %s.\n", kelhost::utf8Of(stage.results).c_str());
    return isWell ? 0 : 1;
}

int run(const std::string& file, const fs::path& examples, const fs::path& results) {
    fs::create_directories(results);
    kelhost::Host host;
    const Stage stage{host, host.load(KEL_COMPONENT_LIBRARY),
                      file == "-" ? keepStandardInput(results) : kelhost::pathOf(file), examples, results};
    std::printf("The component %s %s, loaded into the reference host\n", stage.component.name().c_str(),
                stage.component.version().c_str());
    return showAll(stage);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> arguments = kelxml::startUp(argc, argv);
        if (arguments.size() != 4) {
            std::fputs("usage: demo FILE EXAMPLES RESULTS\n", stderr);
            return 2;
        }
        return run(arguments[1], kelhost::pathOf(arguments[2]), kelhost::pathOf(arguments[3]));
    } catch (const _com_error& error) {
        std::fprintf(stderr, "demo: engine error 0x%08X: %s\n", static_cast<unsigned int>(error.Error()),
                     error.ErrorMessage());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo: %s\n", error.what());
    }
    return 1;
}
