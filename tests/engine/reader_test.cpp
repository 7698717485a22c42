// What a reader delivers: the same events from both parsers, in every piece size and encoding; limits; good
// manners.
#include <gtest/gtest.h>
#include <iconv.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "engine/source/errors.h"
#include "engine/text/utf.h"
#include "tests/engine/parser_agreement.h"
#include "tests/engine/reader_log.h"

namespace engine::reader::test {
namespace {

using Parser = ReadOptions::Parser;

constexpr std::size_t kChunks[] = {1, 2, 3, 7, 64, 65536};

ReadOptions with(Parser parser, std::size_t chunk = 65536) {
    ReadOptions options;
    options.dtd = ReadOptions::Dtd::Internal;
    options.parser = parser;
    options.chunkInBytes = chunk;
    return options;
}

// Text that reaches over every block and piece boundary, with everything that must be seen in it.
const std::string_view kRichDocument =
    "<?xml version='1.0'?>\n<!-- before --><?style  a='b' ?>\r\n"
    "<r xmlns='urn:r' xmlns:p=\"urn:p\" a=' 1\t2\n3\r\n4 ' b='&lt;&#10;&#x9;&amp;&quot;&apos;&gt;' "
    "p:c=\"it's\" d=''\n>"
    "text\rmore\r\ntext ]] > ]]&gt; &#x1F600; \u00E4\u20AC\U0001F600\n"
    "<p:empty/><p:empty a='>'  /><e></e><e ></e >"
    "<![CDATA[]]><![CDATA[<not> &markup; ]] ]>]]>]]&gt;<!----><!-- - <x> & -->"
    "<?pi?><?pi   ?><?pi ?x?><d><d><d>deep</d></d></d>"
    "<a1 b1='1' b2='2' b3='3' b4='4' b5='5' b6='6' b7='7' b8='8' b9='9' b10='10'/>"
    "<\u00E9l\u00E9ment \u540D='\u5B57'/><s xmlns=''><p:t xmlns:p='urn:other' p:u=''/></s>"
    "</r>\n<!-- after -->\n<?end?>\n";

constexpr std::string_view kRichEvents =
    "start document\ncomment [ before ]\npi style [a='b' ]\n"
    "<r xmlns=[urn:r]{http://www.w3.org/2000/xmlns/} xmlns:p=[urn:p]{http://www.w3.org/2000/xmlns/}"
    " a=[ 1 2 3 4 ] b=[<\n\t&\"'>] p:c=[it's]{urn:p} d=[]{urn:r}\n"
    "text [text\nmore\ntext ]] > ]]> \U0001F600 \u00E4\u20AC\U0001F600\n]\n"
    "<p:empty{urn:p}\n</p:empty{urn:p}\n<p:empty a=[>]{urn:p}\n</p:empty{urn:p}\n"
    "<e{urn:r}\n</e{urn:r}\n<e{urn:r}\n</e{urn:r}\n"
    "start cdata\nend cdata\nstart cdata\ntext [<not> &markup; ]] ]>]\nend cdata\ntext []]>]\ncomment "
    "[]\ncomment [ - <x> & ]\n"
    "pi pi []\npi pi []\npi pi [?x]\n"
    "<d{urn:r}\n<d{urn:r}\n<d{urn:r}\ntext [deep]\n</d{urn:r}\n</d{urn:r}\n</d{urn:r}\n"
    "<a1 b1=[1] b2=[2] b3=[3] b4=[4] b5=[5] b6=[6] b7=[7] b8=[8] b9=[9] b10=[10]{urn:r}\n</a1{urn:r}\n"
    "<\u00E9l\u00E9ment \u540D=[\u5B57]{urn:r}\n</\u00E9l\u00E9ment{urn:r}\n"
    "<s xmlns=[]{http://www.w3.org/2000/xmlns/}\n"
    "<p:t xmlns:p=[urn:other]{http://www.w3.org/2000/xmlns/} "
    "p:u=[]{urn:other}{urn:other}\n</p:t{urn:other}\n</s\n"
    "</r{urn:r}\ncomment [ after ]\npi end []\nend document\n";

TEST(Reader, DeliversADocumentFromBothParsersInEveryPieceSize) {
    std::string positions;
    for (Parser parser : {Parser::Automatic, Parser::Direct, Parser::Libxml2}) {
        for (std::size_t chunk : kChunks) {
            SCOPED_TRACE(chunk);
            EventLog log;
            log.withPositions = true;
            ASSERT_FALSE(read(Input::bytes(kRichDocument), with(parser, chunk), log).failed());
            if (positions.empty()) positions = log.text();
            EXPECT_EQ(log.text(), positions);  // both see every event start at the same position
            EXPECT_EQ(readAll(Input::bytes(kRichDocument), with(parser, chunk)).events, kRichEvents);
        }
    }
}

std::string iconvBytes(std::string_view utf8, const char* encoding) {
    const iconv_t converter = iconv_open(encoding, "UTF-8");
    if (converter == reinterpret_cast<iconv_t>(-1)) return {};
    std::string bytes(utf8.size() * 4 + 8, '\0');
    char* in = const_cast<char*>(utf8.data());
    char* out = bytes.data();
    std::size_t inLeft = utf8.size();
    std::size_t outLeft = bytes.size();
    const bool done = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
    iconv_close(converter);
    bytes.resize(done ? bytes.size() - outLeft : 0);
    return bytes;
}

TEST(Reader, DecodesEveryEncoding) {
    const std::string_view body = "<a \u00E4='\u00FC'>gr\u00FC\u00DFe</a>";
    const Reading expected = readAll(Input::bytes(body));
    ASSERT_FALSE(expected.error.failed());
    for (const char* encoding : {"UTF-8", "utf-8", "ISO-8859-1", "iso8859-1", "windows-1252", "CP850",
                                 "ISO-8859-15", "UTF-16", "UTF-32", "IBM1047", "GB18030"}) {
        const std::string text =
            "<?xml version='1.0' encoding=\"" + std::string(encoding) + "\" ?>" + std::string(body);
        const std::string bytes = iconvBytes(text, encoding);
        ASSERT_FALSE(bytes.empty()) << encoding;
        for (std::size_t chunk : kChunks) {
            SCOPED_TRACE(std::string(encoding) + " in pieces of " + std::to_string(chunk));
            const Reading reading = readAll(Input::bytes(bytes), with(Parser::Automatic, chunk));
            EXPECT_EQ(reading.error.reason, "");
            EXPECT_EQ(reading.events, expected.events);
        }
    }
    EXPECT_EQ(readAll(Input::bytes("<?xml version='1.0' encoding='windows-1252'?><a>\x80\x9F</a>")).events,
              "start document\n<a\ntext [\u20AC\u0178]\n</a\nend document\n");
    EXPECT_EQ(readAll(Input::bytes("<?xml version='1.0' encoding='US-ASCII'?><a>x</a>")).events,
              "start document\n<a\ntext [x]\n</a\nend document\n");
    // Text is UTF-16 whatever it declares, and may begin with a byte-order mark.
    for (std::string_view declared : {"UTF-8", "ISO-8859-1", "x-nope"}) {
        const std::string text =
            "<?xml version='1.0' encoding='" + std::string(declared) + "'?>" + std::string(body);
        EXPECT_EQ(readAll(Input::text(u"\uFEFF" + text::toUtf16(text))).events, expected.events);
    }
}

TEST(Reader, ReadsTheInternalSubsetAndNothingElse) {
    const std::string file = testing::TempDir() + "reader_test_external.txt";
    std::ofstream(file) << "SECRET";
    const struct {
        std::string_view fault;
        std::string document;
        std::string events;
    } cases[] = {
        {"entities in text and values, elements in entities",
         "<!DOCTYPE a [<!ENTITY e '<b k=\"&f;\">&f;</b>'><!ENTITY f 'F'><!ENTITY e 'second'>]><a "
         "v='&f;'>&e;&f;</a>",
         "<a v=[F]\n<b k=[F]\ntext [F]\n</b\ntext [F]\n</a\n"},
        {"harmless nests pass",
         "<!DOCTYPE a [<!ENTITY a '&b;&b;&b;'><!ENTITY b '&c;&c;&c;'><!ENTITY c '&d;&d;&d;'><!ENTITY d "
         "'&e;&e;&e;'>"
         "<!ENTITY e 'x'>]><a>&a;</a>",
         "<a\ntext [" + std::string(81, 'x') + "]\n</a\n"},
        {"defaults come last, declared types normalise",
         "<!DOCTYPE a [<!ATTLIST a t NMTOKENS #IMPLIED d CDATA 'D&#32;' u CDATA #IMPLIED i (x|y) 'x'>]><a "
         "u=' 1 ' t='  1\n 2 '/>",
         "<a u=[ 1 ] t=[1 2] d=[D ] i=[x]\n</a\n"},
        {"a default may declare the prefix", "<!DOCTYPE p:a [<!ATTLIST p:a xmlns:p CDATA 'u'>]><p:a/>",
         "<p:a xmlns:p=[u]{http://www.w3.org/2000/xmlns/}{u}\n</p:a{u}\n"},
        {"a carriage return by reference stays one", "<!DOCTYPE a [<!ENTITY e '1&#13;2'>]><a b='&e;'>&e;</a>",
         "<a b=[1 2]\ntext [1\r2]\n</a\n"},
        {"instructions in the subset are reported, comments are not", "<!DOCTYPE a [<?p q?><!-- c -->]><a/>",
         "pi p [q]\n<a\n</a\n"},
        {"external entities are empty", "<!DOCTYPE a [<!ENTITY e SYSTEM '" + file + "'>]><a>[&e;]</a>",
         "<a\ntext [[]]\n</a\n"},
        {"external parameter entities and subsets too",
         "<!DOCTYPE a SYSTEM '" + file + "' [<!ENTITY % e SYSTEM '" + file +
             "'>%e;<!ATTLIST a k CDATA 'behind'>]><a/>",
         "<a\n</a\n"},
        {"what may be declared outside is no error", "<!DOCTYPE a SYSTEM 'x.dtd'><a>1&unknown;2</a>",
         "<a\ntext [12]\n</a\n"},
    };
    for (const auto& row : cases) {
        for (std::size_t chunk : kChunks) {
            SCOPED_TRACE(std::string(row.fault) + " in pieces of " + std::to_string(chunk));
            const Reading reading = readAll(Input::bytes(row.document), with(Parser::Automatic, chunk));
            EXPECT_EQ(reading.error.reason, "");
            EXPECT_EQ(reading.events, "start document\n" + row.events + "end document\n");
        }
    }
    std::filesystem::remove(file);
}

TEST(Reader, RejectsWhatIsWrongWithADoctype) {
    const struct {
        std::string document;
        ErrorCode code;
        std::uint32_t line;
        std::uint32_t column;
        std::string_view reason;
    } cases[] = {
        {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]>\n<a>x&e;</a>", ErrorCode::EntityLoop, 2, 5,
         "Entity 'e' refers to itself."},
        {"<!DOCTYPE a [<!ENTITY e '<b>'>]>\n<a>&e;</b></a>", ErrorCode::BadEntity, 2, 4, {}},
        {"<!DOCTYPE a [<!ENTITY e '<'>]>\n<a b='&e;'/>", ErrorCode::BadEntity, 2, 7, {}},
        {"<!DOCTYPE a [\n<!ELEMENT>]>\n<a/>", ErrorCode::BadDoctype, 2, 10, {}},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 'x'>]>\n<a b='&e;'/>", ErrorCode::BadEntity, 2, 7,
         "Entity 'e' is external and must not be used in the value of an attribute."},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM 'x'>\n<!ATTLIST a b CDATA '&e;'>]><a/>", ErrorCode::BadEntity, 2, 22,
         "Entity 'e' is external and must not be used in the value of an attribute."},
        {"<!DOCTYPE a [\n<!NOTATION n >]><a/>", ErrorCode::BadDoctype, 2, 15,
         "The declaration of notation 'n' must contain SYSTEM or PUBLIC and an identifier."},
        {"<!DOCTYPE a [<!NOTATION n SYSTEM 'x'><!ENTITY e SYSTEM 'x' NDATA n>]>\n<a>&e;</a>",
         ErrorCode::BadEntity, 2, 4, "Entity 'e' is not text (NDATA) and must not be referred to."},
        {"<!DOCTYPE a [<!ENTITY e 'x'>]>\n<a>&e;&f;</a>", ErrorCode::UnknownEntity, 2, 7,
         "Entity 'f' is not declared."},
        {"<!DOCTYPE a [<!ENTITY e '<b/>'>]>\n<a>&e;<c></a>", ErrorCode::MismatchedEndTag, 2, 10,
         "End tag 'a' does not match the start tag 'c'."},
        {"<!DOCTYPE a [<!ENTITY e 'x'>]>\n<a>&e;\n<p:b/></a>", ErrorCode::UndeclaredPrefix, 3, 1,
         "The prefix of 'p:b' is not declared: xmlns:p=\"...\" is missing."},
        {"<!DOCTYPE a [<!ENTITY e:f 'x'>]><a/>", ErrorCode::BadQualifiedName, 1, 30,
         "The name 'e:f' of this entity must not contain a colon."},
        {"<!DOCTYPE a [<?", ErrorCode::BadDoctype, 1, 1, "This DOCTYPE is not finished: '>' is missing."},
        {"<!DOCTYPE a [\n", ErrorCode::BadDoctype, 1, 1, "This DOCTYPE is not finished: '>' is missing."},
        {"<!DOCTYPE a []>\n<!DOCTYPE a []><a/>", ErrorCode::MisplacedDoctype, 2, 1,
         "A document has one DOCTYPE."},
        {"<!DOCTYPE a []>\n", ErrorCode::NoRoot, 2, 1, "The document has no root element."},
    };
    for (const auto& row : cases) {
        for (std::size_t chunk : kChunks) {
            SCOPED_TRACE(row.document + " in pieces of " + std::to_string(chunk));
            const ParseError error =
                readAll(Input::bytes(row.document), with(Parser::Automatic, chunk)).error;
            EXPECT_EQ(error.code, statusOf(row.code)) << error.reason;
            if (!row.reason.empty()) {
                EXPECT_EQ(error.reason, row.reason);
            }
            EXPECT_EQ(error.position.line, row.line);
            EXPECT_EQ(error.position.column, row.column);
        }
    }
}

// Each would take minutes or gigabytes if it were expanded; each ends before the test's patience does.
TEST(Reader, RejectsEntityBombs) {
    const auto nested = [](std::string_view sigil, std::string_view reference, std::string_view innermost) {
        std::string declarations;
        for (int level = 0; level < 30; ++level) {
            declarations += "<!ENTITY " + std::string(sigil) + "e" + std::to_string(level) + " '";
            for (int i = 0; i < 10 && level != 0; ++i) {
                declarations += std::string(reference) + "e" + std::to_string(level - 1) + ";";
            }
            declarations += std::string(level == 0 ? innermost : "") + "'>";
        }
        return declarations;
    };
    std::string flat = "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><a>";
    for (int i = 0; i < 3000; ++i) flat += "&e;";
    std::string deep = "<!DOCTYPE a [<!ENTITY e0 'x'>";
    for (int i = 1; i < 20'000; ++i) {
        deep += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
    }
    const std::string documents[] = {
        "<!DOCTYPE a [" + nested("", "&", "lol") + "]><a>&e29;</a>",
        "<!DOCTYPE a [" + nested("", "&", "") + "]><a>&e29;</a>",
        "<!DOCTYPE a [" + nested("", "&", "lol") + "]><a b='&e29;'/>",
        "<!DOCTYPE a [" + nested("", "&", "lol") + "<!ATTLIST a b CDATA '&e29;'>]><a/>",
        "<!DOCTYPE a [" + nested("% ", "&#37;", "") + "%e29;]><a/>",
        flat + "</a>",
        deep + "]><a>&e19999;</a>",
    };
    for (const std::string& document : documents) {
        SCOPED_TRACE(document.substr(0, 60));
        EXPECT_EQ(readAll(Input::bytes(document), with(Parser::Automatic)).error.code,
                  statusOf(ErrorCode::EntityTooLarge));
    }
}

TEST(Reader, KeepsItsLimits) {
    const auto nested = [](int depth) {
        std::string document;
        for (int i = 0; i < depth; ++i) document += "<d>";
        for (int i = 0; i < depth; ++i) document += "</d>";
        return document;
    };
    for (Parser parser : {Parser::Automatic, Parser::Libxml2}) {
        EXPECT_FALSE(readAll(Input::bytes(nested(10'000)), with(parser)).error.failed());
        const ParseError error = readAll(Input::bytes(nested(10'001)), with(parser)).error;
        EXPECT_EQ(error.reason, "Elements are nested more than 10000 deep.");
        EXPECT_EQ(error.position.column, 30'001u);
        ReadOptions options = with(parser);
        options.lengthLimitInBytes = 1000;
        EXPECT_EQ(readAll(Input::bytes(nested(500)), options).error.code, statusOf(ErrorCode::TooLong));
    }
    // Nothing here may take time by the square of its length.
    std::string wide = "<a";
    for (int i = 0; i < 200'000; ++i) wide += " a" + std::to_string(i) + "=''";
    EXPECT_FALSE(readAll(Input::bytes(wide + "/>")).error.failed());
    EXPECT_EQ(readAll(Input::bytes(wide + ">")).error.code, statusOf(ErrorCode::UnclosedElement));
    EXPECT_EQ(readAll(Input::bytes("<!DOCTYPE a []>" + wide + "/>"), with(Parser::Automatic)).error.code,
              statusOf(ErrorCode::TooManyAttributes));
    const auto numbered = [](int count, const std::string& before, const std::string& after) {
        std::string all;
        for (int i = 0; i < count; ++i) all += before + std::to_string(i) + after;
        return all;
    };
    const auto afterReading = [](const std::string& document) {
        return readAll(Input::bytes(document), with(Parser::Automatic)).error.code;
    };
    EXPECT_EQ(afterReading("<!DOCTYPE a [" + numbered(50'000, "<!ENTITY e", " ''>") + "]><a/>"), 0);
    EXPECT_EQ(afterReading("<!DOCTYPE a [" + numbered(50'001, "<!ENTITY e", " ''>") + "]><a/>"),
              statusOf(ErrorCode::TooManyNames));
    EXPECT_EQ(afterReading("<!DOCTYPE a><a>" + numbered(190'000, "<e", "/>") + "</a>"), 0);
    // Looked at as the text is fed, some thousands of bytes at a time.
    for (const auto& names : {numbered(210'000, "<e", "/>"), numbered(210'000, "<?e", "?>")})
        EXPECT_EQ(afterReading("<!DOCTYPE a><a>" + names + "</a>"), statusOf(ErrorCode::TooManyNames));
    EXPECT_EQ(afterReading("<!DOCTYPE a [" + numbered(210'000, "<!ELEMENT e", " ANY>") + "]><a/>"),
              statusOf(ErrorCode::TooManyNames));
    std::string declared = "<a";
    for (int i = 0; i < 20'000; ++i)
        declared += " xmlns:p" + std::to_string(i) + "='u" + std::to_string(i) + "'";
    declared += ">";
    for (int i = 0; i < 20'000; ++i) declared += "<p0:b p1:c=''/>";
    EXPECT_FALSE(readAll(Input::bytes(declared + "</a>")).error.failed());
    const std::string huge(8'000'000, 'x');
    ReadOptions small = with(Parser::Automatic, 4096);
    EXPECT_FALSE(readAll(Input::bytes("<a b='" + huge + "'><!--" + huge + "--></a>"), small).error.failed());
}

TEST(Reader, LetsTheSinksExceptionOutOfEitherParser) {
    class Throwing final : public EventSink {
    public:
        void startDocument(const Locator&) override { count(); }
        void endDocument() override { count(); }
        void startElement(std::string_view, std::span<const Attribute>) override { count(); }
        void endElement(std::string_view) override { count(); }
        void characters(std::string_view) override { count(); }
        void startCData() override { count(); }
        void endCData() override { count(); }
        void comment(std::string_view) override { count(); }
        void processingInstruction(std::string_view, std::string_view) override { count(); }
        int left = 0;

    private:
        void count() {
            if (left-- == 0) throw std::runtime_error("from the sink");
        }
    };
    const std::string document =
        "<!DOCTYPE r [<!ENTITY e '<x>1<y a=\"&f;\"/></x>'><!ENTITY f 'F'>]><?p?><r "
        "a='&f;'>&e;<![CDATA[c]]><!--c-->&e;</r>";
    for (std::string_view text : {std::string_view(document), kRichDocument}) {
        for (Parser parser : {Parser::Automatic, Parser::Libxml2}) {
            bool threw = true;
            for (int event = 0; threw; ++event) {
                Throwing sink;
                sink.left = event;
                threw = false;
                try {
                    EXPECT_FALSE(read(Input::bytes(text), with(parser), sink).failed());
                } catch (const std::runtime_error& error) {
                    EXPECT_STREQ(error.what(), "from the sink");
                    threw = true;
                }
            }
        }
    }
}

// Other users of libxml2 in the process, on this thread and during events, must not notice.
TEST(Reader, LeavesLibxml2AsItWas) {
    class Using final : public EventSink {
    public:
        void startDocument(const Locator&) override {}
        void endDocument() override {}
        void startElement(std::string_view, std::span<const Attribute>) override {
            xmlFreeDoc(xmlReadMemory("<bad", 4, nullptr, nullptr, XML_PARSE_NONET));
        }
        void endElement(std::string_view) override {}
        void characters(std::string_view) override {}
        void startCData() override {}
        void endCData() override {}
        void comment(std::string_view) override {}
        void processingInstruction(std::string_view, std::string_view) override {}
    };
    int heard = 0;
    xmlSetStructuredErrorFunc(&heard, [](void* count, xmlErrorPtr) { ++*static_cast<int*>(count); });
    const int substitutes = xmlSubstituteEntitiesDefault(0);
    const std::string documents[] = {"<a><b/></a>", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;<b/></a>",
                                     "<a><b>&x;</a>"};
    for (const std::string& document : documents) {
        Using sink;
        for (Parser parser : {Parser::Automatic, Parser::Libxml2}) {
            heard = 0;
            xmlResetLastError();
            (void)read(Input::bytes(document), with(parser), sink);
            EXPECT_GE(heard, 2) << "the application's handler was gone during an event: " << document;
            const int during = heard;
            EventLog log;
            xmlResetLastError();
            (void)read(Input::bytes(document), with(parser), log);
            EXPECT_EQ(heard, during) << "the application heard of our errors: " << document;
            EXPECT_EQ(xmlGetLastError() == nullptr ? 0 : xmlGetLastError()->code, 0) << document;
        }
    }
    EXPECT_EQ(xmlStructuredErrorContext, &heard);
    EXPECT_EQ(xmlSubstituteEntitiesDefault(substitutes), 0);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
}

// So many names that the direct parser forgets them again and again, but for those of open elements and their
// prefixes: what comes back must be what it was.
TEST(Reader, NamesThatWereForgottenComeBackAsTheyWere) {
    std::string document = "<p:all xmlns:p='urn:p' xmlns:q='urn:q' p:a='1'>\n";
    for (int i = 0; i < 60'000; ++i) {
        const std::string number = std::to_string(i);
        document.append("<p:n")
            .append(number)
            .append(" p:a")
            .append(number)
            .append("='1'><q:same/><own xmlns='urn:")
            .append(number)
            .append("'/></p:n")
            .append(number)
            .append(">\n");
    }
    document += "<p:last p:a='2'/></p:all>";
    const Input input = Input::bytes(document);
    const Reading direct = readAll(input, with(Parser::Direct, std::size_t{1} << 16));
    const Reading libxml2 = readAll(input, with(Parser::Libxml2, std::size_t{1} << 16));
    EXPECT_FALSE(direct.error.failed()) << direct.error.reason;
    EXPECT_EQ(disagreement(direct, libxml2), "") << libxml2.error.reason;
}

// A thing like a document, broken at random: each parser by itself must come to the same result. What the
// callers get is the direct parser's.
TEST(Reader, BothParsersAgreeOnMutatedDocuments) {
    std::mt19937 random(20240607);
    const auto upTo = [&](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
    };
    constexpr std::string_view kPieces[] = {
        "<",  ">",    "/",    "&", ";",    "]]>",  "<![CDATA[", "-->",  "<!--", "?>",
        "<?", "'",    "\"",   "=", " ",    "\n",   "\r",        "a",    ":",    "xmlns",
        "#",  "&#0;", "&lt;", "é", "\x01", "\xC3", "<?xml",     "</r>", "<r>",  "-"};
    std::size_t wellFormed = 0;
    for (int i = 0; i < 4'000; ++i) {
        std::string document(kRichDocument);
        for (std::size_t changes = upTo(3); changes != ~std::size_t{0}; --changes) {
            const std::size_t at = upTo(document.size());
            switch (upTo(3)) {
                case 0:
                    document.erase(at, 1 + upTo(4));
                    break;
                case 1:
                    document.insert(at, kPieces[upTo(std::size(kPieces))]);
                    break;
                default:
                    document.replace(at, 1, kPieces[upTo(std::size(kPieces))]);
            }
        }
        const std::size_t chunk = kChunks[upTo(std::size(kChunks))];
        const Input input = Input::bytes(document);
        const Reading direct = readAll(input, with(Parser::Direct, chunk));
        wellFormed += direct.error.failed() ? 0 : 1;
        const Reading libxml2 = readAll(input, with(Parser::Libxml2, chunk));
        ASSERT_EQ(disagreement(direct, libxml2), "")
            << document << "\ndirect: " << direct.error.reason << "\nlibxml2: " << libxml2.error.reason;
        const Reading automatic = readAll(input, with(Parser::Automatic, chunk));
        ASSERT_EQ(automatic.error.reason, direct.error.reason) << document;
        ASSERT_EQ(automatic.error.filePosition, direct.error.filePosition) << document;
        ASSERT_EQ(automatic.events, direct.events) << document;
    }
    EXPECT_GT(wellFormed, 200u);
}

}  // namespace
}  // namespace engine::reader::test
