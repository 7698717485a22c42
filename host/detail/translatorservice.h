// A translator for each component, from the catalogues of the text domain that bears the component's name.
// Threads: all operations may run together.
#pragma once

#include <filesystem>
#include <map>
#include <shared_mutex>
#include <string>
#include <vector>

#include "KelBasicTypes/ikeltranslator.h"
#include "KelBasicTypes/keltrivialtranslator.h"
#include "framework/object/implements.h"
#include "framework/object/iptr.h"
#include "host/messages.h"

namespace kelhost {

// A key without a translation is its own text, read as UTF-8.
class CatalogueTranslator final : public KelTrivialTranslator {
public:
    void use(Messages messages);

    [[nodiscard]] bool hasTranslations() const override;
    bool lookUp(const char* key, KelString& result) override;

private:
    mutable std::shared_mutex lock_;
    Messages messages_;
};

class TranslatorService final : public kel::Implements<TranslatorService, IKelTranslatorService> {
public:
    static constexpr const char* kClassName = "TranslatorService";

    TranslatorService(std::vector<std::filesystem::path> folders, std::vector<std::string> languages)
        : folders_(std::move(folders)), languages_(std::move(languages)) {}

    // Makes a translator for the component, whose library says where else its catalogues may be. Returns what
    // is wrong with its catalogues, a line for each damaged one.
    std::vector<std::string> addComponent(const KelClassId& classId, const std::string& domain,
                                          const std::filesystem::path& library);

    // From now on all translators use these languages. Returns as addComponent does.
    std::vector<std::string> setLanguages(std::vector<std::string> languages);

    IKelTranslator* translatorFor(const KelClassId& componentClassId) override;

private:
    struct Domain {
        KelClassId classId;
        std::string name;
        std::vector<std::filesystem::path> folders;
        IPtr<CatalogueTranslator> translator;  // never null
    };

    [[nodiscard]] std::vector<std::string> refresh(const Domain& domain) const;
    [[nodiscard]] const Domain* find(const KelClassId& classId) const;

    mutable std::shared_mutex lock_;
    std::vector<std::filesystem::path> folders_;  // looked into first
    std::vector<std::string> languages_;
    std::vector<Domain> domains_;  // none is ever removed: components keep their translators
};

}  // namespace kelhost
