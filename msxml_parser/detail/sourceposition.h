// A place in a document.
#pragma once

namespace msxml {

struct SourcePosition {
    int line = 0;  // from 1; 0: unknown
    int column = 0;
};

}  // namespace msxml
