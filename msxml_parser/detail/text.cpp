#include "msxml_parser/detail/text.h"

#include <string>

namespace msxml {

KelString descriptionOf(const _com_error& error) {
    return KelString(std::u16string_view(descriptionTextOf(error)));
}

KelString trimmedReason(const OLECHAR* message) {
    if (message == nullptr) return {};
    std::u16string_view reason(reinterpret_cast<const char16_t*>(message));  // one unit under two names
    while (!reason.empty() && reason.back() <= u' ') reason.remove_suffix(1);
    return KelString(reason);
}

}  // namespace msxml
