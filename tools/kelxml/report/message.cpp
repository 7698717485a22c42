#include "tools/kelxml/report/message.h"

#include "KelBasicTypes/keltrivialtranslator.h"
#include "KelBasicTypes/message.h"
#include "framework/object/iptr.h"
#include "host/messages.h"
#include "host/text.h"

#include "tools/kelxml/platform/files.h"

namespace kelxml {

namespace {

// The environment says which languages.
kelhost::Messages messagesOf(std::string_view domain) {
    return {domain, kelhost::catalogueFoldersNear(programFolder() / "kelxml")};
}

// Read on first use.
const kelhost::Messages& messages() {
    static const kelhost::Messages catalogues = messagesOf("kelxml");
    return catalogues;
}

class BasicTypesTranslator final : public KelTrivialTranslator {
public:
    bool lookUp(const char* key, KelString& result) override {
        result = kelhost::fromUtf8(messages_.text(key));
        return true;
    }

private:
    const kelhost::Messages messages_ = messagesOf("msxml_parser");
};

}  // namespace

void translateBasicTypes() {
    const IPtr<IKelTranslator> translator(new BasicTypesTranslator);
    kel::setCurrentTranslator(translator.get());
}

std::string tr(const char* key) {
    return std::string(messages().text(key));
}

std::string pluralText(const char* one, const char* several, std::uint64_t count) {
    return std::string(messages().text(one, several, count));
}

std::string completed(std::string_view text, std::initializer_list<std::string_view> arguments) {
    return kelhost::fillIn(text, {arguments.begin(), arguments.size()});
}

}  // namespace kelxml
