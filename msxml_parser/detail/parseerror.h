// The engine's record of a refused document, as texts for a message.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/sourceposition.h"

namespace msxml {

struct RefusalTexts {
    KelString line;
    KelString column;
    KelString reason;  // as the engine gives it
    SourcePosition position;
};

// Raises _com_error if the record cannot be read.
[[nodiscard]] RefusalTexts readRefusal(const ComPtr<IXMLDOMParseError>& record);
[[nodiscard]] KelString readReason(const ComPtr<IXMLDOMParseError>& record);
[[nodiscard]] bool holdsError(const ComPtr<IXMLDOMParseError>& record);

}  // namespace msxml
