// Streams a file and hands one kind of subtree to a receiver of its own.
#include <cstdio>
#include <string>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/msxml_parser.h"

namespace {

// [begin order]
// Reads the inside of one <order>. Takes itself off the parser's stack at the order's end.
class OrderReader final : public IKelSAXXmlHandler {
public:
    explicit OrderReader(IKelSAXXml& parser) : parser_(parser) {}

    void startElement(const KelString& /*name*/, int /*depth*/,
                      const KelSAXXmlAttributes& /*attributes*/) override {
        ++openElements_;
    }
    void characters(const KelString& text) override {
        if (openElements_ > 0) contents_ += kel::toUtf8(text.view());  // a text may come in several pieces
    }
    void endElement(const KelString& name) override {
        if (openElements_ == 0) return parser_.popHandler();  // the order itself
        --openElements_;
        std::printf("  %s: %s\n", kel::toUtf8(name.view()).c_str(), contents_.c_str());
        contents_.clear();
    }

private:
    IKelSAXXml& parser_;
    int openElements_ = 0;  // inside the order
    std::string contents_;
};

// Reads everything around the orders.
class ListReader final : public IKelSAXXmlHandler {
public:
    explicit ListReader(IKelSAXXml& parser) : parser_(parser), orders_(parser) {}

    void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) override {
        if (!(name == u"order")) return;
        const auto number = attributes.find(u"number");
        std::printf("order %s at depth %d\n",
                    number != attributes.end() ? kel::toUtf8(number->second.view()).c_str() : "?", depth);
        parser_.pushHandler(&orders_);  // from the next event on
    }
    void characters(const KelString& /*text*/) override {}
    void endElement(const KelString& name) override {
        std::printf("end of %s\n", kel::toUtf8(name.view()).c_str());
    }

private:
    IKelSAXXml& parser_;
    OrderReader orders_;
};
// [end order]

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: subtree FILE\n", stderr), 2;
    // [begin parse]
    XmlSAX xml;
    IPtr<IKelSAXXmlV2> parser(xml.getParser());
    ListReader list(*parser);
    parser->pushHandler(&list);
    if (!parser->parseFile(kel::fromUtf8(argv[1]))) {
        std::fprintf(stderr, "%s\n", kel::toUtf8(parser->getError()->getMessage().view()).c_str());
        return 1;
    }
    parser->popHandler();
    // [end parse]
    return 0;
}
