#include "bench/machine.h"

#include <expat.h>
#include <libxml/xmlversion.h>
#include <malloc.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <xercesc/util/XercesVersion.hpp>

namespace bench {
namespace {

std::string valueOf(const char* path, std::string_view key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(key)) continue;
        const std::size_t start = line.find_first_not_of(" \t", line.find(':') + 1);
        return start == std::string::npos ? std::string() : line.substr(start);
    }
    return {};
}

std::uint64_t kilobytes(std::string_view key) {
    const std::string text = valueOf("/proc/self/status", key);
    if (text.empty()) throw std::runtime_error("the system does not report how much memory is resident");
    return std::stoull(text) * 1024;
}

std::string programPath() {
    std::array<char, 4096> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0 || static_cast<std::size_t>(length) == path.size())
        throw std::runtime_error("cannot find the running program");
    return {path.data(), static_cast<std::size_t>(length)};
}

// For the shell: in single quotes, those within written outside of them.
std::string quoted(std::string_view text) {
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

}  // namespace

std::string describeMachine() {
    std::string load = "unknown";
    std::ifstream("/proc/loadavg") >> load;
    std::ostringstream text;
    text << valueOf("/proc/cpuinfo", "model name") << ", " << std::thread::hardware_concurrency()
         << " cores, load " << load << "; " << KEL_BENCH_COMPILER << ", " << KEL_BENCH_BUILD_TYPE
         << "\npeers: pugixml " << PUGIXML_VERSION / 1000 << "." << PUGIXML_VERSION % 1000 / 10
         << ", libxml2 " << LIBXML_DOTTED_VERSION << ", expat " << XML_MAJOR_VERSION << "."
         << XML_MINOR_VERSION << "." << XML_MICRO_VERSION << ", Xerces-C " << XERCES_FULLVERSIONDOT;
    return text.str();
}

Residency residency() {
    return {kilobytes("VmRSS:"), kilobytes("VmHWM:")};
}

void resetPeak() {
    std::ofstream file("/proc/self/clear_refs");
    if (!(file << "5" << std::flush)) throw std::runtime_error("/proc/self/clear_refs cannot be written");
}

void trimHeap() noexcept {
    malloc_trim(0);
}

void settleHeap() noexcept {
    // glibc joins the small pieces that were freed when something larger is asked for
    void* volatile larger = std::malloc(std::size_t{64} << 10);
    std::free(larger);
}

KeptHeap::KeptHeap() noexcept {
    constexpr int kMax = 1 << 30;  // bytes
    (void)mallopt(M_MMAP_THRESHOLD, kMax);
    (void)mallopt(M_TRIM_THRESHOLD, kMax);
}

// What the allocator itself settles on after large blocks.
KeptHeap::~KeptHeap() {
    constexpr int kLargestKept = 32 << 20;
    (void)mallopt(M_MMAP_THRESHOLD, kLargestKept);
    (void)mallopt(M_TRIM_THRESHOLD, 2 * kLargestKept);
}

std::string runProgram(const std::string& path, const std::vector<std::string>& arguments) {
    std::string command = quoted(path);
    for (const std::string& argument : arguments) command.append(" ").append(quoted(argument));
    std::FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot start a child process");
    std::string output;
    std::array<char, 4096> piece{};
    for (std::size_t count; (count = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;)
        output.append(piece.data(), count);
    if (pclose(pipe) != 0) throw std::runtime_error("a child process failed: " + command);
    return output;
}

std::string runSelf(const std::vector<std::string>& arguments) {
    return runProgram(programPath(), arguments);
}

}  // namespace bench
