#include "tests/sweep/operations.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/comerror.h"
#include "msxml_parser/msxml_parser.h"

namespace sweep {
namespace {

using Dom = IPtr<IKelDOMXmlV2>;
using Work = std::function<Delivery()>;

constexpr const char* kSmallDocument = "<r><e>x</e></r>";
constexpr const char* kIdentity =
    "<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'><x:template match='/'>"
    "<x:copy-of select='.'/></x:template></x:stylesheet>";
constexpr const char* kAnyContent =
    "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element name='r' "
    "type='xs:anyType'/></xs:schema>";

KelString wide(const std::string& utf8) {
    return KelString(std::u16string_view(kel::fromUtf8(utf8)));
}

double bytesOf(const KelString& text) {
    return static_cast<double>(text.length()) * sizeof(char16_t);
}

Dom newParser() {
    static XmlDOM dom;
    return Dom(dom.getParser());
}

Dom loadedText(const char* xml) {
    Dom parser = newParser();
    if (!parser->loadFromString(wide(xml))) throw std::runtime_error("a fixed document does not load");
    return parser;
}

Dom loadedFile(const std::string& path) {
    Dom parser = newParser();
    if (!parser->loadFromFile(wide(path)))
        throw std::runtime_error(kel::toUtf8(parser->getError()->getMessage().view()));
    return parser;
}

// A rejection may be reported either way.
template <class Call>
Delivery delivered(Call call) {
    try {
        return call();
    } catch (const _com_error&) {
        return {0, true};
    }
}

Work load(const std::string& path) {
    return [parser = newParser(), file = wide(path)]() -> Delivery {
        return {0, !parser->loadFromFile(file)};
    };
}

class Counter final : public IKelSAXXmlHandler {
public:
    void startElement(const KelString& name, int, const KelSAXXmlAttributes& attributes) override {
        bytes += bytesOf(name);
        for (const auto& [attribute, value] : attributes) bytes += bytesOf(attribute) + bytesOf(value);
        ++depth;
        isStarted = true;
    }
    void characters(const KelString& text) override { bytes += bytesOf(text); }
    void endElement(const KelString& name) override {
        bytes += bytesOf(name);
        --depth;
    }

    double bytes = 0;
    int depth = 0;
    bool isStarted = false;
};

// Reports success in any case: a document that was rejected leaves elements open, or has none.
Work parseEvents(const std::string& path) {
    static XmlSAX sax;
    return [parser = IPtr<IKelSAXXmlV2>(sax.getParser()), file = wide(path)]() -> Delivery {
        Counter counter;
        parser->pushHandler(&counter);
        const bool isOpened = parser->parseFile(file);
        parser->popHandler();
        return {counter.bytes, !isOpened || !counter.isStarted || counter.depth != 0};
    };
}

Work save(const std::string& path) {
    return [parser = loadedFile(path)]() -> Delivery {
        KelString text;
        const bool isSaved = parser->saveToString(text);
        return {bytesOf(text), !isSaved};
    };
}

Work saveToFile(const std::string& path) {
    return [parser = loadedFile(path), out = path + ".saved"]() -> Delivery {
        const bool isSaved = parser->saveToFile(wide(out));
        return {static_cast<double>(std::filesystem::file_size(out)), !isSaved};
    };
}

double visit(IKelDOMXmlElement& element, KelString& text) {
    double bytes = bytesOf(element.getName(text));
    const int count = element.getAttributeCount();
    for (int i = 0; i < count; ++i) {
        bytes += bytesOf(element.getAttributeName(i, text));
        bytes += bytesOf(element.getAttributeValue(i, text));
    }
    return bytes + bytesOf(element.getText(text));
}

Work walk(const std::string& path) {
    return [parser = loadedFile(path)]() -> Delivery {
        KelString text;
        const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
        double bytes = visit(*root, text);
        std::vector<IPtr<IKelDOMXmlElementItr>> open;
        open.emplace_back(root->getChildren());
        while (!open.empty()) {
            if (open.back()->isEnd()) {
                open.pop_back();
                if (!open.empty()) open.back()->next();
                continue;
            }
            IKelDOMXmlElement& element = *open.back()->getElement();
            bytes += visit(element, text);
            open.emplace_back(element.getChildren());
        }
        return {bytes, false};
    };
}

// Attributes by name, changed and added to: what an editor does.
Work edit(const std::string& path) {
    return [parser = loadedFile(path)]() -> Delivery {
        const IPtr<IKelDOMXmlElement> root(parser->getRootElement());
        const IPtr<IKelDOMXmlElement> copy(root->clone());
        KelString text;
        const int count = root->getAttributeCount();
        double bytes = 0;
        for (int i = 0; i < count; i += 100) {
            root->setAttribute(root->getAttributeName(i), KelString(u"v"));
            bytes += bytesOf(root->getAttribute(root->getAttributeName(i), text));
        }
        const IPtr<IKelDOMXmlElementItr> children(copy->getChildren());
        for (; !children->isEnd(); children->next()) children->getElement()->setText(KelString(u"t"));
        root->addChild(copy.get());
        return {bytes, false};
    };
}

Work transformDocument(const std::string& path) {
    return [parser = loadedFile(path), style = loadedText(kIdentity)]() -> Delivery {
        KelString text;
        const bool isDone = parser->transformToString(style.get(), text);
        return {bytesOf(text), !isDone};
    };
}

std::string schemaBeside(const std::string& path) {
    const std::string schema = path + ".xsd";
    std::ofstream(schema) << kAnyContent;
    return schema;
}

Work validateDocument(const std::string& path) {
    return [parser = loadedFile(path), schema = wide(schemaBeside(path))] {
        return delivered([&]() -> Delivery { return {0, !parser->validate(KelString(), schema)}; });
    };
}

Work transformWith(const std::string& path) {
    return [path]() -> Delivery {
        const Dom style = newParser();
        if (!style->loadFromFile(wide(path))) return {0, true};
        KelString text;
        const bool isDone = loadedText(kSmallDocument)->transformToString(style.get(), text);
        return {bytesOf(text), !isDone};
    };
}

Work validateWith(const std::string& path) {
    return [parser = loadedText(kSmallDocument), schema = wide(path)] {
        return delivered([&]() -> Delivery { return {0, !parser->validate(KelString(), schema)}; });
    };
}

}  // namespace

std::vector<Operation> operationsFor(Kind kind) {
    switch (kind) {
        case Kind::Document:
            return {{"load", load},
                    {"sax", parseEvents},
                    {"save", save},
                    {"save to a file", saveToFile},
                    {"walk", walk},
                    {"edit", edit},
                    {"transform", transformDocument},
                    {"validate", validateDocument}};
        case Kind::WithDoctype:
            return {{"sax", parseEvents}};
        case Kind::StyleSheet:
            return {{"transform", transformWith}};
        case Kind::Schema:
            return {{"validate", validateWith}};
    }
    return {};
}

}  // namespace sweep
