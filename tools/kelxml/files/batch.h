// Many files, one verb: side by side on several threads, and yet what each writes, on standard output and on
// standard error, comes whole and in the order of the files. One that is rejected is reported and the others
// have their turn; the exit status is the worst.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/kelxml/report/diagnostic.h"
#include "tools/kelxml/report/output.h"
#include "tools/kelxml/report/progress.h"

namespace kelxml {

class Channel;

// The work on one file. Threads: the one that works on the file.
class Task {
public:
    Task(std::string file, bool isOneOfSeveral, Channel& channel, Progress& progress);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    [[nodiscard]] const std::string& file() const noexcept { return file_; }  // as on the command line
    [[nodiscard]] bool isOneOfSeveral() const noexcept { return isOneOfSeveral_; }
    [[nodiscard]] Output& output() noexcept { return output_; }
    [[nodiscard]] Progress& progress() noexcept { return progress_; }

    // In order with what the output was given before. After an error the file counts as rejected.
    void report(const Diagnostic& diagnostic);
    [[nodiscard]] bool isRejected() const noexcept { return isRejected_; }

private:
    std::string file_;
    bool isOneOfSeveral_;
    Channel& channel_;
    Output output_;
    Progress& progress_;
    bool isRejected_ = false;
};

using Work = std::function<void(Task&)>;

// For the whole program, before any work: how many files are worked on at a time. 0: as many as the system
// has processors, fewer where there is too little to do.
void chooseJobs(unsigned jobs) noexcept;

// Calls what `prepare` returns for each file. `prepare` is called on each thread that works, for what belongs
// to a thread: parsers, compiled schemas. What `prepare` throws leaves as it is, and so does ReaderGone;
// Reported if a file was rejected. "-" can be given only once: Exception, before anything is done.
void forEachFile(const std::vector<std::string>& files, const std::function<Work()>& prepare);

}  // namespace kelxml
