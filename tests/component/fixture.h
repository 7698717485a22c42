// What the component's tests share: parsers as a user gets them, texts as UTF-8, files that go away.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>

#include "KelBasicTypes/kelstring.h"
#include "KelBasicTypes/utf8.h"
#include "enginetraits.h"
#include "framework/object/iptr.h"
#include "msxml_parser/detail/platformcom.h"
#include "msxml_parser/msxml_parser.h"

namespace component_test {

namespace traits = kel::test::traits;

using DomParser = IPtr<IKelDOMXmlV2>;
using SaxParser = IPtr<IKelSAXXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;
using Elements = IPtr<IKelDOMXmlElementItr>;

inline DomParser makeDom() {
    return DomParser(XmlDOM().getParser());
}
inline SaxParser makeSax() {
    return SaxParser(XmlSAX().getParser());
}

inline KelString wide(std::string_view utf8) {
    return KelString(std::u16string_view(kel::fromUtf8(utf8)));
}
inline std::string utf8(const KelString& text) {
    return kel::toUtf8(text.view());
}
inline std::string utf8(KelString&& text) {
    return utf8(text);
}

inline DomParser load(std::string_view xml) {
    DomParser parser = makeDom();
    EXPECT_TRUE(parser->loadFromString(wide(xml))) << xml << ": " << utf8(parser->getError()->getMessage());
    return parser;
}
inline Element rootOf(const DomParser& parser) {
    return Element(parser->getRootElement());
}

inline std::string saved(const DomParser& parser) {
    KelString out;
    EXPECT_TRUE(parser->saveToString(out));
    return utf8(out);
}

// "code message" of what the parser holds.
template <typename Parser>
std::string errorOf(const Parser& parser) {
    return std::to_string(parser->getError()->getCode()) + ' ' + utf8(parser->getError()->getMessage());
}

// The status that the operation raises; S_OK if it raises none.
template <typename Operation>
HRESULT statusOf(Operation&& operation) {
    try {
        operation();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return S_OK;
}

// Whether the text is `start` followed by what the engine's pattern describes.
inline ::testing::AssertionResult isWith(const std::string& text, const std::string& start,
                                         const char* pattern) {
    if (text.starts_with(start) && std::regex_match(text.substr(start.size()), std::regex(pattern)))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << text << " is not " << start << " followed by " << pattern;
}

// A folder of the test's own.
class Folder final {
public:
    Folder() {
        const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
        path_ = std::filesystem::path(::testing::TempDir()) /
                (std::string("msxml_parser.") + test->test_suite_name() + '.' + test->name());
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] std::string path(std::string_view name) const { return (path_ / name).string(); }
    [[nodiscard]] std::string write(std::string_view name, std::string_view content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    // As text: the parser writes its lines with the system's line ends.
    [[nodiscard]] std::string read(std::string_view name) const {
        std::ostringstream content;
        content << std::ifstream(path(name)).rdbuf();
        return content.str();
    }

private:
    std::filesystem::path path_;
};

}  // namespace component_test
