#include "host/platform/userlanguages.h"

#include "host/detail/languagevariables.h"

namespace kelhost::platform {

std::string userLanguageList() {
    return languageVariables().value_or("");
}

}  // namespace kelhost::platform
