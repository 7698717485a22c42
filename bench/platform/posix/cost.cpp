// bench_cost OUTPUT COMMAND [ARGUMENT...]: runs a program with standard output into a file, and prints what
// it took: seconds by the clock, seconds of the processors, the peak of resident memory in bytes, and
// its exit status.
//
// A program of its own because Linux counts what was resident before exec into a child's peak: this one is
// smaller than any that it measures.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

int run(const char* output, char** command) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const double start = now();
    pid_t child = 0;
    const int error = posix_spawnp(&child, command[0], &files, nullptr, command, environ);
    if (error != 0) {
        (void)std::fprintf(stderr, "bench_cost: %s: %s\n", command[0], std::strerror(error));
        return 1;
    }
    int status = 0;
    rusage used{};
    if (wait4(child, &status, 0, &used) != child) return 1;
    std::printf("%.6f %.6f %ld %d\n", now() - start, secondsOf(used.ru_utime) + secondsOf(used.ru_stime),
                used.ru_maxrss * 1024, WIFEXITED(status) ? WEXITSTATUS(status) : 128);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        (void)std::fputs("usage: bench_cost OUTPUT COMMAND [ARGUMENT...]\n", stderr);
        return 2;
    }
    return run(argv[1], argv + 2);
}
