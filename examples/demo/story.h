// How the demo talks: numbered steps, what each shows, and lines that fit a terminal.
#pragma once

#include <chrono>
#include <string>

#include "framework/object/iptr.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikeldomxmlelementitr.h"

namespace demo {

using Parser = IPtr<IKelDOMXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;
using Children = IPtr<IKelDOMXmlElementItr>;

// Begins the next step. `shows` is a sentence about what comes.
void step(const char* title, const char* shows);

// One line, indented.
void say(const std::string& line);

// Fit for one line of a terminal, at most `limit` characters.
[[nodiscard]] std::string shortened(const KelString& text, std::size_t limit = 50);

// "<name attribute="..."> text"
[[nodiscard]] std::string describe(IKelDOMXmlElement& element);

// The element's name, the prefix of it with its colon, and the namespace if the element itself declares it.
[[nodiscard]] std::u16string nameOf(IKelDOMXmlElement& element);
[[nodiscard]] std::u16string prefixOf(IKelDOMXmlElement& element);
[[nodiscard]] std::u16string namespaceOf(IKelDOMXmlElement& element);

// "error 3: Error while reading ...", as the parser words it.
[[nodiscard]] std::string describeError(IKelDOMXml& parser);

inline constexpr const char16_t* kSchemaNamespace = u"http://www.w3.org/2001/XMLSchema";

class StopWatch {
public:
    [[nodiscard]] std::string elapsed() const;  // "3.1 ms"

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

[[nodiscard]] std::string kilobytes(double sizeInBytes);

}  // namespace demo
