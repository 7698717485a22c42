// Two passes over both trees at once, each with a stack of its own instead of recursion.
//
// The first compares what elements show: names, attributes, texts, number of children. Elements do not show
// the text of CDATA sections, but the component's writer does: an element that has a text node is written
// with all its text. So where the original may hold such sections, a second pass gives a copy of the element
// a text node if it lacks one, and compares what is written. It starts at the roots, which ends it at once
// unless something is hidden, and goes down only where the written forms differ.
#include "tools/kelxml/documents/compare.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "KelBasicTypes/utf8.h"
#include "framework/object/iptr.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "tools/kelxml/report/message.h"
#include "tools/kelxml/report/output.h"

namespace kelxml {

namespace {

using ElementPtr = IPtr<IKelDOMXmlElement>;
using IteratorPtr = IPtr<IKelDOMXmlElementItr>;

constexpr std::size_t kCommonInUnits = 12;  // shown before the first difference

// Both texts around their first difference, as "abc" and "abd".
struct Excerpts {
    std::string original;
    std::string copy;
};

Excerpts aroundDifference(const KelString& original, const KelString& copy) {
    const std::u16string_view a = original.view();
    const std::u16string_view b = copy.view();
    const auto first = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
    const std::size_t start = first > kCommonInUnits ? first - kCommonInUnits : 0;
    return {excerpt(a, start), excerpt(b, start)};
}

// A pair of elements at the same path, and the walk over their children.
struct Level {
    Level(ElementPtr originalElement, ElementPtr copyElement)
        : original(std::move(originalElement)),
          copy(std::move(copyElement)),
          originalChildren(original->getChildren()),
          copyChildren(copy->getChildren()) {}

    [[nodiscard]] bool isLeaf() const {
        return visited == 0 && originalChildren->isEnd() && copyChildren->isEnd();
    }
    [[nodiscard]] bool hasPair() const { return !originalChildren->isEnd() && !copyChildren->isEnd(); }

    Level nextPair() {
        Level pair(ElementPtr(originalChildren->getElement(false)),
                   ElementPtr(copyChildren->getElement(false)));
        originalChildren->next();
        copyChildren->next();
        ++visited;
        return pair;
    }

    ElementPtr original;
    ElementPtr copy;
    IteratorPtr originalChildren;  // stand on the first pair that was not visited yet
    IteratorPtr copyChildren;
    std::size_t visited = 0;
};

std::size_t countRest(IKelDOMXmlElementItr& children) {
    std::size_t count = 0;
    for (; !children.isEnd(); children.next()) ++count;
    return count;
}

std::string written(IKelDOMXmlElement& element) {
    KelString text;
    element.write(nullptr, text, KelString(), KelString(), false);
    return kelhost::toUtf8(text);
}

class Comparison {
public:
    Comparison(HiddenText hidden, std::size_t limit) : hidden_(hidden), limit_(limit) {}

    std::vector<Difference> run(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        comparePairs(original, copy);
        // Beside differences that show already, hidden ones add nothing.
        if (hidden_ == HiddenText::Possible && differences_.empty()) findHiddenText(original, copy);
        return std::move(differences_);
    }

private:
    [[nodiscard]] bool isFull() const { return differences_.size() >= limit_; }

    void comparePairs(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        enter(Level(ElementPtr(&original), ElementPtr(&copy)));
        while (!path_.empty() && !isFull()) {
            if (path_.back().hasPair()) {
                enter(path_.back().nextPair());
            } else {
                compareChildCounts();
                path_.pop_back();
            }
        }
        path_.clear();
    }

    // Compares the pair itself; stays in it to go through its children unless it is not even the same
    // element.
    void enter(Level&& pair) {
        path_.push_back(std::move(pair));
        IKelDOMXmlElement& original = *path_.back().original;
        IKelDOMXmlElement& copy = *path_.back().copy;
        original.getName(original_);
        copy.getName(copy_);
        if (!(original_ == copy_)) {
            const Excerpts names = aroundDifference(original_, copy_);
            note(tr("element %1 reads back as %2", names.original, names.copy));
            path_.pop_back();
            return;
        }
        compareAttributes(original, copy);
        compareTexts(original, copy);
    }

    void compareChildCounts() {
        Level& level = path_.back();
        const std::size_t original = level.visited + countRest(*level.originalChildren);
        const std::size_t copy = level.visited + countRest(*level.copyChildren);
        if (original == copy) return;
        note(tr("number of child elements: %1 read back as %2", std::to_string(original),
                std::to_string(copy)));
    }

    void compareAttributes(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        const int count = original.getAttributeCount();
        if (count != copy.getAttributeCount()) {
            note(tr("number of attributes: %1 read back as %2", std::to_string(count),
                    std::to_string(copy.getAttributeCount())));
            return;
        }
        for (int i = 0; i < count; ++i) {
            const KelString name = original.getAttributeName(i);
            if (!(name == copy.getAttributeName(i, copy_))) {
                const Excerpts names = aroundDifference(name, copy_);
                note(tr("attribute %1 reads back as %2", names.original, names.copy));
                return;
            }
            original.getAttributeValue(i, original_);
            copy.getAttributeValue(i, copy_);
            if (!(original_ == copy_)) {
                const Excerpts values = aroundDifference(original_, copy_);
                note(tr("attribute %1=%2 reads back as %3", kelhost::toUtf8(name), values.original,
                        values.copy));
            }
        }
    }

    void compareTexts(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        original.getText(original_);
        copy.getText(copy_);
        if (original_ == copy_ || hasSameWholeText(original, copy)) return;
        const Excerpts texts = aroundDifference(original_, copy_);
        note(tr("text %1 reads back as %2", texts.original, texts.copy));
    }

    // A leaf of texts and CDATA sections reads back as one text. Only ampersands can make different texts be
    // written alike, so without any, leaves that are written alike hold the same.
    [[nodiscard]] bool hasSameWholeText(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) const {
        if (hidden_ == HiddenText::None || !path_.back().isLeaf()) return false;
        const std::string form = written(copy);
        return form.find("&amp;") == std::string::npos && form == written(original);
    }

    // Follows the differing written forms down to the elements that hold the hidden text.
    void findHiddenText(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        if (isWrittenAlike(original, copy)) return;
        path_.emplace_back(ElementPtr(&original), ElementPtr(&copy));
        std::vector<bool> isExplained{
            false};  // for each level: a child explains why it is written differently
        while (!path_.empty() && !isFull()) {
            if (!path_.back().hasPair()) {
                if (!isExplained.back()) note(tr("the text of a CDATA section is missing"));
                path_.pop_back();
                isExplained.pop_back();
                continue;
            }
            Level pair = path_.back().nextPair();
            if (isWrittenAlike(*pair.original, *pair.copy)) continue;
            isExplained.back() = true;
            path_.push_back(std::move(pair));
            isExplained.push_back(false);
        }
        path_.clear();
    }

    static bool isWrittenAlike(IKelDOMXmlElement& original, IKelDOMXmlElement& copy) {
        return writtenWhole(original) == writtenWhole(copy);
    }

    static std::string writtenWhole(IKelDOMXmlElement& element) {
        if (!element.getText().isEmpty()) return written(element);
        const ElementPtr clone(element.clone());
        clone->setText(KelString(u"x"));
        return written(*clone);
    }

    void note(std::string what) {
        if (!isFull()) differences_.push_back({path(), std::move(what)});
    }

    [[nodiscard]] std::string path() const {
        std::string path = '/' + kelhost::toUtf8(path_.front().original->getName());
        for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
            path += '/' + stepTo(*path_[i].original, path_[i].visited - 1);
        }
        return oneLine(path, 200);
    }

    HiddenText hidden_;
    std::size_t limit_;
    std::vector<Level> path_;
    std::vector<Difference> differences_;
    KelString original_;  // what is being compared
    KelString copy_;
};

}  // namespace

std::vector<Difference> compareTrees(IKelDOMXmlElement& original, IKelDOMXmlElement& copy, HiddenText hidden,
                                     std::size_t limit) {
    return Comparison(hidden, limit).run(original, copy);
}

}  // namespace kelxml
