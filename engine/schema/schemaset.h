// Schemas for a number of namespaces, compiled into one. Threads: validating may run on any number of threads
// at once; a set does not change.
#pragma once

#include <libxml/xmlschemas.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "engine/dom/services.h"
#include "engine/xml2/handles.h"

namespace engine::schema {

// What the files of a schema say about the type xs:ID. Collected without knowing what a type comes to, so an
// attribute of this name may, but need not, be an ID.
struct IdDeclarations {
    std::set<std::string, std::less<>> attributes;  // local names
    bool hasDerived = false;                        // a type is made from xs:ID: any attribute may be one
};

struct SchemaFile {
    std::string namespaceUri;  // empty: for elements in no namespace
    std::string path;
};

class SchemaSet final {
public:
    // Reads the files and what they import and include. Throws com::Exception with every cause on a line of
    // its own: for a file that cannot be read, is no schema, or has another target namespace.
    explicit SchemaSet(const std::vector<SchemaFile>& files);

    // The first error of the document node or element, or all errors with their paths; none: valid. Throws
    // com::Exception if it cannot be validated at all.
    [[nodiscard]] std::vector<reader::Violation> validate(const dom::NodeSource& source,
                                                          dom::ISchemaValidator::Find find) const;
    // For a validator, which must not outlive this object.
    [[nodiscard]] xmlSchema& compiled() const noexcept { return *schema_; }
    [[nodiscard]] const IdDeclarations& ids() const noexcept { return ids_; }

private:
    using SchemaHandle = std::unique_ptr<xmlSchema, xml2::FreeBy<xmlSchemaFree>>;

    xml2::DocHandle driver_;  // outlives the schema, which refers to it
    SchemaHandle schema_;
    IdDeclarations ids_;
};

// The code in a ParseError for libxml2's number of a violation.
[[nodiscard]] constexpr std::int32_t statusOfViolation(int number) noexcept {
    return static_cast<std::int32_t>(0xA0020000u | (static_cast<std::uint32_t>(number) & 0xFFFFu));
}

// Whether a report of libxml2's is a violation: not one that another violation has left a key without its
// value, which it reports as an error, too.
[[nodiscard]] bool isViolation(const xmlError& error) noexcept;
// libxml2's words for a violation, on one line and of bounded length.
[[nodiscard]] std::string violationText(const char* message);

}  // namespace engine::schema
