#include <stdexcept>
#include <vector>

#include "msxml_parser/detail/engineclasses.h"
#include "tests/component/fixture.h"
#include "tests/component/platform/classes.h"
#include "tests/component/recorder.h"

namespace {

using namespace component_test;

class SaxParsing : public ::testing::Test {
protected:
    // The events of a document, written to a file.
    std::string events(std::string_view xml) {
        EventRecorder recorder;
        parser_->pushHandler(&recorder);
        EXPECT_TRUE(parser_->parseFile(wide(folder_.write("in.xml", xml))));
        parser_->popHandler();
        return recorder.log();
    }

    const Folder folder_;
    const SaxParser parser_ = makeSax();
};

TEST_F(SaxParsing, DeliversElementsAttributesAndTexts) {
    struct Row {
        const char* in;
        const char* out;
    };
    constexpr Row rows[] = {
        {"<r><c k='v'>t</c></r>", "<r 0><c 1 k=v>'t'</c></r>"},
        {"<p:e xmlns:p='u' xmlns:q='v' q:a='1'/>", traits::kEventsOfTwoDeclarations},
        {"<e xmlns:p='u' p:a='1' a='2' b='0' A='3'/>", traits::kEventsOfEqualLocalNames},
        {"<?xml version='1.0'?><!--c--><a><?p i?>x<!--c-->y<![CDATA[<z>]]></a>", "<a 0>'xy<z>'</a>"},
        {"<a>x&amp;&#x20AC;</a>", "<a 0>'x&\xE2\x82\xAC'</a>"},
    };
    for (const Row& row : rows) EXPECT_EQ(events(row.in), row.out) << row.in;
}

TEST_F(SaxParsing, ExpandsEntitiesOfTheDocument) {
    if (traits::kExpandsEntities != nullptr) GTEST_SKIP() << traits::kExpandsEntities;
    EXPECT_EQ(events("<!DOCTYPE a [<!ENTITY e 'text'>]><a>&e;&amp;&#x20AC;</a>"),
              "<a 0>'text&\xE2\x82\xAC'</a>");
}

TEST_F(SaxParsing, ReturnsTrueForMalformedInputAfterTheEventsBeforeTheError) {
    EXPECT_EQ(events("<a><b>t</b></c>"), "<a 0><b 1>'t'</b>");
    EXPECT_EQ(errorOf(parser_), "0 ");
    EXPECT_EQ(events("<a/>"), "<a 0></a>");  // the depth starts anew
}

TEST_F(SaxParsing, DropsEventsWithoutAReceiver) {
    parser_->popHandler();
    EXPECT_TRUE(parser_->parseFile(wide(folder_.write("in.xml", "<a><b/></a>"))));
    EXPECT_EQ(events("<a/>"), "<a 0></a>");
}

TEST_F(SaxParsing, ReportsAFileThatCannotBeOpened) {
    const std::string path = folder_.path("missing.xml");
    EXPECT_FALSE(parser_->parseFile(wide(path)));
    EXPECT_EQ(errorOf(parser_), "1 Error while reading " + path +
                                    " : The file doesn't exist or you don't have read rights to it");
    EXPECT_EQ(events("<a/>"), "<a 0></a>");
    EXPECT_EQ(errorOf(parser_), "0 ");
}

TEST_F(SaxParsing, WithoutAReaderEveryFileIsRejected) {
    const FailingClass failing(msxml::kSaxReaderClass);
    const SaxParser parser = makeSax();
    EventRecorder recorder;
    parser->pushHandler(&recorder);
    parser->popHandler();
    EXPECT_EQ(errorOf(parser), "0 ");
    EXPECT_FALSE(parser->parseFile(wide("c:")));
    EXPECT_EQ(errorOf(parser), "5 Error while reading c:\\ : No SAX Object");
}

// Hands a sub-tree to another receiver: from the element's own text on, to its end.
class Delegating final : public EventRecorder {
public:
    Delegating(IKelSAXXml& parser, EventRecorder& delegate) : parser_(parser), delegate_(delegate) {}

    void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) override {
        EventRecorder::startElement(name, depth, attributes);
        if (name == u"sub") parser_.pushHandler(&delegate_);
    }

private:
    IKelSAXXml& parser_;
    EventRecorder& delegate_;
};

class Returning final : public EventRecorder {
public:
    explicit Returning(IKelSAXXml& parser) : parser_(parser) {}

    void endElement(const KelString& name) override {
        EventRecorder::endElement(name);
        if (name == u"sub") parser_.popHandler();
    }

private:
    IKelSAXXml& parser_;
};

TEST_F(SaxParsing, SendsEventsToTheReceiverOnTop) {
    Returning delegate(*parser_.get());
    Delegating main(*parser_.get(), delegate);
    parser_->pushHandler(&main);
    const KelString path = wide(folder_.write("in.xml", "<a>1<sub>2<b/></sub>3<sub/>4</a>"));
    for (int round = 0; round < 2; ++round) {  // the stack persists
        main.forget();
        delegate.forget();
        EXPECT_TRUE(parser_->parseFile(path));
        EXPECT_EQ(main.log(), "<a 0>'1'<sub 1>'3'<sub 1>'4'</a>");
        EXPECT_EQ(delegate.log(), "'2'<b 2></b></sub></sub>");
    }
}

class Throwing final : public EventRecorder {
public:
    explicit Throwing(int after) : left_(after) {}

    void startElement(const KelString&, int, const KelSAXXmlAttributes&) override { countDown(); }
    void characters(const KelString&) override { countDown(); }
    void endElement(const KelString&) override { countDown(); }

private:
    void countDown() {
        if (left_-- == 0) throw std::runtime_error("enough");
    }

    int left_;
};

TEST_F(SaxParsing, LetsAReceiversExceptionOut) {
    const KelString path = wide(folder_.write("in.xml", "<a x='1'><b>t</b></a>"));
    for (int after = 0; after < 5; ++after) {
        const SaxParser parser = makeSax();
        Throwing receiver(after);
        parser->pushHandler(&receiver);
        EXPECT_THROW(parser->parseFile(path), std::runtime_error) << after;
    }
}

TEST_F(SaxParsing, ParsesAgainAfterAReceiversException) {
    if (traits::kReadsOnAfterException != nullptr) GTEST_SKIP() << traits::kReadsOnAfterException;
    const KelString path = wide(folder_.write("in.xml", "<a x='1'><b>t</b></a>"));
    for (int after = 0; after < 5; ++after) {
        Throwing receiver(after);
        parser_->pushHandler(&receiver);
        EXPECT_THROW(parser_->parseFile(path), std::runtime_error) << after;
        parser_->popHandler();
        EXPECT_EQ(events("<a x='2'><b>u</b></a>"), "<a 0 x=2><b 1>'u'</b></a>");
    }
}

}  // namespace
