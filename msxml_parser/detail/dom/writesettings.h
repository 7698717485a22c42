// How a document is to be written, for every engine.
#pragma once

#include <cstdint>
#include <string>

namespace msxml {

struct WriteSettings {
    enum class Declaration : std::uint8_t {
        AsLoaded,
        Never,            // in UTF-8 or UTF-16
        WithoutEncoding,  // and the bytes are UTF-8
    };

    std::u16string encoding;  // empty: the one that the document declares, else UTF-8
    Declaration declaration = Declaration::AsLoaded;
    bool indent = false;                // where it changes nothing; see IKelDOMXmlV3
    std::u16string indentUnit = u"\t";  // tabs or spaces, of one kind, at most 255
};

}  // namespace msxml
