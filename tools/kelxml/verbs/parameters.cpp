#include "tools/kelxml/verbs/parameters.h"

#include <charconv>
#include <cmath>

#include "host/text.h"
#include "tools/kelxml/report/exception.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

struct Parameter {
    KelString namespaceUri;
    KelString name;
    std::string value;
};

Parameter parse(const std::string& given) {
    const std::size_t brace = given.starts_with('{') ? given.find('}') : std::string::npos;
    const std::size_t nameStart = brace == std::string::npos ? 0 : brace + 1;
    const std::size_t equals = given.find('=', nameStart);
    if (equals == std::string::npos || equals == nameStart)
        throw Exception(kWrongUsage, tr("expected NAME=VALUE, found '%1'", given));
    return {
        kelhost::fromUtf8(nameStart == 0 ? std::string_view() : std::string_view(given).substr(1, brace - 1)),
        kelhost::fromUtf8(std::string_view(given).substr(nameStart, equals - nameStart)),
        given.substr(equals + 1)};
}

double numberIn(const Parameter& parameter) {
    double number = 0;
    const char* const end = parameter.value.data() + parameter.value.size();
    const auto [rest, error] = std::from_chars(parameter.value.data(), end, number);
    if (error != std::errc() || rest != end)
        throw Exception(kWrongUsage, tr("'%1' is not a number", parameter.value));
    return number;
}

bool truthIn(const Parameter& parameter) {
    if (parameter.value != "true" && parameter.value != "false")
        throw Exception(kWrongUsage, tr("'%1' is not one of %2", parameter.value, std::string("true|false")));
    return parameter.value == "true";
}

void require(bool isTaken, const std::string& given) {
    if (!isTaken) throw Exception(kWrongUsage, tr("'%1' does not begin with the name of a parameter", given));
}

}  // namespace

void setParameters(IKelXslStyleSheet& sheet, const Parameters& parameters) {
    for (const std::string& given : parameters.texts) {
        const Parameter each = parse(given);
        require(sheet.setTextParameter(each.name, each.namespaceUri, kelhost::fromUtf8(each.value)), given);
    }
    for (const std::string& given : parameters.numbers) {
        const Parameter each = parse(given);
        require(sheet.setNumberParameter(each.name, each.namespaceUri, numberIn(each)), given);
    }
    for (const std::string& given : parameters.truths) {
        const Parameter each = parse(given);
        require(sheet.setTruthParameter(each.name, each.namespaceUri, truthIn(each)), given);
    }
}

}  // namespace kelxml
