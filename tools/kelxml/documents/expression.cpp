#include "tools/kelxml/documents/expression.h"

#include "host/text.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

constexpr std::string_view kDeclaration = "xmlns";

Prefixes declaredBy(IKelDOMXmlElement& root) {
    Prefixes declared;
    const int count = root.getAttributeCount();
    for (int i = 0; i < count; ++i) {
        const std::string name = kelhost::toUtf8(root.getAttributeName(i));
        const std::string uri = kelhost::toUtf8(root.getAttributeValue(i));
        if (name == kDeclaration)
            declared["_"] = uri;
        else if (name.starts_with("xmlns:"))
            declared[name.substr(kDeclaration.size() + 1)] = uri;
    }
    return declared;
}

}  // namespace

Prefixes parsePrefixes(const std::vector<std::string>& given) {
    Prefixes prefixes;
    for (const std::string& each : given) {
        const std::size_t equals = each.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == each.size())
            throw Exception(kWrongUsage, tr("expected PREFIX=URI, found '%1'", each));
        prefixes[each.substr(0, equals)] = each.substr(equals + 1);
    }
    return prefixes;
}

Prefixes declarePrefixes(IKelDOMXmlV3& document, const Prefixes& given) {
    Prefixes prefixes = given;
    prefixes.merge(declaredBy(*ElementPtr(document.getRootElement())));
    for (const auto& [prefix, uri] : prefixes) {
        const bool isTaken = document.setPrefix(kelhost::fromUtf8(prefix), kelhost::fromUtf8(uri));
        if (!isTaken && given.contains(prefix))
            throw Exception(kWrongUsage, tr("'%1' cannot be a prefix", prefix));
    }
    return prefixes;
}

Exception expressionException(IKelDOMXmlV3& document, const std::string& expression) {
    Diagnostic diagnostic = diagnosticOf(document, {});
    diagnostic.reason = tr("expression '%1': %2", expression, diagnostic.reason);
    diagnostic.column = 0;  // the expression's, not the file's; the reason has it
    return {kRejected, diagnostic};
}

std::vector<IPtr<IKelDOMXmlElementV2>> selectElements(IKelDOMXmlV3& document, const std::string& expression) {
    const IPtr<IKelDOMXmlElementItrV2> found(document.select(kelhost::fromUtf8(expression), nullptr));
    if (found.get() == nullptr) throw expressionException(document, expression);
    std::vector<IPtr<IKelDOMXmlElementV2>> elements;
    while (IPtr<IKelDOMXmlElementV2> element{found->takeNext()}) elements.push_back(std::move(element));
    return elements;
}

}  // namespace kelxml
