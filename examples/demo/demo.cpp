// The main job, told step by step: load a real document, look at it, edit it, save it, load the result again
// and compare; then what malformed variants of it are answered with.
//     demo FILE FOLDER      FOLDER is where the results go
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "engine/com/comerror.h"
#include "host/host.h"
#include "host/text.h"
#include "malformed.h"
#include "msxml_parser/msxml_parser.h"
#include "tools/kelxml/compare.h"
#include "tools/kelxml/output.h"

namespace {

namespace fs = std::filesystem;

using kelhost::fromUtf8;
using kelhost::toUtf8;
using Parser = IPtr<IKelDOMXmlV2>;
using Element = IPtr<IKelDOMXmlElement>;
using Children = IPtr<IKelDOMXmlElementItr>;

constexpr int kOutlineLevels = 3;
constexpr int kOutlineChildren = 4;
constexpr int kOutlineAttributes = 3;

void step(const char* title) {
    std::printf("\n== %s\n", title);
}

std::string shortened(const KelString& text, std::size_t limit = 50) {
    return kelxml::oneLine(toUtf8(text), limit);
}

class StopWatch {
public:
    [[nodiscard]] double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

std::string describe(IKelDOMXmlElement& element) {
    std::string line = '<' + shortened(element.getName());
    const int count = element.getAttributeCount();
    for (int i = 0; i < count && i < kOutlineAttributes; ++i) {
        line += ' ' + shortened(element.getAttributeName(i)) + "=\"" +
                shortened(element.getAttributeValue(i), 40) + '"';
    }
    if (count > kOutlineAttributes) line += " ...";
    line += '>';
    const std::string text = shortened(element.getText());
    return text.empty() ? line : line + ' ' + text;
}

// No deeper than kOutlineLevels, so recursion is bounded.
void outline(IKelDOMXmlElement& element, int level) {
    std::printf("   %*s%s\n", 2 * level, "", describe(element).c_str());
    const Children child(element.getChildren());
    int shown = 0;
    for (; level + 1 < kOutlineLevels && shown < kOutlineChildren && !child->isEnd();
         child->next(), ++shown) {
        outline(*Element(child->getElement(false)), level + 1);
    }
    int rest = 0;
    for (; !child->isEnd(); child->next()) ++rest;
    if (rest > 0)
        std::printf("   %*s(%d %schild elements)\n", 2 * level + 2, "", rest, shown > 0 ? "more " : "");
}

// The first element in document order that `accepts`; null if there is none. Elements may be nested to any
// depth.
template <class Accepts>
Element findFirst(const Element& root, Accepts accepts) {
    std::vector<Children> open;
    for (Element element = root;;) {
        if (accepts(*element)) return element;
        open.emplace_back(element->getChildren());
        while (!open.empty() && open.back()->isEnd()) open.pop_back();
        if (open.empty()) return {};
        element = open.back()->getElement(false);
        open.back()->next();
    }
}

bool isLeaf(IKelDOMXmlElement& element) {
    return Children(element.getChildren())->isEnd();
}

void edit(IKelDOMXmlV2& parser) {
    const Element root(parser.getRootElement());

    root->setAttribute(u"edited-by", u"demo");
    std::printf("   attribute  the root has edited-by=\"%s\" now\n",
                shortened(root->getAttribute(u"edited-by")).c_str());

    Element leaf = findFirst(root, [](auto& e) { return isLeaf(e) && !e.getText().isEmpty(); });
    if (!leaf) leaf = findFirst(root, isLeaf);  // no text anywhere: the first leaf gets one
    if (!leaf) return;
    const std::string before = describe(*leaf);
    leaf->setText(u"Edited: caf\u00E9, 1 < 2, \u20AC 5");
    std::printf("   text       %s\n              -> %s\n", before.c_str(), describe(*leaf).c_str());

    const Element note(parser.createElement(u"note"));
    note->setText(u"A new child, added at the end.");
    root->addChild(note.get());
    std::printf("   new child  %s\n", describe(*note).c_str());

    int leaves = 0;
    const Element other = findFirst(root, [&leaves](auto& e) { return isLeaf(e) && ++leaves == 2; });
    if (!other) return;
    const std::string old = describe(*other);
    other->setName(u"renamed");
    std::printf(
        "   rename     %s\n              -> %s   (a rename drops the attributes: docs/behaviour.md)\n",
        old.c_str(), describe(*other).c_str());
}

// Prints the answer of a load that failed.
void showError(IKelDOMXml& parser) {
    IKelDOMXmlError* const error = parser.getError();
    std::printf("   code %d: %s\n", error->getCode(), toUtf8(error->getMessage()).c_str());
}

bool load(IKelDOMXmlV2& parser, const fs::path& file) {
    const StopWatch watch;
    if (!parser.loadFromFile(fromUtf8(file.string()))) {
        showError(parser);
        return false;
    }
    std::error_code unknown;
    const auto size = fs::file_size(file, unknown);
    const double milliseconds = watch.milliseconds();
    std::printf("   %s: %.1f kB in %.1f ms\n", file.c_str(), static_cast<double>(unknown ? 0 : size) / 1000,
                milliseconds);
    return true;
}

bool compare(IKelDOMXmlV2& edited, IKelDOMXmlV2& again) {
    const auto differences = kelxml::compareTrees(
        *Element(edited.getRootElement()), *Element(again.getRootElement()), kelxml::HiddenText::Possible, 5);
    if (differences.empty()) std::printf("   same elements, same attributes, same texts\n");
    for (const kelxml::Difference& difference : differences) {
        std::printf("   differs at %s: %s\n", difference.place.c_str(), difference.what.c_str());
    }
    return differences.empty();
}

std::string readFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

void showMalformed(const kelhost::Component& component, const KelClassId& domClass, const fs::path& saved,
                   const fs::path& folder) {
    const std::string content = readFile(saved);
    for (const MalformedVariant& variant : makeMalformed(content)) {
        const fs::path file = folder / (variant.name + ".xml");
        std::ofstream(file, std::ios::binary) << variant.content;
        std::printf("   %s\n", variant.fault.c_str());
        const auto parser = component.create<IKelDOMXmlV2>(domClass);
        if (parser->loadFromFile(fromUtf8(file.string())))
            std::printf("   loaded?!\n");
        else
            showError(*parser);
        std::printf("\n");
    }
    std::printf("   a file that does not exist\n");
    const auto parser = component.create<IKelDOMXmlV2>(domClass);
    (void)parser->loadFromFile(fromUtf8((folder / "missing.xml").string()));  // refused, as the answer shows
    showError(*parser);
}

int run(const fs::path& file, const fs::path& folder) {
    fs::create_directories(folder);
    kelhost::Host host;
    const kelhost::Component component = host.load(KEL_COMPONENT_LIBRARY);
    const KelClassId domClass = component.classNamed("MSDOMXml");
    std::printf("The component %s %s, loaded into the reference host.\n", component.name().c_str(),
                component.version().c_str());

    step("Load");
    const auto parser = component.create<IKelDOMXmlV2>(domClass);
    if (!load(*parser, file)) return 1;

    step("Outline");
    outline(*Element(parser->getRootElement()), 0);

    step("Edit");
    edit(*parser);

    step("Save");
    const fs::path saved = folder / "edited.xml";
    const StopWatch watch;
    if (!parser->saveToFile(fromUtf8(saved.string()))) return showError(*parser), 1;
    std::printf("   %s in %.1f ms\n", saved.c_str(), watch.milliseconds());

    step("Load the result and compare it with the tree in memory");
    const auto again = component.create<IKelDOMXmlV2>(domClass);
    const bool isSame = load(*again, saved) && compare(*parser, *again);

    step("What malformed files are told");
    showMalformed(component, domClass, saved, folder);
    return isSame ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: demo FILE FOLDER\n", stderr);
        return 2;
    }
    try {
        return run(argv[1], argv[2]);
    } catch (const _com_error& error) {
        std::fprintf(stderr, "demo: engine error %d: %s\n", error.Error(), error.ErrorMessage());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "demo: %s\n", error.what());
    }
    return 1;
}
