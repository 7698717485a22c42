#include <array>
#include <filesystem>
#include <fstream>

#include "tests/engine/dom_fixture.h"

namespace {

using namespace domtest;

struct WhiteSpaceCase {
    const char* fault;
    const char16_t* xml;
    const char* expected;
};

constexpr std::array kLayoutCases{
    WhiteSpaceCase{"layout around child elements goes", u"<a>\n <b/>\n\t<c/>\r\n</a>", "<a><b/><c/></>"},
    WhiteSpaceCase{"a leaf's spaces stay", u"<a> <b> </b><c>\n</c></a>", "<a><b> </><c>\n</></>"},
    WhiteSpaceCase{"a leaf with comments keeps its spaces", u"<a> <!--x--> <?p d?> </a>",
                   "<a> <!x> <?p d> </>"},
    WhiteSpaceCase{"text after the spaces keeps all of them", u"<a> <b/> <c/> t </a>", "<a> <b/> <c/> t </>"},
    WhiteSpaceCase{"text before the spaces keeps them", u"<a>t<b/> <c/> </a>", "<a>t<b/> <c/> </>"},
    WhiteSpaceCase{"a CDATA section with text keeps them", u"<a> <b/> <![CDATA[x]]> </a>",
                   "<a> <b/> [x] </>"},
    WhiteSpaceCase{"a CDATA section of white space stays, layout goes", u"<a> <b/> <![CDATA[ ]]> </a>",
                   "<a><b/>[ ]</>"},
    WhiteSpaceCase{"an empty CDATA section stays", u"<a><![CDATA[]]></a>", "<a>[]</>"},
    WhiteSpaceCase{"layout between comments goes", u"<a> <!--x--> <b/> <?p d?> </a>", "<a><!x><b/><?p d></>"},
    WhiteSpaceCase{"what is kept outside does not decide inside", u"<a>t <b> <c/> </b> </a>",
                   "<a>t <b><c/></> </>"},
    WhiteSpaceCase{"layout dropped inside does not come back outside", u"<a> <b> <c/> </b> t</a>",
                   "<a> <b><c/></> t</>"},
    WhiteSpaceCase{"other white space is text", u"<a>\u00A0<b/> \u2003 </a>", "<a>\u00A0<b/> \u2003 </>"},
    WhiteSpaceCase{"xml:space keeps", u"<a xml:space=\"preserve\"> <b> <c/> </b> </a>",
                   "<a xml:space=\"preserve\"> <b> <c/> </> </>"},
    WhiteSpaceCase{"xml:space is taken back below",
                   u"<a xml:space=\"preserve\"> <b xml:space=\"default\"> <c/> </b> <d> <e/></d></a>",
                   "<a xml:space=\"preserve\"> <b xml:space=\"default\"><c/></> <d> <e/></></>"},
    WhiteSpaceCase{"xml:space ends with its element", u"<a> <b xml:space=\"preserve\"> </b> <c> <d/></c></a>",
                   "<a><b xml:space=\"preserve\"> </><c><d/></></>"},
    WhiteSpaceCase{"other values of xml:space change nothing", u"<a xml:space=\"keep\"> <b/></a>",
                   "<a xml:space=\"keep\"><b/></>"},
    WhiteSpaceCase{"comments and instructions around the root stay", u"<!--h--> <?p  d ?> <a/> <!--t--> ",
                   "<!h><?p d ><a/><!t>"},
};

class DomLoad : public DomTest {};

TEST_F(DomLoad, DropsLayoutWhiteSpaceAndNothingElse) {
    for (const WhiteSpaceCase& c : kLayoutCases) {
        SCOPED_TRACE(c.fault);
        EXPECT_EQ(outline(*loaded(c.xml)), c.expected);
    }
}

TEST_F(DomLoad, OnlyVariantTrueKeepsAllWhiteSpace) {
    struct Row {
        VARIANT_BOOL preserve;
        const char* expected;
    };
    for (const Row& row : std::array<Row, 4>{{{VARIANT_TRUE, "<a> <b>\n<c/></>\n</>"},
                                              {1, "<a><b><c/></></>"},
                                              {0, "<a><b><c/></></>"},
                                              {-2, "<a><b><c/></></>"}}}) {
        const DocumentRef document = newDocument();
        EXPECT_EQ(document->put_preserveWhiteSpace(row.preserve), S_OK);
        ASSERT_TRUE(load(*document, u"<a> <b>\n<c/></b>\n</a>"));
        EXPECT_EQ(outline(*document), row.expected) << row.preserve;
    }
}

// Runs of spaces are shared inside the tree: none may show up instead of another.
TEST_F(DomLoad, KeepsEveryRunOfSpacesApart) {
    std::u16string xml = u"<a>";
    std::string expected = "<a>";
    for (std::size_t i = 0; i < 2000; ++i) {
        const std::string spaces =
            std::string(i % 7, '\n') + std::string(i % 13, ' ') + (i % 3 == 0 ? "\t" : "\n");
        xml += u"<b>" + engine::text::toUtf16(spaces) + u"</b>";
        expected += "<b>" + spaces + "</>";
    }
    EXPECT_EQ(outline(*loaded(xml + u"</a>")), expected + "</>");
}

TEST_F(DomLoad, KeepsAttributesInDocumentOrderWithDeclarations) {
    EXPECT_EQ(outline(*loaded(u"<p:a z=\"1\" xmlns:p=\"u\" p:z=\"2\" b=\"&lt;&#10;\"/>")),
              "<p:a z=\"1\" xmlns:p=\"u\" p:z=\"2\" b=\"<\n\"/>");
}

TEST_F(DomLoad, FailedLoadLeavesAnEmptyDocumentAndItsRecord) {
    const DocumentRef document = loaded(u"<a/>");
    ASSERT_FALSE(load(*document, u"<a>\n  <b></c>\n</a>"));
    EXPECT_FALSE(root(*document));
    EXPECT_FALSE(first(*document));
    Ref<IXMLDOMParseError> error;
    ASSERT_EQ(document->get_parseError(error.receive()), S_OK);
    LONG code = 0;
    LONG line = 0;
    LONG column = 0;
    LONG position = 0;
    EXPECT_EQ(error->get_errorCode(&code), S_OK);
    EXPECT_LT(code, 0);
    EXPECT_EQ(error->get_line(&line), S_OK);
    EXPECT_EQ(error->get_linepos(&column), S_OK);
    EXPECT_EQ(error->get_filepos(&position), S_OK);
    EXPECT_EQ(line, 2);
    EXPECT_GT(column, 3);
    EXPECT_EQ(position, 4 + column - 1);
    BSTR source = nullptr;
    EXPECT_EQ(error->get_srcText(&source), S_OK);
    EXPECT_EQ(takeUtf8(source), "  <b></c>");
    EXPECT_NE(reason(*document).find('c'), std::string::npos);

    ASSERT_TRUE(load(*document, u"<d/>"));
    EXPECT_EQ(error->get_errorCode(&code), S_OK) << "a record does not change with the next load";
    ASSERT_EQ(document->get_parseError(error.receive()), S_OK);
    EXPECT_EQ(error->get_errorCode(&code), S_FALSE);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(reason(*document), "");
}

// A new document is filled where it is: what was taken from it before must notice, whether that succeeds or
// not.
TEST_F(DomLoad, ANewDocumentsNamesAndListsFollowItsFirstLoads) {
    const DocumentRef document = newDocument();
    Ref<IXMLDOMNodeList> children;
    ASSERT_EQ(document->get_childNodes(children.receive()), S_OK);
    const auto count = [&] {
        LONG length = -1;
        EXPECT_EQ(children->get_length(&length), S_OK);
        return length;
    };
    EXPECT_EQ(count(), 0);
    ASSERT_FALSE(load(*document, u"<x><a b=\"1\"/><c p:d=\"2\"/></x>"));
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(outline(*document), "");
    ASSERT_TRUE(load(*document, u"<!--h--><d c=\"1\" b=\"2\"/>"));
    EXPECT_EQ(count(), 2);
    const Element d = root(*document);
    VARIANT value{};
    EXPECT_EQ(d->getAttribute(Bstr(u"a"), &value), S_FALSE);
    ASSERT_EQ(d->setAttribute(Bstr(u"a"), Bstr(u"3").variant()), S_OK);
    EXPECT_EQ(outline(*d), "<d c=\"1\" b=\"2\" a=\"3\"/>");
}

// Reads "<read/>", and meanwhile changes the document that is being loaded.
class Meddling final : public engine::com::Object<Meddling, ISequentialStream> {
public:
    explicit Meddling(IXMLDOMDocument2& document) : document_(document) {}

    HRESULT Read(void* to, ULONG count, ULONG* read) override {
        Ref<IXMLDOMElement> element;
        EXPECT_EQ(document_.createElement(Bstr(u"meddled"), element.receive()), S_OK);
        if (left_.size() == 7) {
            EXPECT_EQ(document_.appendChild(element.get(), nullptr), S_OK);
        }
        *read = static_cast<ULONG>(left_.copy(static_cast<char*>(to), std::min<std::size_t>(count, 4)));
        left_.remove_prefix(*read);
        return S_OK;
    }
    HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

private:
    IXMLDOMDocument2& document_;
    std::string_view left_ = "<read/>";
};

TEST_F(DomLoad, AStreamMayUseTheDocumentThatIsLoadedFromIt) {
    const DocumentRef document = newDocument();
    const auto stream = engine::com::make<Meddling>(*document);
    VARIANT source{};
    source.vt = VT_UNKNOWN;
    source.punkVal = stream.get();
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_EQ(document->load(source, &ok), S_OK);
    EXPECT_EQ(outline(*document), "<read/>");
}

TEST_F(DomLoad, TakesPathsAndFileAddressesAndRejectsTheRest) {
    const std::string path = testing::TempDir() + "dom load \xC3\xA9.xml";
    std::ofstream(path) << "<f/>";
    const DocumentRef document = newDocument();
    VARIANT_BOOL ok = VARIANT_FALSE;
    const Bstr plain{std::string_view(path)};
    EXPECT_EQ(document->load(plain.variant(), &ok), S_OK);
    EXPECT_EQ(ok, VARIANT_TRUE);
    EXPECT_EQ(outline(*document), "<f/>");

    for (const char* address : {"http://localhost/x.xml", "ftp://localhost/x.xml", "/no/such/file.xml", ""}) {
        SCOPED_TRACE(address);
        const Bstr rejected{std::string_view(address)};
        EXPECT_EQ(document->load(rejected.variant(), &ok), S_FALSE);
        EXPECT_EQ(ok, VARIANT_FALSE);
        EXPECT_FALSE(root(*document));
        EXPECT_NE(reason(*document), "");
        ASSERT_TRUE(load(*document, u"<again/>"));
    }
    VARIANT number{};
    number.vt = VT_I4;
    EXPECT_EQ(document->load(number, &ok), E_INVALIDARG);
    EXPECT_NE(lastDescription(), "");
    EXPECT_FALSE(root(*document));
    std::filesystem::remove(path);
}

TEST_F(DomLoad, NodesOfAnEarlierLoadStayReadable) {
    const DocumentRef document = loaded(u"<old k=\"v\"><b>text</b></old>");
    const Element old = root(*document);
    const Node inner = first(*old);
    ASSERT_TRUE(load(*document, u"<new/>"));
    EXPECT_EQ(outline(*old), "<old k=\"v\"><b>text</></>");
    EXPECT_EQ(parentOf(*inner).get(), static_cast<IXMLDOMNode*>(old.get()));
    EXPECT_FALSE(parentOf(*old)) << "the document is no longer its parent";
    ASSERT_FALSE(load(*document, u"<"));
    EXPECT_EQ(outline(*old), "<old k=\"v\"><b>text</></>");
    EXPECT_EQ(root(*document).get(), nullptr);
    // They can also come back.
    EXPECT_EQ(document->appendChild(inner.get(), nullptr), S_OK);
    EXPECT_EQ(outline(*document), "<b>text</>");
    EXPECT_EQ(outline(*old), "<old k=\"v\"/>");
}

TEST_F(DomLoad, ATreeThatIsFullFailsTheLoadWithAPositionAndAReason) {
    const auto small = Ref<engine::dom::Document>::adopt(new engine::dom::Document(64));
    EXPECT_FALSE(load(*small, u"<a>\n <b>" + std::u16string(100, u'x') + u"</b></a>"));
    EXPECT_FALSE(root(*small));
    EXPECT_NE(reason(*small).find("too large"), std::string::npos);
    // A source that fits, with a text that does not stand in it and has no room beside it.
    EXPECT_FALSE(load(*small, u"<a>\n <b>" + std::u16string(30, u'x') + u"&lt;</b></a>"));
    EXPECT_NE(reason(*small).find("too large"), std::string::npos);
    Ref<IXMLDOMParseError> error;
    ASSERT_EQ(small->get_parseError(error.receive()), S_OK);
    LONG line = 0;
    EXPECT_EQ(error->get_line(&line), S_OK);
    EXPECT_EQ(line, 2);
    ASSERT_TRUE(load(*small, u"<a>fits</a>"));
    const Bstr tooLong(std::u16string(100, u'x'));
    EXPECT_EQ(first(*root(*small))->put_text(tooLong), E_OUTOFMEMORY);
    EXPECT_NE(lastDescription().find("too large"), std::string::npos);
    EXPECT_EQ(outline(*small), "<a>fits</>");
}

// The n-th request for memory fails, for every n: the load fails, the document is empty, nothing is lost.
TEST_F(DomLoad, RunningOutOfMemoryLeavesAnEmptyDocument) {
    std::u16string xml = u"<a xmlns:p=\"u\">";
    for (int i = 0; i < 60; ++i) {
        xml += u"<p:b" + engine::text::toUtf16(std::to_string(i)) + u" k=\"v\"> text <c/>\n</p:b" +
               engine::text::toUtf16(std::to_string(i)) + u">";
    }
    const Bstr text(xml + u"</a>");
    const DocumentRef document = loaded(u"<before/>");
    int failures = 0;
    for (VARIANT_BOOL ok = VARIANT_FALSE; ok == VARIANT_FALSE; ++failures) {
        ASSERT_LT(failures, 200);
        const bool emptied = failures > 0;
        HRESULT status = S_OK;
        {
            const engine::dom::FailingAllocation failing(failures);
            status = document->loadXML(text, &ok);
        }
        if (ok == VARIANT_TRUE) break;
        EXPECT_EQ(status, E_OUTOFMEMORY);
        EXPECT_NE(lastDescription(), "");
        EXPECT_NE(reason(*document), "");
        // Only when there is no memory for an empty tree either, the old one has to stay.
        EXPECT_EQ(root(*document).get() == nullptr, emptied) << failures;
    }
    EXPECT_GT(failures, 8);
    EXPECT_TRUE(root(*document));
}

}  // namespace
