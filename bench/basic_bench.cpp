#include "bench/basic_bench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binnumbers.h"
#include "KelBasicTypes/buffers.h"
#include "KelBasicTypes/kelcondition.h"
#include "KelBasicTypes/kelmutex.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/message.h"

namespace {

using benchmark::State;

// --- The pool
// ------------------------------------------------------------------------------------------------

// Sizes of string buffers: most are short, some hold a line or a paragraph, few a page.
const std::vector<std::size_t>& mixedSizes() {
    static const std::vector<std::size_t> sizes = [] {
        std::mt19937 random(5);
        std::vector<std::size_t> all(1024);
        for (std::size_t i = 0; i < all.size(); ++i) {
            const std::size_t most = i % 16 == 0 ? 8000 : i % 4 == 0 ? 600 : 80;
            all[i] = 2 + random() % most;
        }
        return all;
    }();
    return sizes;
}

constexpr std::size_t kAlive = 8;  // blocks that are in use at a time

void poolTakeGiveBack(State& state) {
    struct Block {
        void* at = nullptr;
        std::int32_t capacity = 0;
    };
    std::array<Block, kAlive> blocks{};
    std::size_t i = 0;
    for (auto _ : state) {
        Block& block = blocks[i % kAlive];
        kel::giveBackBuffer(block.capacity, block.at);
        block.at = kel::takeBuffer(mixedSizes()[i++ % 1024], block.capacity);
        benchmark::DoNotOptimize(block.at);
    }
    for (Block& block : blocks) kel::giveBackBuffer(block.capacity, block.at);
    state.SetItemsProcessed(state.iterations());
}

void mallocFree(State& state) {
    std::array<void*, kAlive> blocks{};
    std::size_t i = 0;
    for (auto _ : state) {
        void*& block = blocks[i % kAlive];
        std::free(block);
        block = std::malloc(mixedSizes()[i++ % 1024]);
        benchmark::DoNotOptimize(block);
    }
    for (void* block : blocks) std::free(block);
    state.SetItemsProcessed(state.iterations());
}

// --- Strings
// -------------------------------------------------------------------------------------------------

constexpr const char16_t* kLine = u"Error while reading C:\\data\\projects\\model.xml  : Line 12, column 40";

template <class Text>
void stringCopy(State& state) {
    const Text source(kLine);
    for (auto _ : state) {
        Text copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Text>
void stringAssign(State& state) {
    const Text longer(kLine);
    const Text shorter(u"a short text");
    Text target;
    for (auto _ : state) {
        target = longer;
        benchmark::DoNotOptimize(target);
        target = shorter;
        benchmark::DoNotOptimize(target);
    }
}

template <class Text>
void stringAppend(State& state) {
    for (auto _ : state) {
        Text text;
        for (int i = 0; i < 32; ++i) text.append(u"some words ");
        benchmark::DoNotOptimize(text);
    }
}

void formatOurs(State& state) {
    const KelString file(u"C:\\data\\projects\\model.xml");
    const KelString line(12);
    const KelString column(40);
    const KelString reason(u"End tag 'b' does not match the start tag 'a'.");
    KelString result;
    for (auto _ : state) {
        kel::translate(result, "Error while reading %1  : Line %2, column %3 : %4", file, line, column,
                       reason);
        benchmark::DoNotOptimize(result);
    }
}

// What std::u16string takes to fill the same places in order.
void formatPlain(State& state) {
    const std::u16string file(u"C:\\data\\projects\\model.xml");
    const std::u16string line(u"12");
    const std::u16string column(u"40");
    const std::u16string reason(u"End tag 'b' does not match the start tag 'a'.");
    const std::array<const std::u16string*, 4> arguments{&file, &line, &column, &reason};
    const char* const key = "Error while reading %1  : Line %2, column %3 : %4";
    std::u16string result;
    for (auto _ : state) {
        result.assign(key, key + std::strlen(key));
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const char16_t place[] = {u'%', static_cast<char16_t>(u'1' + i), 0};
            result.replace(result.find(place), 2, *arguments[i]);
        }
        benchmark::DoNotOptimize(result);
    }
}

// --- Streams
// -------------------------------------------------------------------------------------------------

constexpr std::size_t kStreamBytes = std::size_t{16} << 20;

template <class T>
T swapped(T value) {
    return sizeof(T) == 4 ? static_cast<T>(__builtin_bswap32(static_cast<std::uint32_t>(value)))
                          : static_cast<T>(__builtin_bswap64(value));
}

template <class T>
std::vector<T> numbers() {
    std::vector<T> values(kStreamBytes / sizeof(T));
    std::mt19937_64 random(3);
    for (T& value : values) value = static_cast<T>(random());
    return values;
}

template <class T>
void streamWriteOurs(State& state) {
    const auto values = numbers<T>();
    BinOutputFile out(std::tmpfile());
    for (auto _ : state) {
        const bool done = out.seek(0, true) &&
                          kel::writeNumbers(out, values.data(), sizeof(T), values.size()) &&
                          out.flushBuffer();
        if (!done) state.SkipWithError("not written");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kStreamBytes));
}

template <class T>
void streamWritePlain(State& state) {
    const auto values = numbers<T>();
    std::vector<T> buffer(values.size());
    std::FILE* const file = std::tmpfile();
    for (auto _ : state) {
        std::rewind(file);
        std::transform(values.begin(), values.end(), buffer.begin(), swapped<T>);
        if (std::fwrite(buffer.data(), sizeof(T), buffer.size(), file) != buffer.size())
            state.SkipWithError("short");
    }
    std::fclose(file);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kStreamBytes));
}

template <class T>
std::FILE* filledFile(const std::vector<T>& values) {
    std::FILE* const file = std::tmpfile();
    std::vector<T> buffer(values.size());
    std::transform(values.begin(), values.end(), buffer.begin(), swapped<T>);
    std::fwrite(buffer.data(), sizeof(T), buffer.size(), file);
    std::rewind(file);
    return file;
}

template <class T>
void streamReadOurs(State& state) {
    const auto values = numbers<T>();
    BinInputFile in(filledFile(values));
    std::vector<T> read(values.size());
    for (auto _ : state) {
        in.seek(0, true);
        if (!kel::readNumbers(in, read.data(), sizeof(T), read.size())) state.SkipWithError("short");
        benchmark::DoNotOptimize(read.data());
    }
    if (read != values) state.SkipWithError("other numbers came back");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kStreamBytes));
}

template <class T>
void streamReadPlain(State& state) {
    const auto values = numbers<T>();
    std::FILE* const file = filledFile(values);
    std::vector<T> read(values.size());
    for (auto _ : state) {
        std::rewind(file);
        if (std::fread(read.data(), sizeof(T), read.size(), file) != read.size())
            state.SkipWithError("short");
        std::transform(read.begin(), read.end(), read.begin(), swapped<T>);
        benchmark::DoNotOptimize(read.data());
    }
    std::fclose(file);
    if (read != values) state.SkipWithError("other numbers came back");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kStreamBytes));
}

// --- Condition
// -----------------------------------------------------------------------------------------------

// One turn of ping-pong between two threads.
template <class Lock, class Wait, class Signal>
void roundTrips(State& state, Lock withLock, Wait wait, Signal signal) {
    enum class Turn { Ours, Theirs, Over } turn = Turn::Ours;
    std::thread other([&] {
        withLock([&] {
            while (turn != Turn::Over) {
                while (turn == Turn::Ours) wait();
                if (turn == Turn::Over) break;
                turn = Turn::Ours;
                signal();
            }
        });
    });
    for (auto _ : state) {
        withLock([&] {
            turn = Turn::Theirs;
            signal();
            while (turn == Turn::Theirs) wait();
        });
    }
    withLock([&] { turn = Turn::Over; });
    signal();
    other.join();
}

void conditionOurs(State& state) {
    KelMutex mutex;
    mutex.create();
    KelCondition ping;
    KelCondition pong;
    const std::thread::id us = std::this_thread::get_id();
    const auto isUs = [us] { return std::this_thread::get_id() == us; };
    roundTrips(
        state,
        [&](const auto& body) {
            mutex.lock();
            body();
            mutex.unlock();
        },
        [&] { (isUs() ? pong : ping).wait(mutex); }, [&] { (isUs() ? ping : pong).signal(); });
}

void conditionPlain(State& state) {
    std::mutex mutex;
    std::condition_variable ping;
    std::condition_variable pong;
    const std::thread::id us = std::this_thread::get_id();
    const auto isUs = [us] { return std::this_thread::get_id() == us; };
    roundTrips(
        state,
        [&](const auto& body) {
            const std::lock_guard guard(mutex);
            body();
        },
        [&] {
            std::unique_lock held(mutex, std::adopt_lock);
            (isUs() ? pong : ping).wait(held);
            (void)held.release();  // whoever locked it unlocks it
        },
        [&] { (isUs() ? ping : pong).notify_one(); });
}

void addPair(const std::string& name, void (*ours)(State&), void (*plain)(State&)) {
    benchmark::RegisterBenchmark(("basic/" + name + "/ours").c_str(), ours)->UseRealTime();
    benchmark::RegisterBenchmark(("basic/" + name + "/plain").c_str(), plain)->UseRealTime();
}

}  // namespace

void registerBasicRows() {
    addPair("pool/alone", poolTakeGiveBack, mallocFree);
    addPair("copy", stringCopy<KelString>, stringCopy<std::u16string>);
    addPair("assign", stringAssign<KelString>, stringAssign<std::u16string>);
    addPair("append", stringAppend<KelString>, stringAppend<std::u16string>);
    addPair("format", formatOurs, formatPlain);
    addPair("write32", streamWriteOurs<std::uint32_t>, streamWritePlain<std::uint32_t>);
    addPair("write64", streamWriteOurs<std::uint64_t>, streamWritePlain<std::uint64_t>);
    addPair("read32", streamReadOurs<std::uint32_t>, streamReadPlain<std::uint32_t>);
    addPair("read64", streamReadOurs<std::uint64_t>, streamReadPlain<std::uint64_t>);
    addPair("condition", conditionOurs, conditionPlain);
    // Last: from the first thread on, locks cost more for the rest of the process.
    for (const int threads : {1, 2, 4}) {
        benchmark::RegisterBenchmark("basic/pool/ours", poolTakeGiveBack)->Threads(threads)->UseRealTime();
        benchmark::RegisterBenchmark("basic/pool/plain", mallocFree)->Threads(threads)->UseRealTime();
    }
}
