// Schemas that are compiled once: every violation with its position, in trees and in streams.
#include <stdexcept>
#include <string>
#include <vector>

#include "KelBasicTypes/binfile.h"
#include "tests/component/fixture.h"
#include "tests/support/matching.h"

namespace {

using namespace component_test;

constexpr const char* kSchema =
    R"(<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:s'
 xmlns='urn:s' elementFormDefault='qualified'>
<xs:element name='list'><xs:complexType><xs:sequence>
 <xs:element name='item' maxOccurs='unbounded'><xs:complexType><xs:simpleContent><xs:extension base='xs:int'>
  <xs:attribute name='k' type='xs:NMTOKEN'/></xs:extension></xs:simpleContent></xs:complexType></xs:element>
 <xs:element name='note' type='xs:string' minOccurs='0'/>
</xs:sequence></xs:complexType>
 <xs:unique name='u'><xs:selector xpath='*'/><xs:field xpath='@k'/></xs:unique></xs:element>
</xs:schema>)";

// "line:column path reason" of each; asks for no more than `max`.
class Collector final : public IKelXmlViolationHandler {
public:
    bool violation(const KelXmlViolation& found) override {
        lines.push_back(std::to_string(found.line) + ':' + std::to_string(found.column) + ' ' +
                        kel::toUtf8(found.path) + ' ' + kel::toUtf8(found.reason));
        if (throws) throw std::runtime_error("enough");
        return lines.size() < max;
    }
    std::vector<std::string> lines;
    std::size_t max = 1'000;
    bool throws = false;
};

class Schemas : public ::testing::Test {
protected:
    Schemas() { EXPECT_TRUE(schema_->addFile(u"urn:s", wide(folder_.write("s.xsd", kSchema)))) << error(); }
    static IPtr<IKelXmlSchema> make() {
        const DomParser parser = makeDom();
        return IPtr<IKelXmlSchema>(kel::queryInterface<IKelXmlFactory>(parser.get())->createSchema());
    }
    // "code line:column reason"
    [[nodiscard]] std::string error() const {
        IKelXmlError* const error = schema_->getError();
        KelString reason;
        error->getReason(reason);
        return std::to_string(error->getCode()) + ' ' + std::to_string(error->getLine()) + ':' +
               std::to_string(error->getColumn()) + ' ' + utf8(reason);
    }
    std::vector<std::string> inTree(const std::string& xml) {
        Collector collector;
        const DomParser document = load(xml);
        const bool isValid = schema_->validate(document.get(), &collector);
        EXPECT_EQ(isValid, collector.lines.empty());
        return collector.lines;
    }
    std::vector<std::string> inStream(const std::string& xml) {
        Collector collector;
        const bool isValid = schema_->validateBytes(xml.data(), xml.size(), &collector);
        EXPECT_EQ(isValid, collector.lines.empty()) << error();
        return collector.lines;
    }

    const Folder folder_;
    const IPtr<IKelXmlSchema> schema_ = make();
};

TEST_F(Schemas, FindEveryViolationWithItsPositionAndGoOn) {
    if (traits::kFindsAllViolations != nullptr) GTEST_SKIP() << traits::kFindsAllViolations;
    const std::string xml =
        "<s:list xmlns:s='urn:s'>\n <s:item>1</s:item>\n <s:item k='&amp;#38;'>two</s:item><s:note/>\n"
        " <s:item>3</s:item>\n</s:list>";
    const std::vector<std::string> found = inTree(xml);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found[0].substr(0, found[0].find(": ") + 2),
              "3:2 /s:list[1]/s:item[2] Element '{urn:s}item', attribute 'k': ");
    EXPECT_NE(found[0].find("'&#38;'"), std::string::npos) << "the value as it is";
    EXPECT_EQ(found[1].substr(0, 25), "3:2 /s:list[1]/s:item[2] ");
    EXPECT_NE(found[1].find("'two'"), std::string::npos);
    EXPECT_EQ(found[2].substr(0, 25), "4:2 /s:list[1]/s:item[3] ");
    EXPECT_EQ(error().substr(0, 6), "9 3:2 ");
    KelString message;
    EXPECT_TRUE(kel::test::matches(utf8(schema_->getError()->getMessage(message)),
                                   "Error while validating Xml  : Line 3, column 2 : [^]+"));
    // The compiled schema serves the next document.
    EXPECT_TRUE(inTree("<list xmlns='urn:s'><item>1</item></list>").empty());
    EXPECT_EQ(error(), "0 0:0 ");
    Collector one;
    one.max = 1;
    EXPECT_FALSE(schema_->validate(load(xml).get(), &one));
    EXPECT_EQ(one.lines.size(), 1u);
}

TEST_F(Schemas, FindTheSameWithoutATree) {
    if (traits::kValidatesStreams != nullptr) GTEST_SKIP() << traits::kValidatesStreams;
    const char* const documents[] = {
        "<list xmlns='urn:s'><item>1</item><note>a</note></list>",
        "<list xmlns='urn:s'><item>1</item><note>a</note><note>b</note></list>",
        "<list xmlns='urn:s'><item k='a'>1</item><item k='b'>2</item><item k='a'>3</item></list>",
        "<list xmlns='urn:s'><item>x<![CDATA[1]]></item>\n<item><!--c-->1<?p?>2</item></list>",
        "<list xmlns='urn:s'><item k='&lt;&amp;#38;&amp;'>1</item></list>",
        "<p:list xmlns:p='urn:s'><p:item p:k='a'>1</p:item><p:item xmlns:p='urn:t'>2</p:item></p:list>",
        "<list xmlns='urn:s'>text<item>1</item></list>",
        "<list xmlns='urn:s'><item xmlns:i='http://www.w3.org/2001/XMLSchema-instance' i:nil='true'/></list>",
        "<list xmlns='urn:s'>\n</list>",
        "<other/>",
    };
    for (const char* const xml : documents) EXPECT_EQ(inStream(xml), inTree(xml)) << xml;
    EXPECT_EQ(inStream("<!DOCTYPE list [<!ENTITY e '<item>x</item>'>]><list xmlns='urn:s'>&e;</list>").size(),
              1u);
}

// A repeated xs:ID shows in a tree only; where one may be overlooked, that is known.
TEST_F(Schemas, KnowWhereAnIdMayBeRepeated) {
    if (traits::kValidatesStreams != nullptr) GTEST_SKIP() << traits::kValidatesStreams;
    const auto schemaWith = [](const std::string& type) {
        return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='urn:s' "
               "xmlns='urn:s'>" +
               type +
               "<xs:element name='l'><xs:complexType><xs:sequence><xs:any minOccurs='0' maxOccurs='9'/>"
               "</xs:sequence><xs:attribute name='i' type='" +
               (type.empty() ? "xs:ID" : "key") +
               "'/><xs:attribute name='r' type='xs:IDREF'/>"
               "</xs:complexType></xs:element></xs:schema>";
    };
    const std::string distinct = "<l xmlns='urn:s' i='a' r='a'><l i='b' r='a'/></l>";
    const std::string repeated = "<l xmlns='urn:s' i='a'><l i=' a '/></l>";
    ASSERT_TRUE(schema_->addFile(u"urn:s", wide(folder_.write("id.xsd", schemaWith("")))));
    EXPECT_TRUE(inStream(distinct).empty());
    EXPECT_FALSE(schema_->mayRepeatIds());
    EXPECT_TRUE(inStream(repeated).empty());
    EXPECT_TRUE(schema_->mayRepeatIds());
    EXPECT_EQ(inTree(repeated).size(), 1U);
    ASSERT_TRUE(schema_->addFile(
        u"urn:s", wide(folder_.write("derived.xsd", schemaWith("<xs:simpleType name='key'><xs:restriction "
                                                               "base='xs:ID'/></xs:simpleType>")))));
    EXPECT_TRUE(inStream(distinct).empty());
    EXPECT_TRUE(schema_->mayRepeatIds()) << "of a derived type";
}

TEST_F(Schemas, CountSiblingsThroughRecursionAndManyNames) {
    if (traits::kValidatesStreams != nullptr) GTEST_SKIP() << traits::kValidatesStreams;
    const IPtr<IKelXmlSchema> any = make();
    ASSERT_TRUE(any->addFile(
        u"", wide(folder_.write("any.xsd",
                                "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>"
                                "<xs:element name='a'><xs:complexType><xs:sequence>"
                                "<xs:any minOccurs='0' maxOccurs='unbounded' processContents='lax'/>"
                                "</xs:sequence></xs:complexType></xs:element>"
                                "<xs:element name='n' type='xs:int'/></xs:schema>"))));
    const auto paths = [&](const std::string& xml) {
        Collector collector;
        EXPECT_FALSE(any->validateBytes(xml.data(), xml.size(), &collector));
        std::string joined;
        for (const std::string& line : collector.lines) {
            const std::size_t start = line.find(' ') + 1;
            joined += line.substr(start, line.find(' ', start) - start) + ' ';
        }
        return joined;
    };
    EXPECT_EQ(paths("<a><n>x</n><a><n>1</n><a><n>x</n></a><n>x</n></a><b><n>2</n></b><n>x</n></a>"),
              "/a[1]/n[1] /a[1]/a[1]/a[1]/n[1] /a[1]/a[1]/n[2] /a[1]/n[2] ");
    // More names than are kept: the position among all siblings is exact, too.
    std::string many = "<a>";
    for (int i = 0; i < 300'000; ++i)
        many += "<name" + std::to_string(i) + "-long-enough-to-fill-the-table/>";
    EXPECT_EQ(paths(many + "<n>x</n></a>"), "/a[1]/*[300001] ");
    std::string deep;
    for (int i = 0; i < 100; ++i) deep += "<a>";
    const std::string path = paths(deep + "<n>x</n>" + [] {
        std::string ends;
        for (int i = 0; i < 100; ++i) ends += "</a>";
        return ends;
    }());
    EXPECT_TRUE(path.starts_with(".../a[1]/a[1]/")) << path;
    EXPECT_TRUE(path.ends_with("/a[1]/n[1] "));
}

TEST_F(Schemas, ReadFilesAndStreamsAndReportWhatIsWrongWithThem) {
    if (traits::kValidatesStreams != nullptr) GTEST_SKIP() << traits::kValidatesStreams;
    const std::string path = folder_.write("in.xml", "<list xmlns='urn:s'>\n<item>x</item></list>");
    Collector collector;
    EXPECT_FALSE(schema_->validateFile(wide(path), &collector));
    EXPECT_EQ(collector.lines.size(), 1u);
    EXPECT_FALSE(schema_->validateFile(wide(path), nullptr)) << "the first is enough";
    EXPECT_EQ(error().substr(0, 6), "9 2:1 ");
    BinInputFile stream(wide(path));
    EXPECT_FALSE(schema_->validateStream(stream, &collector));
    EXPECT_EQ(collector.lines.size(), 2u);
    EXPECT_FALSE(schema_->validateFile(wide(folder_.path("missing.xml")), &collector));
    EXPECT_EQ(schema_->getError()->getCode(), IKelXmlError::kFileNotReadable);
    // Not well formed, or cut off, after a violation: the document is rejected, with what was found before.
    Collector before;
    const std::string cut = "<list xmlns='urn:s'><item>x</item>\n<item>1";
    EXPECT_FALSE(schema_->validateBytes(cut.data(), cut.size(), &before));
    EXPECT_EQ(before.lines.size(), 1u);
    EXPECT_EQ(error().substr(0, 6), "3 2:1 ");
    EXPECT_TRUE(inStream("<list xmlns='urn:s'><item>1</item></list>").empty());
}

TEST_F(Schemas, LetOutWhatAHandlerThrows) {
    const std::string xml = "<list xmlns='urn:s'><item>x</item><item>y</item></list>";
    Collector collector;
    collector.throws = true;
    const DomParser document = load(xml);
    EXPECT_THROW(schema_->validate(document.get(), &collector), std::runtime_error);
    if (traits::kValidatesStreams == nullptr) {
        EXPECT_THROW(schema_->validateBytes(xml.data(), xml.size(), &collector), std::runtime_error);
        EXPECT_EQ(inStream(xml), inTree(xml));
    }
    // The document's own schema is attached again.
    EXPECT_FALSE(document->validate(u"urn:s", wide(folder_.path("s.xsd"))));
    EXPECT_THROW(schema_->validate(document.get(), &collector), std::runtime_error);
    if (traits::kValidatesWhileLoading == nullptr) {
        EXPECT_FALSE(document->loadFromString(wide("<other/>")));
    }
}

TEST_F(Schemas, RejectWhatIsNoSchemaAndKeepWhatTheyHave) {
    Collector collector;
    const IPtr<IKelXmlSchema> empty = make();
    EXPECT_FALSE(empty->validate(load("<a/>").get(), &collector));
    EXPECT_EQ(empty->getError()->getCode(), IKelXmlError::kNotCompiled);
    EXPECT_FALSE(empty->addFile(u"", wide(folder_.path("missing.xsd"))));
    EXPECT_EQ(empty->getError()->getCode(), IKelXmlError::kFileNotReadable);
    EXPECT_FALSE(schema_->addFile(u"urn:s", wide(folder_.write("no.xsd", "<a/>"))));
    EXPECT_EQ(schema_->getError()->getCode(), IKelXmlError::kRejected);
    EXPECT_FALSE(schema_->validate(nullptr, &collector));
    EXPECT_EQ(schema_->getError()->getCode(), IKelXmlError::kInvalidArgument);
    EXPECT_TRUE(inTree("<list xmlns='urn:s'><item>1</item></list>").empty());
}

}  // namespace
