#include "msxml_parser/detail/text.h"

#include <string>

namespace msxml {

KelString descriptionOf(const _com_error& error) {
    return KelString(std::u16string_view(descriptionTextOf(error)));
}

}  // namespace msxml
