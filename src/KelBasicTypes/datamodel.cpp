#include "KelBasicTypes/datamodel.h"

#include <cstdio>

namespace kel {

std::string dataTagText(DataTag tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(tag >> shift & 0xFF);
        if (byte < 0x20 || byte > 0x7E) {
            char number[sizeof "0x00000000"];
            std::snprintf(number, sizeof number, "0x%08X", tag);
            return number;
        }
        text += static_cast<char>(byte);
    }
    return text;
}

std::string dataKindText(DataKind kind) {
    switch (kind) {
        case DataKind::Block:
            return "block";
        case DataKind::Bool:
            return "bool";
        case DataKind::Integers:
            return "integers";
        case DataKind::Reals:
            return "reals";
        case DataKind::Text:
            return "text";
        case DataKind::Bytes:
            return "bytes";
        case DataKind::ClassId:
            return "class-id";
    }
    return "kind " + std::to_string(static_cast<int>(kind));
}

}  // namespace kel
