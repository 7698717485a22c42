#include "tools/kelxml/documents/unwritable.h"

#include <utility>

#include "framework/object/iptr.h"
#include "host/text.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

using ElementPtr = IPtr<IKelDOMXmlElement>;
using IteratorPtr = IPtr<IKelDOMXmlElementItr>;

struct Level {
    explicit Level(ElementPtr self) : element(std::move(self)), children(element->getChildren()) {}

    ElementPtr element;
    IteratorPtr children;  // stands on the first child that was not visited yet
    std::size_t visited = 0;
};

class Search {
public:
    Search(IKelDOMXmlV2& scratch, std::size_t limit) : scratch_(scratch), limit_(limit) {}

    std::vector<Difference> run(IKelDOMXmlElement& root) {
        enter(ElementPtr(&root));
        while (!path_.empty() && found_.size() < limit_) {
            Level& level = path_.back();
            if (level.children->isEnd()) {
                path_.pop_back();
                continue;
            }
            ElementPtr child(level.children->getElement(false));
            level.children->next();
            ++level.visited;
            enter(std::move(child));
        }
        return std::move(found_);
    }

private:
    void enter(ElementPtr element) {
        path_.emplace_back(std::move(element));
        IKelDOMXmlElement& current = *path_.back().element;
        const int attributeCount = current.getAttributeCount();
        for (int i = 0; i < attributeCount; ++i) {
            current.getAttributeValue(i, value_);
            if (isUnwritable(Position::Attribute))
                note(tr("attribute %1=%2", kelhost::toUtf8(current.getAttributeName(i)), offendingText()));
        }
        current.getText(value_);
        if (isUnwritable(Position::Text)) note(tr("text %1", offendingText()));
    }

    [[nodiscard]] std::string offendingText() const {
        return excerpt(value_.view(), value_.view().find(u'&'));
    }

    enum class Position { Text, Attribute };

    [[nodiscard]] bool isUnwritable(Position position) {
        if (value_.view().find(u'&') == std::u16string_view::npos) return false;
        const ElementPtr element(scratch_.createElement(u"x"));
        if (position == Position::Text)
            element->setText(value_);
        else
            element->setAttribute(u"x", value_);
        KelString form;
        element->write(nullptr, form, KelString(), KelString(), false);
        return !scratch_.loadFromString(form);
    }

    void note(const std::string& what) {
        if (found_.size() >= limit_) return;
        std::string path = '/' + kelhost::toUtf8(path_.front().element->getName());
        for (std::size_t i = 0; i + 1 < path_.size(); ++i) {
            path += '/' + stepTo(*path_[i].element, path_[i].visited - 1);
        }
        found_.push_back({std::move(path), what});
    }

    IKelDOMXmlV2& scratch_;
    std::size_t limit_;
    std::vector<Level> path_;
    std::vector<Difference> found_;
    KelString value_;  // being looked at
};

}  // namespace

std::vector<Difference> findUnwritable(IKelDOMXmlElement& root, IKelDOMXmlV2& scratch, std::size_t limit) {
    return Search(scratch, limit).run(root);
}

}  // namespace kelxml
