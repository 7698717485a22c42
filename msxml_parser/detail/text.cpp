#include "msxml_parser/detail/text.h"

#include <string>

namespace msxml {

KelString descriptionOf(const _com_error& error) {
    const _bstr_t description = error.Description();
    const OLECHAR* const text = description;
    return KelString(toUnits(text, description.length()));
}

}  // namespace msxml
