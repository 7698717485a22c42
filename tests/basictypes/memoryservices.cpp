#include "memoryservices.h"

#include <cstdio>

void FakeErrorService::report(const KelString& message, const std::int32_t& level, const char* operation) {
    std::fprintf(stderr, "[error %d %s] %s\n", static_cast<int>(level), operation, message.narrow());
}
void FakeRenderer::beforeReport() {
    std::fputs("[before]\n", stderr);
}
void FakeRenderer::afterMessageBox() {
    std::fputs("[after]\n", stderr);
}
