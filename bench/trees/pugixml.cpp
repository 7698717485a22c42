#include <pugixml.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/trees.h"
#include "bench/utf16.h"

namespace bench {
namespace {

template <class Sink>
class Walker {
public:
    explicit Walker(Sink& sink) : sink_(sink) {}

    void walk(const pugi::xml_node& root) {
        pugi::xml_node node = root;
        while (node) {
            visit(node);
            node = following(node, root);
        }
    }

private:
    void visit(const pugi::xml_node& element) {
        sink_.element(toUtf16(element.name(), name_));
        for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute())
            sink_.attribute(toUtf16(a.name(), name_), toUtf16(a.value(), value_));
        value_.clear();
        for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
            if (child.type() == pugi::node_pcdata) appendUtf16(child.value(), value_);
        }
        sink_.text(value_);
    }

    static pugi::xml_node element(pugi::xml_node node) {
        while (node && node.type() != pugi::node_element) node = node.next_sibling();
        return node;
    }

    // The next element in document order below `root`; null at the end.
    static pugi::xml_node following(pugi::xml_node node, const pugi::xml_node& root) {
        if (const pugi::xml_node child = element(node.first_child())) return child;
        for (; node != root; node = node.parent()) {
            if (const pugi::xml_node next = element(node.next_sibling())) return next;
        }
        return {};
    }

    Sink& sink_;
    std::u16string name_;
    std::u16string value_;
};

struct Collector final : pugi::xml_writer {
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
    std::string text;
};

class PugiTree final : public Tree {
public:
    PugiTree() = default;
    void loadFile(const std::string& path) { demand(document_.load_file(path.c_str())); }
    void loadText(const std::string& text) { demand(document_.load_buffer(text.data(), text.size())); }
    [[nodiscard]] pugi::xml_document& document() { return document_; }

    void walk(CountingSink& sink) override { Walker(sink).walk(document_.document_element()); }
    void walk(DigestSink& sink) override { Walker(sink).walk(document_.document_element()); }

    std::uint64_t saveToMemory() override {
        Collector collector;
        document_.save(collector, "\t", pugi::format_indent, pugi::encoding_utf16_le);
        return collector.text.size() / sizeof(char16_t);
    }

    void saveToFile(const std::string& path) override {
        if (!document_.save_file(path.c_str(), "\t", pugi::format_indent, pugi::encoding_utf8))
            throw std::runtime_error("pugixml cannot write " + path);
    }

    std::function<void(std::size_t)> editor(const Plan& plan) override {
        std::vector<pugi::xml_node> elements;
        for (const pugi::xml_node child : document_.document_element()) elements.push_back(child);
        return [elements, texts = plan.texts](std::size_t shift) {
            for (std::size_t i = 0; i < elements.size(); ++i)
                elements[i].text().set(texts[(i + shift) % kPlanValues].c_str());
        };
    }

private:
    static void demand(const pugi::xml_parse_result& result) {
        if (!result) throw std::runtime_error(std::string("pugixml: ") + result.description());
    }

    pugi::xml_document document_;
};

class PugiTrees final : public TreeLibrary {
public:
    [[nodiscard]] std::string_view name() const override { return "pugixml"; }
    [[nodiscard]] std::unique_ptr<Tree> load(const std::string& path) const override {
        auto tree = std::make_unique<PugiTree>();
        tree->loadFile(path);
        return tree;
    }
    [[nodiscard]] std::function<std::unique_ptr<Tree>()> loader(const std::string& text) const override {
        return [text]() -> std::unique_ptr<Tree> {
            auto tree = std::make_unique<PugiTree>();
            tree->loadText(text);
            return tree;
        };
    }
    [[nodiscard]] std::unique_ptr<Tree> build(const Plan& plan) const override {
        auto tree = std::make_unique<PugiTree>();
        pugi::xml_node root = tree->document().append_child("items");
        for (std::uint64_t i = 0; i < plan.count; ++i) {
            pugi::xml_node child = root.append_child("item");
            child.append_attribute("id").set_value(plan.ids[i % kPlanValues].c_str());
            child.append_attribute("kind").set_value(plan.kinds[i % kPlanValues].c_str());
            child.text().set(plan.texts[i % kPlanValues].c_str());
        }
        return tree;
    }
};

}  // namespace

const TreeLibrary& pugixmlTrees() {
    static const PugiTrees library;
    return library;
}

}  // namespace bench
