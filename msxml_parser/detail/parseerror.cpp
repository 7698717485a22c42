#include "msxml_parser/detail/parseerror.h"

#include "msxml_parser/detail/bstr.h"

namespace msxml {

RefusalTexts readRefusal(const ComPtr<IXMLDOMParseError>& record) {
    LONG line = 0;
    LONG column = 0;
    check(record->get_line(&line), record);
    check(record->get_linepos(&column), record);
    const SourcePosition position{static_cast<int>(line), static_cast<int>(column)};
    return {KelString(position.line), KelString(position.column), readReason(record), position};
}

KelString readReason(const ComPtr<IXMLDOMParseError>& record) {
    BStr reason;
    check(record->get_reason(reason.receive()), record);
    return KelString(reason.view());
}

bool holdsError(const ComPtr<IXMLDOMParseError>& record) {
    LONG code = 0;
    check(record->get_errorCode(&code), record);
    return code != 0;
}

}  // namespace msxml
