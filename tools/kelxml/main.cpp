// kelxml VERB ... Exit status: 0 done, 1 the document was rejected, 2 wrong usage.
#include <string>
#include <vector>

#include "tools/kelxml/cli/commandline.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/platform/interruption.h"
#include "tools/kelxml/platform/startup.h"
#include "tools/kelxml/report/exception.h"

namespace kelxml {

namespace {

int run(const std::vector<std::string>& arguments) {
    try {
        std::vector<const char*> list;
        list.reserve(arguments.size());
        for (const std::string& argument : arguments) list.push_back(argument.c_str());
        CommandLine line;
        line.parse(static_cast<int>(list.size()), list.data())();
        return kDone;
    } catch (const ReaderGone&) {
        return kDone;
    } catch (const Reported& reported) {
        return reported.status();
    } catch (...) {
        const Exception exception = currentException();
        report(exception.diagnostic());
        return exception.status();
    }
}

}  // namespace

}  // namespace kelxml

// What goes wrong while a failure is being reported (no memory, mostly) may end the program as it likes.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    kelxml::speakUsersLanguage();
    kelxml::ignoreClosedPipes();
    kelxml::removeTemporaryFilesWhenInterrupted();
    return kelxml::run(kelxml::startUp(argc, argv));
}
