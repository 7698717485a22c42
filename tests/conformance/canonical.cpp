#include "tests/conformance/canonical.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace conformance {

void CanonicalWriter::startElement(std::string_view name, Attributes attributes) {
    std::sort(attributes.begin(), attributes.end());
    text_.append("<").append(name);
    for (const auto& [attribute, value] : attributes) {
        text_.append(" ").append(attribute).append("=\"");
        escaped(value);
        text_ += '"';
    }
    text_ += '>';
}

void CanonicalWriter::endElement(std::string_view name) {
    text_.append("</").append(name).append(">");
}

void CanonicalWriter::characters(std::string_view text) {
    escaped(text);
}

void CanonicalWriter::processingInstruction(std::string_view target, std::string_view data) {
    text_.append("<?").append(target).append(" ").append(data).append("?>");
}

void CanonicalWriter::escaped(std::string_view text) {
    for (const char c : text) {
        switch (c) {
            case '&':
                text_ += "&amp;";
                break;
            case '<':
                text_ += "&lt;";
                break;
            case '>':
                text_ += "&gt;";
                break;
            case '"':
                text_ += "&quot;";
                break;
            case '\t':
                text_ += "&#9;";
                break;
            case '\n':
                text_ += "&#10;";
                break;
            case '\r':
                text_ += "&#13;";
                break;
            default:
                text_ += c;
        }
    }
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file) throw std::runtime_error("cannot read " + path);
    return text;
}

std::string readCanonicalFile(const std::string& path) {
    std::string text = readFile(path);
    constexpr std::string_view kEnd = "]>\n";
    const std::size_t start = text.find("<!DOCTYPE");  // after the instructions that the subset holds
    if (start != std::string::npos) {
        const std::size_t end = text.find(kEnd, start);
        if (end == std::string::npos) throw std::runtime_error(path + " is not in the form expected");
        text.erase(start, end + kEnd.size() - start);
    }
    return text;
}

}  // namespace conformance
