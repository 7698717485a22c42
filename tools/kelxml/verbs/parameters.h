// The parameters of a style sheet, as given on the command line.
#pragma once

#include <string>
#include <vector>

#include "msxml_parser/ikelxslstylesheet.h"

namespace kelxml {

// Each is "NAME=VALUE", where a name in a namespace is "{URI}NAME".
struct Parameters {
    std::vector<std::string> texts;
    std::vector<std::string> numbers;
    std::vector<std::string> truths;  // "true" or "false"
};

// Throws Exception (wrong usage) for what is no parameter.
void setParameters(IKelXslStyleSheet& sheet, const Parameters& parameters);

}  // namespace kelxml
