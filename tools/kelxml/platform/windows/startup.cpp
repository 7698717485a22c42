#include "tools/kelxml/platform/startup.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <memory>

#include "host/platform/windows/wide.h"

namespace kelxml {

namespace {

struct LocalMemory {
    void operator()(wchar_t** list) const noexcept { (void)LocalFree(static_cast<HLOCAL>(list)); }
};

}  // namespace

std::vector<std::string> startUp(int argc, const char* const* argv) {
    for (std::FILE* const stream : {stdin, stdout, stderr}) (void)_setmode(_fileno(stream), _O_BINARY);
    (void)SetConsoleOutputCP(CP_UTF8);  // no console: nothing to set
    // What came as narrow text has lost what the system's code page lacks.
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalMemory> list(CommandLineToArgvW(GetCommandLineW(), &count));
    if (!list) return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) arguments.push_back(kelhost::platform::utf8FromWide(list.get()[i]));
    return arguments;
}

}  // namespace kelxml
