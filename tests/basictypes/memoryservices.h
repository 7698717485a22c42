// Services of a host around memory and directories, for tests. Each lives on the heap, held by an IPtr.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "KelBasicTypes/idatastore.h"
#include "KelBasicTypes/igfxrenderer.h"
#include "KelBasicTypes/ikeldatareceiver.h"
#include "KelBasicTypes/ikeldirservice.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/imemchecker.h"
#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"

class FakeSettings final : public kel::Implements<FakeSettings, IDataStore> {
public:
    static constexpr const char* kClassName = "FakeSettings";

    bool readBool(const char* key, bool fallback) override {
        return texts.count(key) == 0 ? fallback : texts[key] == "true";
    }
    double readDouble(const char* key, double fallback) override {
        return numbers.count(key) == 0 ? fallback : numbers[key];
    }
    void readText(const char* key, KelString& result) override {
        result = std::u16string_view(kel::fromUtf8(texts.count(key) == 0 ? "" : texts[key]));
    }
    void addReceiver(IKelDataReceiver* added, const char* key) override {
        receiver = added;
        receiverKey = key;
    }

    std::map<std::string, std::string> texts;
    std::map<std::string, double> numbers;
    IPtr<IKelDataReceiver> receiver;
    std::string receiverKey;
};

class FakeDirService final : public kel::Implements<FakeDirService, IKelDirService> {
public:
    static constexpr const char* kClassName = "FakeDirService";

    std::string directory(const std::string& name) override { return "/special/" + name; }
};

class FakeMemChecker final : public kel::Implements<FakeMemChecker, IMemChecker> {
public:
    static constexpr const char* kClassName = "FakeMemChecker";

    bool isAvailable() override { return knows; }
    void figures(MemoryFigures& result, std::uint32_t divisor) override {
        result = {10'240'000 / divisor, 20'480'000 / divisor, 1024 / divisor, 123456789012ULL / divisor};
    }

    bool knows = true;
};

class FakeManager final : public kel::Implements<FakeManager, KelMM::IKelMManager> {
public:
    static constexpr const char* kClassName = "FakeManager";

    bool giveMemoryBack() override {
        ++asked;
        return asked <= willing;
    }
    std::uint32_t coreLimit() override { return 10; }
    std::uint32_t swapLimit() override { return 20; }
    std::uint32_t swapInUse() override { return 4'000'000'000U; }
    std::uint32_t coreInUse() override { return 1; }

    int asked = 0;
    int willing = 0;
};

// Say on standard error what happens to them.
class FakeErrorService final : public kel::Implements<FakeErrorService, IKelErrorService> {
public:
    static constexpr const char* kClassName = "FakeErrorService";

    void report(const KelString& message, const std::int32_t& level, const char* operation) override;
};

class FakeRenderer final : public kel::Implements<FakeRenderer, IGfxRenderer> {
public:
    static constexpr const char* kClassName = "FakeRenderer";

    void beforeReport() override;
    void afterMessageBox() override;
};
