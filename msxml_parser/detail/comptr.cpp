#include "msxml_parser/detail/comptr.h"

namespace msxml {

void raiseNullReference() {
    _com_issue_error(E_POINTER);
    throw _com_error(E_POINTER);  // reached where the platform does not promise that the call above throws
}

void raise(HRESULT status, IUnknown* object, REFIID iid) {
    _com_issue_errorex(status, object, iid);
    throw _com_error(status);  // likewise
}

}  // namespace msxml
