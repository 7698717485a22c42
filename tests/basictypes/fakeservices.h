// Services for tests, each recognisable by its results.
#pragma once

#include <string>

#include "KelBasicTypes/detail/resetbasictypes.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "tests/object/fakehost.h"

// Orders backwards, calls '7' the only digit and '_' the only space, returns "<n>" for n units.
class FakeStrSupport final : public kel::Implements<FakeStrSupport, IKelStrSupport> {
public:
    static constexpr const char* kClassName = "FakeStrSupport";

    std::string& toNarrow(const char16_t* text, std::string& result) override {
        return result = "<" + std::to_string(std::u16string_view(text).size()) + ">";
    }
    std::int32_t compare(const char16_t* a, const char16_t* b) override {
        return std::u16string_view(b).compare(std::u16string_view(a));
    }
    bool isSpace(char16_t unit) override { return unit == u'_'; }
    bool isDigit(char16_t unit) override { return unit == u'7'; }
    void normalise(KelString& text) override { text.append(u"_n"); }
    void toLower(KelString& text) override { text.append(u" lowered"); }
    void toUpper(KelString& text) override { text.append(u" uppered"); }
};

// Puts a mark before each key.
class MarkingTranslator final : public KelTrivialTranslator {
public:
    explicit MarkingTranslator(std::u16string mark) : mark_(std::move(mark)) {}
    bool lookUp(const char* key, KelString& result) override {
        if (std::string_view(key) == "unknown") return false;
        result.assign(std::u16string_view(mark_)).appendNarrow(key);
        return true;
    }

private:
    std::u16string mark_;
};

// A host whose services are looked up afresh; forgets them again before it goes.
class FreshHost {
public:
    FreshHost() { forget(); }
    ~FreshHost() { forget(); }
    FakeHost* operator->() { return &host_; }

private:
    static void forget() {
        kel::detail::resetStringSupport();
        kel::detail::resetTranslator();
        kel::detail::resetDirectories();
        kel::detail::resetMemoryManager();
    }
    FakeHost host_;
};
