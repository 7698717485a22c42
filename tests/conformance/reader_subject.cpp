#include "engine/reader/reader.h"
#include "tests/conformance/recorder.h"
#include "tests/conformance/subject.h"
#include "tests/engine/parser_agreement.h"
#include "tests/engine/reader_log.h"

namespace conformance {
namespace {

namespace reader = engine::reader;
using Parser = reader::ReadOptions::Parser;

reader::ReadOptions optionsFor(Parser parser) {
    reader::ReadOptions options;
    options.dtd = reader::ReadOptions::Dtd::Internal;
    options.parser = parser;
    return options;
}

std::string describe(const engine::source::ParseError& error) {
    return std::to_string(error.position.line) + ":" + std::to_string(error.position.column) + ": " +
           error.reason;
}

}  // namespace

void Recorder::startElement(std::string_view name, std::span<const reader::Attribute> attributes) {
    CanonicalWriter::Attributes all;
    CanonicalWriter::Attributes local;
    const reader::Namespaces& namespaces = *locator_->namespaces();
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        all.emplace_back(attributes[i].name, attributes[i].value);
        if (!namespaces.isDeclaration(i))
            local.emplace_back(namespaces.attribute(i).local, attributes[i].value);
    }
    whole_.startElement(name, std::move(all));
    asHandler_.startElement(name, std::move(local));
}

void Recorder::endElement(std::string_view name) {
    whole_.endElement(name);
    asHandler_.endElement(name);
}

void Recorder::characters(std::string_view text) {
    whole_.characters(text);
    asHandler_.characters(text);
}

void Recorder::processingInstruction(std::string_view target, std::string_view data) {
    whole_.processingInstruction(target, data);
    asHandler_.processingInstruction(target, data);
}

Outcome readInto(Recorder& events, const engine::source::Input& input, Parser parser) {
    Outcome outcome;
    const engine::source::ParseError error = reader::read(input, optionsFor(parser), events);
    outcome.accepted = !error.failed();
    if (error.failed()) outcome.reason = describe(error);
    outcome.canonical = events.whole().text();
    return outcome;
}

Outcome tryDirect(const std::string& path) {
    Recorder events;
    return readInto(events, engine::source::Input::file(path), Parser::Direct);
}

Outcome tryDirectText(const std::u16string& text) {
    Recorder events;
    return readInto(events, engine::source::Input::text(text), Parser::Direct);
}

Outcome tryLibxml2(const std::string& path) {
    Recorder events;
    return readInto(events, engine::source::Input::file(path), Parser::Libxml2);
}

std::string disagreement(const std::string& path) {
    const engine::source::Input input = engine::source::Input::file(path);
    const reader::test::Reading direct = reader::test::readAll(input, optionsFor(Parser::Direct));
    const reader::test::Reading libxml2 = reader::test::readAll(input, optionsFor(Parser::Libxml2));
    const std::string difference = reader::test::disagreement(direct, libxml2);
    if (difference.empty()) return {};
    return difference + "; direct: " + describe(direct.error) + "; libxml2: " + describe(libxml2.error);
}

}  // namespace conformance
