#include "host/detail/translatorservice.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "host/text.h"

namespace kelhost {

void CatalogueTranslator::use(Messages messages) {
    const std::unique_lock guard(lock_);
    messages_ = std::move(messages);
}

bool CatalogueTranslator::hasTranslations() const {
    const std::shared_lock guard(lock_);
    return messages_.hasTranslations();
}

bool CatalogueTranslator::lookUp(const char* key, KelString& result) {
    const std::shared_lock guard(lock_);
    result = fromUtf8(messages_.text(key));
    return true;
}

const TranslatorService::Domain* TranslatorService::find(const KelClassId& classId) const {
    const auto found = std::ranges::find(domains_, classId, &Domain::classId);
    return found == domains_.end() ? nullptr : &*found;
}

std::vector<std::string> TranslatorService::refresh(const Domain& domain) const {
    Messages messages(domain.name, domain.folders, languages_);
    std::vector<std::string> problems = messages.problems();
    domain.translator->use(std::move(messages));
    return problems;
}

std::vector<std::string> TranslatorService::addComponent(const KelClassId& classId, const std::string& domain,
                                                         const std::filesystem::path& library) {
    const std::unique_lock guard(lock_);
    if (find(classId) != nullptr) return {};
    std::vector<std::filesystem::path> folders = folders_;
    std::ranges::copy(catalogueFoldersNear(library), std::back_inserter(folders));
    domains_.push_back(
        {classId, domain, std::move(folders), IPtr<CatalogueTranslator>(new CatalogueTranslator)});
    return refresh(domains_.back());
}

std::vector<std::string> TranslatorService::setLanguages(std::vector<std::string> languages) {
    const std::unique_lock guard(lock_);
    languages_ = std::move(languages);
    std::vector<std::string> problems;
    for (const Domain& domain : domains_) std::ranges::move(refresh(domain), std::back_inserter(problems));
    return problems;
}

IKelTranslator* TranslatorService::translatorFor(const KelClassId& componentClassId) {
    const std::shared_lock guard(lock_);
    const Domain* const found = find(componentClassId);
    return found != nullptr ? found->translator.get() : nullptr;
}

}  // namespace kelhost
