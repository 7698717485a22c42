// The engine's reasons in another language. Here that is English between brackets, so that what was looked up
// and what was filled in can be seen, and what remains without the brackets is what the engine said.
#include "msxml_parser/detail/reasons.h"

#include <array>

#include "KelBasicTypes/keltrivialtranslator.h"
#include "KelBasicTypes/message.h"
#include "tests/component/fixture.h"

namespace {

using namespace component_test;

class Bracketing final : public KelTrivialTranslator {
public:
    bool lookUp(const char* key, KelString& result) override {
        result.assignNarrow(std::string(1, '[') + key + ']');
        return true;
    }
};

class Reasons : public ::testing::Test {
protected:
    Reasons() { kel::setCurrentTranslator(translator_.get()); }
    ~Reasons() override { kel::setCurrentTranslator(nullptr); }

    IPtr<IKelTranslator> translator_{new Bracketing};
};

TEST_F(Reasons, AreTranslatedWithWhatTheySayOfTheDocument) {
    struct Row {
        const char* fault;
        const char* said;
        const char* translated;
    };
    constexpr std::array kRows{
        Row{"a name that is no text of ours, or has placeholders",
            "End tag 'é%2' does not match the start tag 'a comment'.",
            "[End tag 'é%2' does not match the start tag 'a comment'.]"},
        Row{"a text within a text",
            "The text of the element 'e' contains U+0001, which an XML document cannot contain.",
            "[The text of [the element 'e'] contains U+0001, which an XML document cannot contain.]"},
        Row{"the shorter of two texts that fit, or only one of two in one another",
            "Element 'a', attribute 'n': 'x' is not a valid value of the atomic type 'xs:int'.",
            "[Element 'a', attribute 'n': ['x' is not a valid value of the atomic type 'xs:int'.]]"},
        Row{"words of a library", "Start tag expected, '<' not found", "Start tag expected, '<' not found"},
        Row{"only the beginning or the end of a text", "Duplicate attribute 'a'. Again",
            "Duplicate attribute 'a'. Again"},
        Row{"lines of a list, and where they are",
            "/f.xsl, line 12: Entity 'x' is not declared.\nline 3: what\n... and 4 more",
            "/f.xsl, line 12: [Entity 'x' is not declared.]\nline 3: what\n[... and 4 more]"},
        Row{"nothing", "", ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.fault);
        EXPECT_EQ(utf8(msxml::translatedReason(kel::fromUtf8(row.said))), row.translated);
    }
    EXPECT_EQ(utf8(msxml::translatedLocations(wide("/a.xsl, line 12: what\nline 3: what\nwhat"))),
              "[/a.xsl, line 12: ]what\n[line 3: ]what\nwhat");
}

// A reason that is put together elsewhere is in no catalogue, and would stay English.
TEST_F(Reasons, OfTheParserAreAllKnown) {
    constexpr std::array<std::string_view, 34> kMalformed{
        "",
        "<!-- -->",
        "<a>",
        "<a></b>",
        "</a>",
        "<a/><b/>",
        "x<a/>",
        "<a/>x",
        "<a/><!DOCTYPE a>",
        "<!DOCTYPE a><a/>",
        "<a b='1' b='2'/>",
        "<a b='<'/>",
        "<a b=1/>",
        "<a b/>",
        "<a b=''c=''/>",
        "<a 1=''/>",
        "<1/>",
        "<a>< </a>",
        "<a>&b</a>",
        "<a>& </a>",
        "<a>&b;</a>",
        "<a>&#x1;</a>",
        "<a>&#G;</a>",
        "<a>\x01</a>",
        "<a>\xFF</a>",
        "<a>]]></a>",
        "<a><!-- -- --></a>",
        "<a><!x></a>",
        "<a><?1?></a>",
        "<?xml version='2.0'?><a/>",
        "<p:a/>",
        "<a xmlns:p=''/>",
        "<?xml version='1.0' encoding='none'?><a/>",
        "<a><b",
    };
    for (const std::string_view xml : kMalformed) {
        SCOPED_TRACE(xml);
        const DomParser parser = makeDom();
        auto* const newer = kel::queryInterface<IKelDOMXmlV3>(parser.get());
        auto* const error = kel::queryInterface<IKelDOMXmlErrorV2>(parser->getError());
        const auto reason = [&] {
            KelString text;
            EXPECT_FALSE(newer->loadBytes(xml.data(), xml.size(), 0));
            return utf8(error->getReason(text));
        };
        const std::string translated = reason();
        kel::setCurrentTranslator(nullptr);
        EXPECT_EQ(translated, '[' + reason() + ']');
        kel::setCurrentTranslator(translator_.get());
    }
}

}  // namespace
