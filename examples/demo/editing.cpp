// Changing a document through element handles, writing it, and reading it back.
#include "host/text.h"
#include "steps.h"
#include "tools/kelxml/documents/compare.h"

namespace demo {

namespace {

bool isSchema(IKelDOMXmlElement& root) {
    return nameOf(root) == prefixOf(root) + u"schema" && namespaceOf(root) == kSchemaNamespace;
}

// A note as the vocabulary has it, if we know the vocabulary.
Element makeNote(IKelDOMXmlV2& parser, IKelDOMXmlElement& root) {
    const std::u16string prefix = prefixOf(root);
    const KelString text(u"Edited by the demo: caf\u00E9, \u65E5\u672C\u8A9E, 1 < 2, \u20AC 5");
    if (!isSchema(root)) {
        Element note(parser.createElement(prefix + u"note"));
        note->setText(text);
        return note;
    }
    Element annotation(parser.createElement(prefix + u"annotation"));
    const Element documentation(parser.createElement(prefix + u"documentation"));
    documentation->setText(text);
    annotation->addChild(documentation.get());
    return annotation;
}

}  // namespace

void edit(IKelDOMXmlV2& parser) {
    const Element root(parser.getRootElement());
    root->setAttribute(u"id", u"edited");
    say("an attribute    the root has id=\"" + shortened(root->getAttribute(u"id")) + "\" now");

    const Element note = makeNote(parser, *root);
    root->addChild(note.get());
    const Children inside(note->getChildren());
    say("a new element   " + describe(*note) +
        (inside->isEnd() ? "" : describe(*Element(inside->getElement(false)))));

    const Children first(root->getChildren());
    const Element copy(Element(first->getElement(false))->clone());
    say("a deep copy     " + describe(*copy) + ", which stays outside the document");
}

bool saveAndCompare(const Stage& stage, IKelDOMXmlV2& parser, const std::filesystem::path& saved) {
    const StopWatch watch;
    if (!parser.saveToFile(kelhost::fromUtf8(kelhost::utf8Of(saved)))) {
        say(describeError(parser));
        return false;
    }
    say("saved in " + watch.elapsed());
    const Parser again = stage.makeParser();
    if (!load(*again, saved)) return false;
    const auto differences =
        kelxml::compareTrees(*Element(parser.getRootElement()), *Element(again->getRootElement()),
                             kelxml::HiddenText::Possible, 3);
    if (differences.empty()) say("the same elements, the same attributes, the same texts");
    for (const kelxml::Difference& difference : differences)
        say("differs at " + difference.path + ": " + difference.what);
    if (!differences.empty())
        say("The component's writer is made for records, see docs/behaviour.md; 'kelxml format' keeps "
            "everything.");
    return true;
}

}  // namespace demo
