#include <cstring>
#include <optional>

#include "KelBasicTypes/detail/heap.h"
#include "KelBasicTypes/detail/spill.h"
#include "KelBasicTypes/directories.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/outofmemory.h"
#include "KelBasicTypes/platform/rawfile.h"

using kel::platform::RawFile;

namespace kel::detail {
namespace {

// Null when the file cannot be created; the name may fail as well, for services and strings take part in it.
void openSpillFile(std::optional<RawFile>& file) noexcept {
    try {
        KelString path;
        makeTempFileName(path);
        file.emplace(path.view(), RawFile::Creation::NewTemporary);
        if (!file->isOpen()) file.reset();
    } catch (...) {
        file.reset();
    }
}

[[noreturn]] void end(std::optional<RawFile>& file, std::size_t attempted, MemoryFailure failure) noexcept {
    file.reset();
    endOutOfMemory(attempted, failure);
}

}  // namespace

void* allocateWithManager(std::size_t sizeInBytes) {
    KelMM::IKelMManager* const manager = memoryManager();
    while (manager != nullptr && manager->giveMemoryBack()) {
        if (void* const block = heapAllocate(sizeInBytes)) return block;
    }
    return nullptr;
}

void moveThroughSpillFile(void*& block, std::size_t oldBytes, std::size_t newBytes) {
    std::optional<RawFile> file;
    openSpillFile(file);
    if (!file) end(file, newBytes, MemoryFailure::SpillNotCreated);
    if (!file->write(block, oldBytes)) end(file, newBytes, MemoryFailure::SpillNotWritten);

    heapRelease(block);
    block = heapAllocate(newBytes);
    if (block == nullptr) block = allocateWithManager(newBytes);
    if (block == nullptr) end(file, newBytes, MemoryFailure::HeapRefused);

    if (!file->seekToStart() || !file->read(block, oldBytes)) {
        heapRelease(block);
        block = nullptr;
        end(file, newBytes, MemoryFailure::SpillNotRead);
    }
    std::memset(static_cast<std::byte*>(block) + oldBytes, 0, newBytes - oldBytes);
}

}  // namespace kel::detail
