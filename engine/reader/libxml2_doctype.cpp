// The DOCTYPE's share of the libxml2 parser, and its errors in our words.
#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <new>

#include "engine/reader/detail/libxml2_parser.h"

namespace engine::reader::detail {
namespace {

std::string_view viewOf(const xmlChar* text) {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

std::string firstLine(const char* message) {
    std::string_view text = message == nullptr ? "no details" : message;
    text = text.substr(0, text.find('\n'));
    return std::string(text);
}

}  // namespace

std::uint64_t Libxml2Parser::culprit() const {
    const std::uint64_t at = here();
    return at == lastReference_ ? referenceStart_ : at;
}

void Libxml2Parser::refuseColon(std::string_view name, std::string_view what) {
    if (name.find(':') == std::string_view::npos) return;
    refuse(ErrorCode::BadQualifiedName, here(),
           "The name " + quoted(name) + " of this " + std::string(what) + " must not hold a colon.");
}

void Libxml2Parser::declareEntity(const xmlChar* name, int type, const xmlChar* publicId,
                                  const xmlChar* systemId, xmlChar* content) {
    eventEnds();
    if (isSubsetIncomplete_) return;
    refuseColon(viewOf(name), "entity");
    if (isStopped_) return;
    xmlDoc* const document = context_->myDoc;
    const bool isParameter = type == XML_INTERNAL_PARAMETER_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY;
    const bool isKnown =
        (isParameter ? xmlGetParameterEntity(document, name) : xmlGetDocEntity(document, name)) != nullptr;
    if (isKnown) return;  // the first declaration counts
    static xmlChar nothing[] = "";
    if (type == XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
        externalGeneral_.emplace(viewOf(name), viewOf(systemId));
        xmlSAX2EntityDecl(context_.get(), name, XML_INTERNAL_GENERAL_ENTITY, nullptr, nullptr, nothing);
    } else if (type == XML_EXTERNAL_PARAMETER_ENTITY) {
        externalParameter_.emplace(viewOf(name), viewOf(systemId));
        xmlSAX2EntityDecl(context_.get(), name, XML_INTERNAL_PARAMETER_ENTITY, nullptr, nullptr, nothing);
    } else {
        // A carriage return got here by reference, but libxml2 would take it for a line end.
        std::string text(viewOf(content));
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
    refuseColon(name, "notation");
    if (!hasIdentifier && !isStopped_) {
        refuse(
            ErrorCode::BadDoctype, here(),
            "The declaration of notation " + quoted(name) + " must hold SYSTEM or PUBLIC and an identifier.");
    }
    eventEnds();
}

void Libxml2Parser::declareAttribute(const xmlChar* element, const xmlChar* name, int type,
                                     const xmlChar* defaultValue) {
    eventEnds();
    if (isSubsetIncomplete_) return;
    std::optional<std::string> value;
    if (defaultValue != nullptr) value = viewOf(defaultValue);
    attributeDeclarations_.declare(viewOf(element), viewOf(name), type != XML_ATTRIBUTE_CDATA,
                                   std::move(value));
}

bool Libxml2Parser::isDeclared(std::string_view entity) const {
    if (context_ == nullptr || context_->myDoc == nullptr) return false;
    if (context_->hasExternalSubset != 0 || context_->hasPErefs != 0) return true;
    return xmlGetDocEntity(context_->myDoc, reinterpret_cast<const xmlChar*>(std::string(entity).c_str())) !=
           nullptr;
}

xmlEntity* Libxml2Parser::generalEntity(const xmlChar* name) {
    xmlEntity* const entity = xmlGetDocEntity(context_->myDoc, name);
    if (entity == nullptr && !mayBeDeclaredOutside()) return nullptr;
    // Inside an entity the document's own position does not move: what is nested was charged with the
    // outermost.
    const std::uint64_t at = here();
    const bool isNested = at == lastReference_;
    if (!isNested) {
        lastReference_ = at;
        referenceStart_ = at - viewOf(name).size() - 2;  // the name, '&' and ';'
    }
    if (isRefusedAsExternal(externalGeneral_, entity, viewOf(name)) || entity == nullptr) return nullptr;
    if (context_->instate == XML_PARSER_ATTRIBUTE_VALUE && externalGeneral_.contains(viewOf(name))) {
        refuse(ErrorCode::BadEntity, culprit(),
               "Entity " + quoted(viewOf(name)) +
                   " is external and must not be used in the value of an attribute.");
        return nullptr;
    }
    if (context_->inSubset != 0) {
        // A default value. More entities may follow, so the whole cannot be known; each is charged with its
        // own text.
        return isAffordable(viewOf(name), viewOf(entity->content).size() + 1) ? entity : nullptr;
    }
    return isNested || isExpansionAllowed(viewOf(name)) ? entity : nullptr;
}

xmlEntity* Libxml2Parser::parameterEntity(const xmlChar* name) {
    xmlEntity* const entity = xmlGetParameterEntity(context_->myDoc, name);
    if (isRefusedAsExternal(externalParameter_, entity, viewOf(name)) || entity == nullptr) return nullptr;
    if (externalParameter_.contains(viewOf(name)) && !isStandalone_) isSubsetIncomplete_ = true;
    return isAffordable(viewOf(name), viewOf(entity->content).size() + 1) ? entity : nullptr;
}

bool Libxml2Parser::mayBeDeclaredOutside() const {
    return options_.refuseExternalEntities && context_->hasExternalSubset != 0;
}

bool Libxml2Parser::isRefusedAsExternal(const SystemIds& external, const xmlEntity* entity,
                                        std::string_view name) {
    if (!options_.refuseExternalEntities) return false;
    const auto found = external.find(name);
    if (found != external.end()) {
        refuse(ErrorCode::BadEntity, culprit(),
               "Entity " + quoted(name) + " is external (" + quoted(found->second) +
                   ") and not read; the file itself would have to declare what it stands for.");
    } else if (entity == nullptr && mayBeDeclaredOutside()) {
        refuse(ErrorCode::UnknownEntity, culprit(),
               "Entity " + quoted(name) +
                   " is not declared in the file itself, and the external part of its DOCTYPE is not read.");
    } else {
        return false;
    }
    return true;
}

bool Libxml2Parser::isExpansionAllowed(std::string_view name) {
    const EntitySizes::Size& size = sizes_.sizeOf(name);
    if (size.isLoop) {
        refuse(ErrorCode::EntityLoop, culprit(), "Entity " + quoted(name) + " refers to itself.");
        return false;
    }
    if (size.isTooDeep) {
        refuse(ErrorCode::EntityTooLarge, culprit(),
               "Entity " + quoted(name) + " holds entities nested more than " +
                   std::to_string(EntitySizes::kDeepest) + " deep.");
        return false;
    }
    return isAffordable(name, size.bytes);
}

bool Libxml2Parser::isAffordable(std::string_view name, std::uint64_t bytes) {
    const std::uint64_t at = here();
    const std::uint64_t allowed = std::max(options_.entityFloorInBytes, options_.entityFactor * at);
    if (bytes <= allowed && expandedBytes_ <= allowed - bytes) {
        expandedBytes_ += bytes;
        return true;
    }
    refuse(ErrorCode::EntityTooLarge, culprit(),
           "Entity " + quoted(name) + " is not expanded: the document's entities would grow to more than " +
               std::to_string(allowed) + " bytes.");
    return false;
}

// libxml2 goes on after errors that are none to a reader which reads no external subset.
void Libxml2Parser::failed(const xmlError& error) {
    if (error.code == XML_ERR_NO_MEMORY) throw std::bad_alloc();
    if (error.level != XML_ERR_FATAL || fault_) return;
    describe(error);
}

// The first fatal error. In the document's own text the culprit is found by the other parser; these words are
// for what that one passes over: the DOCTYPE, and the texts of entities.
void Libxml2Parser::describe(const xmlError& error) {
    const std::string message = firstLine(error.message);
    const std::string name = error.str1 == nullptr ? std::string() : quoted(error.str1);
    fault_.offset = culprit();
    const bool isInDoctype = context_->inSubset != 0 || context_->instate == XML_PARSER_DTD ||
                             context_->instate == XML_PARSER_PROLOG;
    isFaultInText_ = !isInDoctype && here() != lastReference_;
    isFaultFinal_ = false;
    switch (error.code) {
        case XML_ERR_UNDECLARED_ENTITY:
            fault_.code = ErrorCode::UnknownEntity;
            fault_.reason = "Entity " + name + " is not declared.";
            return;
        case XML_ERR_ENTITY_LOOP:
            fault_.code = ErrorCode::EntityLoop;
            fault_.reason = "An entity refers to itself.";
            return;
        case XML_ERR_UNPARSED_ENTITY:
            fault_.code = ErrorCode::BadEntity;
            fault_.reason = "Entity " + name + " is not text (NDATA) and must not be referred to.";
            return;
        default:
            break;
    }
    if (isInDoctype) {
        fault_.code = ErrorCode::BadDoctype;
        fault_.reason = "The document type declaration is not well formed: " + message + ".";
    } else {
        fault_.code = ErrorCode::BadEntity;
        fault_.reason = "The text of an entity does not fit in here: " + message + ".";
    }
}

}  // namespace engine::reader::detail
