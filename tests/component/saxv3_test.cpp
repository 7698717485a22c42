// The third version of the SAX parser: every event with its names in full, from every source, and its ends.
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "KelBasicTypes/binmemory.h"
#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"
#include "tests/support/matching.h"

namespace {

using namespace component_test;

std::string narrow(std::u16string_view text) {
    return kel::toUtf8(text);
}

// Writes down what it gets; a function may look at each line.
class Recorder final : public IKelSAXXmlHandlerV2 {
public:
    void startDocument() override { add("start"); }
    void endDocument() override { add("end"); }
    void startElement(const KelSAXXmlName& name, std::span<const KelSAXXmlAttribute> attributes,
                      std::span<const KelSAXXmlDeclaration> declarations) override {
        std::string line = '<' + text(name);
        for (const KelSAXXmlDeclaration& one : declarations)
            line += " xmlns:" + narrow(one.prefix) + '=' + narrow(one.namespaceUri);
        for (const KelSAXXmlAttribute& one : attributes)
            line += ' ' + text(one.name) + '=' + narrow(one.value);
        add(line);
    }
    void endElement(const KelSAXXmlName& name) override { add("</" + text(name)); }
    void characters(std::u16string_view piece) override {
        if (log.empty() || !log.back().starts_with('\'')) {
            add("'" + narrow(piece));
        } else {
            log.back() += narrow(piece);  // where the engine splits is its own affair
        }
    }
    void startCData() override { add("[CDATA"); }
    void endCData() override { add("]]"); }
    void comment(std::u16string_view piece) override { add("!" + narrow(piece)); }
    void processingInstruction(std::u16string_view target, std::u16string_view data) override {
        add("?" + narrow(target) + ' ' + narrow(data));
    }

    std::vector<std::string> log;
    std::function<void(const std::string&)> atEvent = [](const std::string&) {};

private:
    static std::string text(const KelSAXXmlName& name) {
        EXPECT_EQ(narrow(name.qualified),
                  (name.prefix.empty() ? "" : narrow(name.prefix) + ':') + narrow(name.local));
        return narrow(name.qualified) + '{' + narrow(name.namespaceUri) + '}';
    }
    void add(const std::string& line) {
        log.push_back(line);
        atEvent(line);
    }
};

using Lines = std::vector<std::string>;

class SaxV3 : public ::testing::Test {
protected:
    static IPtr<IKelSAXXmlV3> make() {
        return IPtr<IKelSAXXmlV3>(kel::queryInterface<IKelSAXXmlV3>(XmlSAX().getParser()));
    }
    Lines read(std::string_view xml) {
        Recorder recorder;
        EXPECT_TRUE(reader_->readString(wide(xml), recorder)) << utf8(reader_->getError()->getMessage());
        return recorder.log;
    }
    // "code line:column reason"
    [[nodiscard]] std::string error() const {
        auto* const details = kel::queryInterface<IKelSAXXmlErrorV2>(reader_->getError());
        KelString reason;
        details->getReason(reason);
        return std::to_string(details->getCode()) + ' ' + std::to_string(details->getLine()) + ':' +
               std::to_string(details->getColumn()) + ' ' + utf8(reason);
    }

    const Folder folder_;
    const IPtr<IKelSAXXmlV3> reader_ = make();
};

TEST_F(SaxV3, DeliversAllThatADocumentHolds) {
    if (traits::kDeliversInstructions != nullptr) GTEST_SKIP() << traits::kDeliversInstructions;
    EXPECT_EQ(
        read("<?xml version='1.0'?><!--c--><?p d?>"
             "<p:a xmlns:p='u' xmlns='v' p:x='1' y='&lt;' z='3' a='4'>t<b/><![CDATA[<]]>&amp;</p:a><!--e-->"),
        (Lines{"start", "!c", "?p d", "<p:a{u} xmlns:p=u xmlns:=v p:x{u}=1 y{}=< z{}=3 a{}=4", "'t", "<b{v}",
               "</b{v}", "[CDATA", "'<", "]]", "'&", "</p:a{u}", "!e", "end"}));
    EXPECT_EQ(
        read("<a xmlns:p='u' xmlns:q='v'><b p:i='1' q:i='2' xml:lang='e'><c xmlns:p='w' p:i='3'/></b></a>"),
        (Lines{"start", "<a{} xmlns:p=u xmlns:q=v",
               "<b{} p:i{u}=1 q:i{v}=2 xml:lang{http://www.w3.org/XML/1998/namespace}=e",
               "<c{} xmlns:p=w p:i{w}=3", "</c{}", "</b{}", "</a{}", "end"}));
}

TEST_F(SaxV3, ReadsTheSameFromEverySource) {
    std::string xml = "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE4";
    for (int i = 0; i < 20'000; ++i) xml += "<e n='" + std::to_string(i) + "'/>";
    xml += "</r>";
    const std::string path = folder_.write("in.xml", xml);
    Recorder ofFile;
    ASSERT_TRUE(reader_->readFile(wide(path), ofFile));
    EXPECT_EQ(ofFile.log.size(), 40'005u);
    EXPECT_EQ(ofFile.log[2], "'\xC3\xA4");

    Recorder ofBytes;
    EXPECT_TRUE(reader_->readBytes(xml.data(), xml.size(), ofBytes));
    EXPECT_EQ(ofBytes.log, ofFile.log);
    BinInputFile stream(wide(path));
    Recorder ofStream;
    EXPECT_TRUE(reader_->readStream(stream, ofStream));
    EXPECT_EQ(ofStream.log, ofFile.log);

    Recorder ofNothing;
    EXPECT_FALSE(reader_->readBytes(nullptr, 0, ofNothing));
    EXPECT_EQ(reader_->getError()->getCode(), IKelSAXXmlV3::kNotWellFormed);
}

TEST_F(SaxV3, ReportsAnErrorWithItsPositionAndGoesOnWorking) {
    const std::string malformed = "<a>\n<b>t</c></a>";
    const std::string path = folder_.write("in.xml", malformed);
    for (int round = 0; round < 2; ++round) {
        Recorder recorder;
        EXPECT_FALSE(reader_->readString(wide(malformed), recorder));
        EXPECT_TRUE(kel::test::matches(error(), std::string("3 ") + traits::kMismatchPositionInReader));
        EXPECT_EQ(recorder.log, (Lines{"start", "<a{}", "'\n", "<b{}", "'t"}));
        Recorder ofFile;
        EXPECT_FALSE(reader_->readFile(wide(path), ofFile));
        EXPECT_NE(utf8(reader_->getError()->getMessage()).find(path), std::string::npos);
        EXPECT_EQ(read("<a/>"), (Lines{"start", "<a{}", "</a{}", "end"}));
        EXPECT_EQ(error(), "0 0:0 ");
    }
    // Cut off anywhere, a document is an error and never a shorter document.
    const std::string whole = "<a x='1'>t<!--c--><b/><![CDATA[d]]><?p q?></a>";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Recorder recorder;
        EXPECT_FALSE(reader_->readBytes(whole.data(), length, recorder)) << length;
        EXPECT_EQ(reader_->getError()->getCode(), IKelSAXXmlV3::kNotWellFormed) << length;
    }
    Recorder unread;
    const std::string missing = folder_.path("missing.xml");
    EXPECT_FALSE(reader_->readFile(wide(missing), unread));
    EXPECT_EQ(reader_->getError()->getCode(), IKelSAXXml::kFileNotReadable);
    EXPECT_TRUE(unread.log.empty());
}

TEST_F(SaxV3, ADepthOrExpansionBeyondTheLimitHasACodeOfItsOwn) {
    if (traits::kBearsDepth != nullptr) GTEST_SKIP() << traits::kBearsDepth;
    const auto nested = [](int depth) {
        std::string xml;
        for (int i = 0; i < depth; ++i) xml += "<a>";
        for (int i = 0; i < depth; ++i) xml += "</a>";
        return xml;
    };
    Recorder recorder;
    EXPECT_TRUE(reader_->readString(wide(nested(IKelSAXXmlV3::kMaxDepth)), recorder));
    EXPECT_FALSE(reader_->readString(wide(nested(IKelSAXXmlV3::kMaxDepth + 1)), recorder));
    EXPECT_EQ(error(), "8 1:30001 Elements are nested more than 10000 deep.");
    std::string bomb = "<!DOCTYPE a [<!ENTITY e0 '0123456789'>";
    for (int i = 1; i < 9; ++i) {
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k) bomb += "&e" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    EXPECT_FALSE(reader_->readString(wide(bomb + "]><a>&e8;</a>"), recorder));
    EXPECT_EQ(reader_->getError()->getCode(), IKelSAXXmlV3::kLimitExceeded) << error();
}

TEST_F(SaxV3, StopsWhenTheHandlerWantsIt) {
    Lines all = read("<a>t<b x='1'/><!--c--></a>");
    for (const std::string& last : all) {
        Recorder recorder;
        recorder.atEvent = [&](const std::string& line) {
            if (line == last) reader_->stop();
        };
        EXPECT_TRUE(reader_->readString(wide("<a>t<b x='1'/><!--c--></a>"), recorder)) << last;
        EXPECT_TRUE(reader_->wasStopped());
        EXPECT_EQ(recorder.log.back(), last);
        EXPECT_EQ(error(), "0 0:0 ");
    }
    reader_->stop();  // outside an event
    EXPECT_EQ(read("<a>t<b x='1'/><!--c--></a>"), all);
    EXPECT_FALSE(reader_->wasStopped());
}

TEST_F(SaxV3, ReportsThePositionOfAnEvent) {
    if (traits::kPositionsOfEvents != nullptr) GTEST_SKIP() << traits::kPositionsOfEvents;
    Recorder recorder;
    std::string positions;
    recorder.atEvent = [&](const std::string& line) {
        if (line != "start" && line != "end")
            positions +=
                std::to_string(reader_->getLine()) + ':' + std::to_string(reader_->getColumn()) + ' ';
    };
    EXPECT_TRUE(reader_->readString(wide("<a>\n \xC3\xA4<b\n/><!--c-->\n</a>"), recorder));
    EXPECT_EQ(positions, "1:1 1:4 2:3 2:3 3:3 3:11 4:1 ");
    EXPECT_EQ(reader_->getLine(), 0);
}

TEST_F(SaxV3, LetsOutWhatAHandlerOrAStreamThrows) {
    for (const std::string& last : read("<a x='1'><b>t</b></a>")) {
        Recorder recorder;
        recorder.atEvent = [&](const std::string& line) {
            if (line == last) throw std::runtime_error("enough");
        };
        EXPECT_THROW(reader_->readString(wide("<a x='1'><b>t</b></a>"), recorder), std::runtime_error)
            << last;
        EXPECT_EQ(recorder.log.back(), last);
        EXPECT_EQ(read("<a/>").size(), 4u);
    }
    // Fails, or throws, after the beginning of a document.
    class Broken final : public BinInput {
    public:
        explicit Broken(bool throws) : throws_(throws) {}
        std::size_t readRaw(void* buffer, std::size_t byteCount) override {
            if (isGood_ && byteCount >= 3) {
                std::memcpy(buffer, "<a>", 3);
                isGood_ = false;
                return 3;
            }
            if (throws_) throw std::logic_error("broken");
            return 0;
        }
        std::int64_t tell() override { return -1; }
        bool seek(std::int64_t, bool) override { return false; }
        bool good() const override { return isGood_; }
        void close() override {}

    private:
        bool throws_;
        bool isGood_ = true;
    };
    Recorder recorder;
    Broken failing(false);
    EXPECT_FALSE(reader_->readStream(failing, recorder));
    EXPECT_EQ(reader_->getError()->getCode(), IKelSAXXml::kFileNotReadable);
    Broken throwing(true);
    EXPECT_THROW(reader_->readStream(throwing, recorder), std::logic_error);
    EXPECT_EQ(read("<a/>").size(), 4u);
}

TEST_F(SaxV3, RejectsToReadInsideAnEvent) {
    Recorder recorder;
    HRESULT status = S_OK;
    recorder.atEvent = [&](const std::string&) {
        Recorder inner;
        try {
            (void)reader_->readString(wide("<x/>"), inner);
        } catch (const _com_error& error) {
            status = error.Error();
        }
    };
    EXPECT_TRUE(reader_->readString(wide("<a/>"), recorder));
    EXPECT_EQ(status, E_UNEXPECTED);
    EXPECT_EQ(recorder.log.size(), 4u);
}

TEST_F(SaxV3, LeavesTheOldOperationsAsTheyAre) {
    const FailingClass failing(msxml::kSaxReader60Class);
    Recorder recorder;
    EXPECT_FALSE(reader_->readString(wide("<a/>"), recorder));
    EXPECT_EQ(error(), "5 0:0 ");
    EXPECT_TRUE(reader_->parseFile(wide(folder_.write("in.xml", "<a/>"))));
    EXPECT_EQ(error(), "0 0:0 ");
}

}  // namespace
