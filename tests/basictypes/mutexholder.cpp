// Holds a named mutex for a test in another process, and never gives it back:
//     mutexholder create|open NAME
// Says "held", then waits to be killed.
#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>

#include "KelBasicTypes/kelmutex.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    KelMutex mutex;
    const bool isThere = argv[1] == std::string_view("create") ? mutex.create(argv[2]) : mutex.open(argv[2]);
    if (!isThere || !mutex.lock()) return 1;
    std::puts("held");
    std::fflush(stdout);
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}
