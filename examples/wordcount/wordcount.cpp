// A component of one class, on the base whose objects have a state of their own.
// [begin beginning]
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "KelBasicTypes/idatastore.h"
#include "framework/component/componententry.h"
#include "framework/component/kelbasecomponent.h"
#include "framework/object/ikelselftest.h"
#include "ikelwordcounter.h"

namespace {

// Any GUID generator makes these. They never change once the component has users.
constexpr KelClassId kComponentId{
    0x5A0B7C11, 0x3D5E, 0x4C39, {0x9E, 0x21, 0x60, 0x1B, 0x8F, 0x44, 0x0C, 0xD7}};
constexpr KelClassId kWordCounterId{
    0x0F6E2B94, 0x71C8, 0x4D0A, {0x85, 0x3F, 0x2C, 0xB9, 0x17, 0xE0, 0x66, 0x5D}};
constexpr KelClassId kWordCounterTestId{
    0xC4D81A27, 0x96B3, 0x4E7F, {0xA0, 0x58, 0xF3, 0x05, 0x7A, 0x92, 0xBD, 0x1E}};
// [end beginning]

// [begin class]
class WordCounter final : public kel::Implements<WordCounter, IKelWordCounter> {
public:
    static constexpr const char* kClassName = "WordCounter";
    explicit WordCounter(std::size_t shortest) : shortest_(shortest) {}

    void add(const KelString& text) override {
        const KelString lower = text.toLower();  // the host's rules, in every script
        std::u16string word;
        for (std::int32_t at = 0; std::cmp_less_equal(at, lower.length()); ++at) {
            const bool isEnd = std::cmp_equal(at, lower.length()) || lower.isSpace(at);
            if (!isEnd) {
                word += lower[static_cast<std::size_t>(at)];
            } else if (!word.empty()) {
                if (word.size() >= shortest_) ++counts_[word], ++wordCount_;
                word.clear();
            }
        }
    }

    std::int64_t wordCount() const override { return wordCount_; }

    bool frequentWord(std::int32_t rank, KelString& word, std::int64_t& count) const override {
        if (rank < 1 || std::cmp_greater(rank, counts_.size())) return false;
        std::vector<std::pair<std::int64_t, const std::u16string*>> ranking;
        for (const auto& [known, times] : counts_) ranking.emplace_back(-times, &known);
        std::stable_sort(ranking.begin(), ranking.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        const auto& [times, found] = ranking[static_cast<std::size_t>(rank) - 1];
        word = *found;
        count = -times;
        return true;
    }

private:
    std::size_t shortest_;  // in units
    std::map<std::u16string, std::int64_t> counts_;
    std::int64_t wordCount_ = 0;
};
// [end class]

// [begin self-test]
// What a host can run in the field: kelxml selftest does.
class WordCounterTest final : public kel::Implements<WordCounterTest, IKelSelfTest> {
public:
    static constexpr const char* kClassName = "WordCounterTest";

    bool run(std::string& reason) override {
        const IPtr<WordCounter> counter(new WordCounter(1));
        counter->add(u"a rose is a rose");
        KelString word;
        std::int64_t count = 0;
        if (counter->frequentWord(1, word, count) && word == u"a" && count == 2) return true;
        reason = "expected 'a' twice in 'a rose is a rose'";
        return false;
    }
};
// [end self-test]

// [begin component]
class WordCount final : public KelBaseComponent {
public:
    WordCount() : KelBaseComponent({"wordcount", "1.0.0.0", kComponentId}) {
        addClass(kWordCounterId, "WordCounter", [this] { return new WordCounter(shortest_); });
        addSelfTest<WordCounterTest>(kWordCounterTestId, "WordCounterTest");
    }

    void initialize(IKelComponentManager* core) override {
        KelBaseComponent::initialize(core);  // links to the host: from here on it has services
        if (const auto settings = service<IDataStore>())
            shortest_ = static_cast<std::size_t>(std::max(1.0, settings->readDouble("Words/Shortest", 1)));
    }

private:
    std::size_t shortest_ = 1;
};

}  // namespace

extern "C" KEL_COMPONENT_EXPORT int EntryPoint(std::uint32_t* version, IKelComponent** component) {
    return kel::enterComponent(version, component, [] { return new WordCount; });
}
// [end component]
