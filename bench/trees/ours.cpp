#include <stdexcept>
#include <utility>
#include <vector>

#include "bench/ours.h"
#include "bench/trees.h"

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

using Texts = std::vector<KelString>;

Texts toKelStrings(const std::array<std::string, kPlanValues>& values) {
    Texts texts;
    for (const std::string& value : values) texts.push_back(toKelString(value));
    return texts;
}

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

    std::function<void(std::size_t)> editor(const Plan& plan) override {
        std::vector<IPtr<IKelDOMXmlElement>> elements;
        const IPtr<IKelDOMXmlElementItr> children(parser_->getRootElementItr());
        for (; !children->isEnd(); children->next()) elements.emplace_back(children->getElement(false));
        return [elements, texts = toKelStrings(plan.texts)](std::size_t shift) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                elements[i]->setText(texts[(i + shift) % kPlanValues]);
        };
    }

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
        IPtr<IKelDOMXmlV2> parser = newDomParser();
        if (!parser->loadFromFile(toKelString(path)))
            throw std::runtime_error(parser->getError()->getMessage().narrow());
        return std::make_unique<OurTree>(std::move(parser));
    }
    [[nodiscard]] std::function<std::unique_ptr<Tree>()> loader(const std::string& text) const override {
        return [units = toKelString(text)]() -> std::unique_ptr<Tree> {
            IPtr<IKelDOMXmlV2> parser = newDomParser();
            if (!parser->loadFromString(units))
                throw std::runtime_error(parser->getError()->getMessage().narrow());
            return std::make_unique<OurTree>(std::move(parser));
        };
    }
    [[nodiscard]] std::unique_ptr<Tree> build(const Plan& plan) const override {
        const Texts ids = toKelStrings(plan.ids);
        const Texts kinds = toKelStrings(plan.kinds);
        const Texts texts = toKelStrings(plan.texts);
        const KelString item(u"item");
        const KelString id(u"id");
        const KelString kind(u"kind");
        IPtr<IKelDOMXmlV2> parser = newDomParser();
        const IPtr<IKelDOMXmlElement> root(parser->createElement(KelString(u"items")));
        parser->setRootElement(root.get());
        for (std::uint64_t i = 0; i < plan.count; ++i) {
            const IPtr<IKelDOMXmlElement> child(parser->createElement(item));
            child->setAttribute(id, ids[i % kPlanValues]);
            child->setAttribute(kind, kinds[i % kPlanValues]);
            child->setText(texts[i % kPlanValues]);
            root->addChild(child.get());
        }
        return std::make_unique<OurTree>(std::move(parser));
    }
};

}  // namespace

const TreeLibrary& ourTrees() {
    static const OurTrees library;
    return library;
}

}  // namespace bench
