#include <stdexcept>
#include <utility>

#include "bench/ours.h"
#include "bench/trees.h"
#include "framework/object/iptr.h"
#include "msxml_parser/msxml_parser.h"

namespace bench {
namespace {

// As an application does it: one wide string for names, one for values and texts.
template <class Sink>
class Walker {
public:
    explicit Walker(Sink& sink) : sink_(sink) {}

    void walk(IKelDOMXmlV2& parser) {
        const IPtr<IKelDOMXmlElement> root(parser.getRootElement());
        visit(*root);
        std::vector<IPtr<IKelDOMXmlElementItr>> open;
        open.emplace_back(root->getChildren());
        while (!open.empty()) {
            if (open.back()->isEnd()) {
                open.pop_back();
                if (!open.empty()) open.back()->next();
                continue;
            }
            IKelDOMXmlElement& element = *open.back()->getElement();
            visit(element);
            open.emplace_back(element.getChildren());
        }
    }

private:
    void visit(IKelDOMXmlElement& element) {
        sink_.element(element.getName(name_).view());
        const int count = element.getAttributeCount();
        for (int i = 0; i < count; ++i) {
            sink_.attribute(element.getAttributeName(i, name_).view(),
                            element.getAttributeValue(i, value_).view());
        }
        sink_.text(element.getText(value_).view());
    }

    Sink& sink_;
    KelString name_;
    KelString value_;
};

class OurTree final : public Tree {
public:
    explicit OurTree(IPtr<IKelDOMXmlV2> parser) : parser_(std::move(parser)) {}

    void walk(CountingSink& sink) override { Walker(sink).walk(*parser_); }
    void walk(DigestSink& sink) override { Walker(sink).walk(*parser_); }

    std::uint64_t saveToMemory() override {
        KelString text;
        demand(parser_->saveToString(text));
        return text.length();
    }

    void saveToFile(const std::string& path) override { demand(parser_->saveToFile(toKelString(path))); }

private:
    void demand(bool done) {
        if (!done) throw std::runtime_error(parser_->getError()->getMessage().narrow());
    }

    IPtr<IKelDOMXmlV2> parser_;
};

class OurTrees final : public TreeLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "ours"; }
    [[nodiscard]] std::unique_ptr<Tree> load(const std::string& path) const override {
        IPtr<IKelDOMXmlV2> parser(dom().getParser());
        if (!parser->loadFromFile(toKelString(path)))
            throw std::runtime_error(parser->getError()->getMessage().narrow());
        return std::make_unique<OurTree>(std::move(parser));
    }
};

}  // namespace

const TreeLibrary& ourTrees() {
    static const OurTrees library;
    return library;
}

}  // namespace bench
