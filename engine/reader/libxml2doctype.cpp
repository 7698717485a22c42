// The DOCTYPE's share of the libxml2 parser, and its errors in our words.
#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <new>

#include "engine/libstate/xmlchars.h"
#include "engine/reader/detail/libxml2parser.h"
#include "engine/text/chars.h"

namespace engine::reader::detail {

using libstate::view;

namespace {

std::string notExpanded(std::string_view entity) {
    return worded("Entity '%1' is not expanded", shown(entity));
}

std::string firstLine(const char* message) {
    std::string_view text = message == nullptr ? worded("no details") : message;
    text = text.substr(0, text.find('\n'));
    return std::string(text);
}

}  // namespace

std::uint64_t Libxml2Parser::offending() const {
    const std::uint64_t at = here();
    return at == lastReference_ ? referenceStart_ : at;
}

void Libxml2Parser::rejectColon(std::string_view name, const char* words) {
    if (name.find(':') == std::string_view::npos) return;
    reject(ErrorCode::BadQualifiedName, here(), worded(words, shown(name)));
}

void Libxml2Parser::declareEntity(const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content) {
    eventEnds();
    if (isSubsetIncomplete_) return;
    rejectColon(view(name), worded("The name '%1' of this entity must not contain a colon."));
    if (isStopped_) return;
    xmlDoc* const document = context_->myDoc;
    const bool isParameter = type == XML_INTERNAL_PARAMETER_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    const bool isKnown =
        (isParameter ? xmlGetParameterEntity(document, name) : xmlGetDocEntity(document, name)) != nullptr;
    if (isKnown) return;  // the first declaration counts
    if (++entityCount_ > kMaxEntities) {
        return reject(
            ErrorCode::TooManyNames, here(),
            worded("A DOCTYPE must not declare more than %1 entities.", std::to_string(kMaxEntities)));
    }
    static xmlChar nothing[] = "";
    if (type == XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
        externalGeneral_.emplace(view(name), view(systemId));
        xmlSAX2EntityDecl(context_.get(), name, XML_INTERNAL_GENERAL_ENTITY, nullptr, nullptr, nothing);
    } else if (type == XML_EXTERNAL_PARAMETER_ENTITY) {
        externalParameter_.emplace(view(name), view(systemId));
        xmlSAX2EntityDecl(context_.get(), name, XML_INTERNAL_PARAMETER_ENTITY, nullptr, nullptr, nothing);
    } else {
        if (!TagWidth().add(view(content))) {
            return reject(ErrorCode::TooManyAttributes, here(),
                          worded("An element in entity '%1' has more than %2 attributes.", shown(view(name)),
                                 std::to_string(TagWidth::kMax)));
        }
        // A carriage return got here by reference, but libxml2 would take it for a line end.
        std::string text(view(content));
        const bool isMarkup = text.find('<') != std::string::npos;
        for (std::size_t at = 0; !isMarkup && (at = text.find('\r', at)) != std::string::npos;)
            text.replace(at, 1, "&#13;");
        auto* const replacement = reinterpret_cast<xmlChar*>(text.data());
        xmlSAX2EntityDecl(context_.get(), name, type, publicId, systemId,
                          content == nullptr ? nullptr : replacement);
    }
}

// libxml2 lets one without an identifier pass.
void Libxml2Parser::declareNotation(std::string_view name, bool hasIdentifier) {
    rejectColon(name, worded("The name '%1' of this notation must not contain a colon."));
    if (!hasIdentifier && !isStopped_) {
        reject(ErrorCode::BadDoctype, here(),
               worded("The declaration of notation '%1' must contain SYSTEM or PUBLIC and an identifier.",
                      shown(name)));
    }
    eventEnds();
}

void Libxml2Parser::declareAttribute(const xmlChar* element, const xmlChar* name, int type,
                                     const xmlChar* defaultValue) {
    eventEnds();
    if (isSubsetIncomplete_) return;
    std::optional<std::string> value;
    if (defaultValue != nullptr) value = view(defaultValue);
    attributeDeclarations_.declare(view(element), view(name), type != XML_ATTRIBUTE_CDATA, std::move(value));
}

xmlEntity* Libxml2Parser::generalEntity(const xmlChar* name) {
    xmlEntity* entity = xmlGetDocEntity(context_->myDoc, name);
    if (entity == nullptr && isUriBad_) {
        static xmlChar noAddress[] = "";
        declareEntity(name, XML_EXTERNAL_GENERAL_PARSED_ENTITY, nullptr, noAddress, nullptr);
        entity = xmlGetDocEntity(context_->myDoc, name);
    }
    // Inside an entity the document's own position does not move: what is nested was charged with the
    // outermost.
    const std::uint64_t at = here();
    const bool isNested = at == lastReference_;
    if (!isNested) {
        lastReference_ = at;
        referenceStart_ = at - view(name).size() - 2;  // the name, '&' and ';'
    }
    if (entity == nullptr && !mayBeDeclaredOutside()) return nullptr;
    if (isRejectedAsExternal(externalGeneral_, entity, view(name)) || entity == nullptr) return nullptr;
    if (context_->instate == XML_PARSER_ATTRIBUTE_VALUE && externalGeneral_.contains(view(name))) {
        reject(ErrorCode::BadEntity, offending(),
               worded("Entity '%1' is external and must not be used in the value of an attribute.",
                      shown(view(name))));
        return nullptr;
    }
    if (context_->inSubset != 0) {
        // A default value. More entities may follow, so the whole cannot be known; each is charged with its
        // own text.
        return isAffordable(view(entity->content).size() + 1, notExpanded(view(name))) ? entity : nullptr;
    }
    return isNested || isExpansionAllowed(view(name)) ? entity : nullptr;
}

xmlEntity* Libxml2Parser::parameterEntity(const xmlChar* name) {
    xmlEntity* entity = xmlGetParameterEntity(context_->myDoc, name);
    if (entity == nullptr && isUriBad_) {
        static xmlChar noAddress[] = "";
        declareEntity(name, XML_EXTERNAL_PARAMETER_ENTITY, nullptr, noAddress, nullptr);
        entity = xmlGetParameterEntity(context_->myDoc, name);
    }
    if (isRejectedAsExternal(externalParameter_, entity, view(name)) || entity == nullptr) return nullptr;
    if (externalParameter_.contains(view(name)) && !shared_.isStandalone) isSubsetIncomplete_ = true;
    return isAffordable(view(entity->content).size() + 1, notExpanded(view(name))) ? entity : nullptr;
}

bool Libxml2Parser::mayBeDeclaredOutside() const {
    return options_.rejectExternalEntities && context_->hasExternalSubset != 0;
}

bool Libxml2Parser::isRejectedAsExternal(const SystemIds& external, const xmlEntity* entity,
                                         std::string_view name) {
    if (!options_.rejectExternalEntities) return false;
    const auto found = external.find(name);
    if (found != external.end()) {
        reject(ErrorCode::BadEntity, offending(),
               worded("Entity '%1' is external ('%2') and not read; the file itself would have to declare "
                      "its text.",
                      shown(name), shown(found->second)));
    } else if (entity == nullptr && mayBeDeclaredOutside()) {
        reject(ErrorCode::UnknownEntity, offending(),
               worded("Entity '%1' is not declared in the file itself, and the external part of its DOCTYPE "
                      "is not read.",
                      shown(name)));
    } else {
        return false;
    }
    return true;
}

bool Libxml2Parser::isExpansionAllowed(std::string_view name) {
    const EntitySizes::Size& size = sizes_.sizeOf(name);
    if (size.isLoop) {
        reject(ErrorCode::EntityLoop, offending(), worded("Entity '%1' refers to itself.", shown(name)));
        return false;
    }
    if (size.isTooDeep) {
        reject(ErrorCode::EntityTooLarge, offending(),
               worded("Entity '%1' holds entities nested more than %2 deep.", shown(name),
                      std::to_string(EntitySizes::kDeepest)));
        return false;
    }
    return isAffordable(size.bytes, notExpanded(name));
}

bool Libxml2Parser::isAffordable(std::uint64_t bytes, std::string_view rejection) {
    if (bytes == 0) return true;
    const std::uint64_t at = here();
    const std::uint64_t allowed = std::max(options_.entityFloorInBytes, options_.entityFactor * at);
    if (bytes <= allowed && expandedBytes_ <= allowed - bytes) {
        expandedBytes_ += bytes;
        return true;
    }
    reject(ErrorCode::EntityTooLarge, offending(),
           worded("%1: the document's entities and defaults would grow to more than %2 bytes.", rejection,
                  std::to_string(allowed)));
    return false;
}

// libxml2 goes on after errors that are none to a parser which reads no external subset, and after fatal
// ones, too: what it delivers then is not for the sink.
void Libxml2Parser::failed(const xmlError& error) {
    if (error.code == XML_ERR_NO_MEMORY) throw std::bad_alloc();
    if (error.code == XML_ERR_INVALID_URI) isUriBad_ = true;
    if (error.level != XML_ERR_FATAL || fault_) return;
    describe(error);
    stop();
}

namespace {

struct Wording {
    int code;  // libxml2's
    ErrorCode ours;
    bool isOfTag;      // it concerns the tag that has begun last, not where libxml2 noticed it
    const char* text;  // "%1" is replaced by the name that libxml2 gives
};

constexpr Wording kWordings[] = {
    {XML_ERR_TAG_NOT_FINISHED, ErrorCode::UnclosedElement, false,
     worded("Element '%1' is not closed: its end tag is missing.")},
    {XML_ERR_DOCUMENT_EMPTY, ErrorCode::NoRoot, false, worded("The document has no root element.")},
    {XML_ERR_UNDECLARED_ENTITY, ErrorCode::UnknownEntity, false, worded("Entity '%1' is not declared.")},
    {XML_ERR_ENTITY_LOOP, ErrorCode::EntityLoop, false, worded("An entity refers to itself.")},
    {XML_ERR_UNPARSED_ENTITY, ErrorCode::BadEntity, false,
     worded("Entity '%1' is not text (NDATA) and must not be referred to.")},
    {XML_ERR_ENTITYREF_SEMICOL_MISSING, ErrorCode::BareAmpersand, false,
     worded("A reference must end with ';'; write '&amp;' for a plain '&'.")},
    {XML_ERR_LT_IN_ATTRIBUTE, ErrorCode::LessThanInValue, false,
     worded("'<' is not allowed in the value of an attribute: write '&lt;', or close the quotes before it.")},
    {XML_ERR_ATTRIBUTE_REDEFINED, ErrorCode::DuplicateAttribute, false, worded("Duplicate attribute '%1'.")},
    {XML_ERR_ATTRIBUTE_NOT_STARTED, ErrorCode::BadAttribute, false,
     worded("The value of an attribute must be quoted.")},
    {XML_ERR_ATTRIBUTE_NOT_FINISHED, ErrorCode::BadTag, true,
     worded("The value of an attribute is not closed.")},
    {XML_ERR_ATTRIBUTE_WITHOUT_VALUE, ErrorCode::BadAttribute, false,
     worded("Attribute '%1' has no value: '=' and a value in quotes must follow.")},
    {XML_ERR_GT_REQUIRED, ErrorCode::BadTag, true, worded("The tag is not finished: '>' is missing.")},
    {XML_ERR_SPACE_REQUIRED, ErrorCode::BadTag, false, worded("Whitespace is missing.")},
    {XML_ERR_INVALID_CHARREF, ErrorCode::BadCharacterReference, false,
     worded("A character reference refers to a character that XML does not allow.")},
    {XML_ERR_INVALID_CHAR, ErrorCode::BadCharacterReference, false,
     worded("A character reference refers to a character that XML does not allow.")},
    {XML_ERR_INVALID_DEC_CHARREF, ErrorCode::BadCharacterReference, false,
     worded("A character reference must contain a number and end with ';'.")},
    {XML_ERR_INVALID_HEX_CHARREF, ErrorCode::BadCharacterReference, false,
     worded("A character reference must contain a number and end with ';'.")},
    {XML_ERR_MISPLACED_CDATA_END, ErrorCode::CDataEndInText, false,
     worded("']]>' is not allowed in text: write ']]&gt;'.")},
    {XML_ERR_HYPHEN_IN_COMMENT, ErrorCode::BadComment, false,
     worded("'--' is not allowed inside a comment.")},
    {XML_ERR_COMMENT_NOT_FINISHED, ErrorCode::BadComment, false,
     worded("A comment is not closed: '-->' is missing.")},
    {XML_ERR_CDATA_NOT_FINISHED, ErrorCode::BadCData, false,
     worded("A CDATA section is not closed: ']]>' is missing.")},
    {XML_ERR_PI_NOT_STARTED, ErrorCode::BadInstruction, false,
     worded("A processing instruction must begin with a name.")},
    {XML_ERR_PI_NOT_FINISHED, ErrorCode::BadInstruction, false,
     worded("A processing instruction is not closed: '?>' is missing.")},
    {XML_ERR_RESERVED_XML_NAME, ErrorCode::LateDeclaration, false,
     worded("The XML declaration is allowed at the very start of the document only.")},
};

}  // namespace

// The first fatal error, in our words where there are some.
void Libxml2Parser::describe(const xmlError& error) {
    if (source_.fault() && here() == source_.offsetOf(source_.end())) {
        fault_ = source_.fault();  // that is why the text ends here
        return;
    }
    const std::string message = firstLine(error.message);
    const std::string name = error.str1 == nullptr ? std::string() : shown(error.str1);
    const bool isInEntity = here() == lastReference_;
    const bool isInDoctype = context_->inSubset != 0 || context_->instate == XML_PARSER_DTD;
    fault_.offset = offending();
    const auto* const wording = std::find_if(std::begin(kWordings), std::end(kWordings),
                                             [&](const Wording& w) { return w.code == error.code; });
    const bool isOfEntity = error.code == XML_ERR_UNDECLARED_ENTITY || error.code == XML_ERR_ENTITY_LOOP ||
                            error.code == XML_ERR_UNPARSED_ENTITY;
    if (isInDoctype && !isOfEntity) return describeInDoctype(message);
    if (isInEntity && !isOfEntity) {
        fault_.code = ErrorCode::BadEntity;
        fault_.reason = worded("The text of an entity is not well formed: %1.", message);
        return;
    }
    if (error.code == XML_ERR_TAG_NAME_MISMATCH && error.str2 != nullptr) {
        fault_.code = ErrorCode::MismatchedEndTag;
        fault_.offset = lastInText('<');
        fault_.reason = worded("End tag '%1' does not match the start tag '%2'.", shown(error.str2), name);
    } else if (wording != std::end(kWordings)) {
        fault_.code = wording->ours;
        if (wording->isOfTag) fault_.offset = lastInText('<');
        fault_.reason = worded(wording->text, name);
    } else {
        describeUnexpected(message);
    }
}

void Libxml2Parser::describeInDoctype(const std::string& message) {
    fault_.code = ErrorCode::BadDoctype;
    fault_.reason = worded("The document type declaration is not well formed: %1.", message);
    if (here() != source_.offsetOf(source_.end()) || source_.fault()) return;
    if (doctypeStart_ != kNoOffset) fault_.offset = doctypeStart_;
    fault_.reason = worded("This DOCTYPE is not finished: '>' is missing.");
}

// For what libxml2 has no code of its own: the text there shows it.
void Libxml2Parser::describeUnexpected(const std::string& message) {
    const std::uint64_t tag = lastInText('<');
    const std::string_view rest(source_.at(tag), static_cast<std::size_t>(source_.end() - source_.at(tag)));
    if (rest.starts_with("<!DOCTYPE") && doctypeStart_ != kNoOffset && tag > doctypeStart_) {
        fault_ = {ErrorCode::MisplacedDoctype, tag, worded("A document has one DOCTYPE.")};
    } else if (context_->instate == XML_PARSER_EPILOG || context_->instate == XML_PARSER_EOF) {
        fault_.code = ErrorCode::TextOutsideRoot;
        fault_.reason =
            worded("Nothing but comments and processing instructions may follow the root element.");
    } else {
        fault_.code = ErrorCode::BadMarkup;
        fault_.reason = worded("The document is not well formed: %1.", message);
    }
}

}  // namespace engine::reader::detail
