// Says on a terminal what is being waited for, and takes it back at the end. Elsewhere it says nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kelxml {

class Progress {
public:
    explicit Progress(std::string phase);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // Cheap enough to be called for every element: the terminal sees a few numbers a second.
    void show(std::uint64_t count, const char* unit);

private:
    std::string phase_;
    bool isShown_;
    std::uint64_t calls_ = 0;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace kelxml
