// Feeds libxml2's SAX validator from our reader's events; texts go in pieces, for its lengths are of type
// int.
#include "engine/schema/streamvalidator.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "engine/com/extension.h"
#include "engine/com/status.h"
#include "engine/libstate/libstate.h"
#include "engine/text/worded.h"

namespace engine::schema {

namespace {

using xml2::orThrow;

const xmlChar* bytesOf(std::string_view text) noexcept {
    return reinterpret_cast<const xmlChar*>(text.data());
}

// The validator takes "&#38;" in a value for an ampersand, as libxml2's own parser hands them over.
std::string escapedAmpersands(std::string_view value) {
    std::string result;
    for (const char c : value) {
        if (c == '&') {
            result += "&#38;";
        } else {
            result += c;
        }
    }
    return result;
}

}  // namespace

const xmlChar* ElementTexts::copy(std::string_view text) {
    constexpr std::size_t kBlockInBytes = 8192;
    const std::size_t size = text.size() + 1;
    while (at_.block < blocks_.size() && blocks_[at_.block].size - at_.used < size) at_ = {at_.block + 1, 0};
    if (at_.block == blocks_.size()) {
        const std::size_t wanted = std::max(kBlockInBytes, size);
        blocks_.push_back({std::make_unique_for_overwrite<char[]>(wanted), wanted});
    }
    char* const to = blocks_[at_.block].bytes.get() + at_.used;
    if (!text.empty()) std::memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
    at_.used += size;
    return reinterpret_cast<const xmlChar*>(to);
}

StreamValidator::StreamValidator(std::shared_ptr<const SchemaSet> schemas, reader::ViolationReport report)
    : schemas_(std::move(schemas)), report_(std::move(report)) {
    libstate::initialiseSchemas();
    validator_.reset(orThrow(xmlSchemaNewValidCtxt(&schemas_->compiled())));
    xmlSchemaSetValidStructuredErrors(validator_.get(), listen, this);
    plug_ = orThrow(xmlSchemaSAXPlug(validator_.get(), &events_, &user_));
}

StreamValidator::~StreamValidator() {
    if (plug_ == nullptr) return;
    // Of elements that are still open libxml2 loses the state of identity constraints.
    if (!hasFailed_ && !isOutOfMemory_) {
        for (; entered_ != 0; --entered_) {
            const Open& open = open_[entered_ - 1];
            events_->endElementNs(user_, open.local, open.prefix, open.uri);
        }
    }
    (void)xmlSchemaSAXUnplug(plug_);
}

void StreamValidator::listen(void* self, xml2::ErrorPointer error) noexcept {
    auto& validator = *static_cast<StreamValidator*>(self);
    if (error == nullptr || !isViolation(*error)) return;
    const libstate::KeepErrno keep;
    try {
        validator.isOutOfMemory_ = validator.isOutOfMemory_ || xml2::reportsAllocationError(*error);
        validator.hasFailed_ = validator.hasFailed_ || error->code == XML_SCHEMAV_INTERNAL;
        validator.found_.push_back({error->code, violationText(error->message)});
    } catch (...) {
        validator.isOutOfMemory_ = true;
    }
}

// What is found, of the element at `position`, is reported when libxml2 is done with the call: a report may
// throw.
template <typename Call>
void StreamValidator::validate(source::Position position, Call&& call) {
    {
        const libstate::LastError theirs;
        const libstate::AllocationError memory;
        call();
        if (isOutOfMemory_) throw std::bad_alloc();
        memory.throwIfHappened();
    }
    if (found_.empty()) return;
    const std::vector<Found> found = std::exchange(found_, {});
    if (hasFailed_)
        throw com::Exception(E_FAIL,
                             text::worded("The document could not be validated: %1", found.back().reason));
    reader::Violation violation;
    violation.error.position = position;
    violation.path = path_.text();
    for (const Found& one : found) {
        violation.error.code = statusOfViolation(one.code);
        violation.error.reason = one.reason;
        report_(violation);
    }
}

void StreamValidator::startDocument(const reader::Locator& locator) {
    locator_ = &locator;
}

void StreamValidator::endDocument() {
    validate({}, [this] { (void)xmlSchemaSAXUnplug(std::exchange(plug_, nullptr)); });
}

void StreamValidator::deliverText() {
    if (text_.empty()) return;
    constexpr std::size_t kMax = 1u << 30;  // the length of a call is an int
    for (std::string_view rest = text_; !rest.empty(); rest.remove_prefix(std::min(rest.size(), kMax)))
        events_->characters(user_, bytesOf(rest), static_cast<int>(std::min(rest.size(), kMax)));
    if (text_.capacity() > kMax / 1024) {
        text_ = {};  // a long one is the exception
    } else {
        text_.clear();
    }
}

// Equal hashes of different values only cost the work of a second look.
void StreamValidator::watchId(std::string_view local, std::string_view value) {
    constexpr std::size_t kMax = std::size_t{1} << 16;
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    const IdDeclarations& declared = schemas_->ids();
    if (declared.hasDerived) return doubt();
    if (declared.attributes.empty() || !declared.attributes.contains(local)) return;
    value.remove_prefix(std::min(value.find_first_not_of(kWhiteSpace), value.size()));
    value = value.substr(0, value.find_last_not_of(kWhiteSpace) + 1);
    const bool isNew = ids_.size() < kMax && ids_.insert(std::hash<std::string_view>()(value)).second;
    if (!isNew) doubt();
}

void StreamValidator::doubt() {
    isInDoubt_ = true;
    ids_ = {};
    reader::Violation violation;
    violation.isDoubt = true;
    violation.error.code = kMayRepeatIdStatus;
    violation.error.reason = "A value of type xs:ID may occur twice; a tree shows whether it does.";
    violation.error.position = locator_->position();
    report_(violation);
}

void StreamValidator::putAttributes(const reader::Namespaces& names) {
    attributes_.clear();
    escaped_.clear();
    const std::span<const reader::IdAttribute> attributes = names.attributes();
    escaped_.reserve(attributes.size());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (names.isDeclaration(i)) continue;
        const reader::ExpandedName name = names.attribute(i);
        std::string_view value = attributes[i].value;
        if (!isInDoubt_) watchId(name.local, value);
        if (value.find('&') != value.npos) value = escaped_.emplace_back(escapedAmpersands(value));
        const xmlChar* const start = bytesOf(value);
        attributes_.insert(attributes_.end(), {texts_.copy(name.local), orNull(name.prefix), orNull(name.uri),
                                               start, start + value.size()});
    }
}

void StreamValidator::startElement(std::string_view, std::span<const reader::Attribute>) {
    if (!text_.empty() && !open_.empty()) validate(open_.back().position, [this] { deliverText(); });
    const reader::Namespaces& names = *locator_->namespaces();
    const reader::ExpandedName name = names.element();
    Open open{nullptr, nullptr, nullptr, texts_.mark(), locator_->position()};
    const xmlChar* const qualified = texts_.copy(names.names().text(names.elementId()));
    const std::size_t localStart = name.prefix.empty() ? 0 : name.prefix.size() + 1;
    open.local = qualified + localStart;
    open.prefix = orNull(name.prefix);
    open.uri = orNull(name.uri);
    declared_.clear();
    for (const reader::NamespaceDeclaration& one : names.declarations()) {
        declared_.push_back(orNull(one.prefix));
        declared_.push_back(texts_.copy(one.uri));
    }
    putAttributes(names);
    path_.enter(names.elementId(), names.names().generation(),
                {reinterpret_cast<const char*>(qualified), localStart + name.local.size()});
    open_.push_back(open);
    validate(open.position, [&] {
        events_->startElementNs(user_, open.local, open.prefix, open.uri,
                                static_cast<int>(declared_.size() / 2), declared_.data(),
                                static_cast<int>(attributes_.size() / 5), 0, attributes_.data());
        ++entered_;
    });
}

void StreamValidator::endElement(std::string_view) {
    const Open open = open_.back();
    validate(open.position, [&] {  // what its end shows is wrong with the element, as in a tree
        deliverText();
        events_->endElementNs(user_, open.local, open.prefix, open.uri);
        --entered_;
    });
    path_.leave();
    texts_.release(open.texts);
    open_.pop_back();
}

}  // namespace engine::schema
