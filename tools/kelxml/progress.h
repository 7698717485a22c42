// Says on a terminal what is being waited for, and takes it back at the end. Elsewhere it says nothing.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

#include "tools/kelxml/session.h"

namespace kelxml {

// Only where standard output is silent meanwhile: the two may be the same terminal.
class Progress {
public:
    explicit Progress(std::string phase);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void paint(const std::stop_token& stop);

    std::string phase_;
    std::mutex mutex_;
    std::condition_variable_any wake_;
    std::jthread painter_;  // the last member: it stops and is joined before the others go
};

// What InputFile::load answers, which may take a while.
[[nodiscard]] IPtr<IKelDOMXmlV2> loadWithProgress(const Session& session, const InputFile& input);

}  // namespace kelxml
