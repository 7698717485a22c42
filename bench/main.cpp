// bench [--data FOLDER] [--json FILE] [--ours] [--list] [ROW-PREFIX...]
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "bench/child.h"
#include "bench/documents.h"
#include "bench/rows.h"
#include "bench/suite.h"

namespace {

struct Options {
    std::string dataFolder = "bench-data";
    std::string jsonPath;
    std::vector<std::string> prefixes;
    bool list = false;
    bench::Peers peers = bench::Peers::Run;
};

bool parse(const std::vector<std::string>& arguments, Options& options) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == "--list")
            options.list = true;
        else if (argument == "--ours")
            options.peers = bench::Peers::LeaveOut;
        else if (argument == "--data" && hasValue)
            options.dataFolder = arguments[++i];
        else if (argument == "--json" && hasValue)
            options.jsonPath = arguments[++i];
        else if (argument.starts_with("-"))
            return false;
        else
            options.prefixes.push_back(argument);
    }
    return true;
}

bench::Suite allRows(const bench::Documents& documents) {
    bench::Suite suite;
    bench::addLoadRows(suite, documents);
    bench::addSmallRows(suite);
    bench::addColdRows(suite, documents);
    bench::addMemoryRows(suite, documents);
    bench::addWalkRows(suite, documents);
    bench::addHeaderRows(suite, documents);
    bench::addSaveRows(suite, documents);
    bench::addFaithfulRows(suite, documents);
    bench::addBuildRows(suite);
    bench::addSaxRows(suite, documents);
    bench::addTransformRows(suite, documents);
    bench::addValidateRows(suite, documents);
    bench::addGrowthRows(suite, documents);
    bench::addBasicRows(suite);
    bench::addToolRows(suite, documents);
    bench::addThreadRows(suite, documents);
    return suite;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments.front() == bench::kChild)
        return bench::runChild({arguments.begin() + 1, arguments.end()});
    Options options;
    if (!parse(arguments, options)) {
        std::fputs("usage: bench [--data FOLDER] [--json FILE] [--ours] [--list] [ROW-PREFIX...]\n", stderr);
        return 2;
    }
    std::error_code error;
    std::filesystem::create_directories(options.dataFolder, error);
    if (error) {
        std::fprintf(stderr, "bench: cannot make the folder %s: %s\n", options.dataFolder.c_str(),
                     error.message().c_str());
        return 1;
    }
    const bench::Documents documents(options.dataFolder);
    const bench::Suite suite = allRows(documents);
    if (options.list) {
        suite.list();
        return 0;
    }
    return suite.run(options.prefixes, options.jsonPath, options.peers) ? 0 : 1;
}
