#include "host/assertionhandler.h"

#include <cstdio>

namespace kelhost {

void AssertionHandler::assertionFailed(const char* expression, const char* sourcePath, std::int32_t line) {
    if (receiver_) return receiver_(expression, sourcePath, line);
    std::fprintf(stderr, "assertion failed: %s (%s, line %ld)\n", expression, sourcePath,
                 static_cast<long>(line));
}

}  // namespace kelhost
