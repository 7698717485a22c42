#include "tools/kelxml/report/output.h"

#include <cstdlib>

#include "tools/kelxml/platform/encoding.h"
#include "tools/kelxml/platform/files.h"
#include "tools/kelxml/report/console.h"

namespace kelxml {

namespace {

constexpr std::size_t kBufferSizeInBytes = 1 << 16;

std::string_view escapeOf(Ink ink) {
    switch (ink) {
        case Ink::Name:
            return "\x1b[1;34m";
        case Ink::Attribute:
            return "\x1b[36m";
        case Ink::Text:
            return "\x1b[32m";
        case Ink::Dim:
            return "\x1b[2m";
        case Ink::Alarm:
            return "\x1b[1;31m";
        case Ink::Plain:
            break;
    }
    return {};
}

ColourChoice colourChoice = ColourChoice::OnTerminals;

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool wantsColour() {
    if (colourChoice != ColourChoice::OnTerminals) return colourChoice == ColourChoice::Always;
    return isTerminal(stdout) && !isDumbTerminal() && !isSet("NO_COLOR");
}

bool isShownToPeople() {
    static const bool isTerminalThere = isTerminal(stdout);
    return isTerminalThere;
}

bool isWhiteSpace(unsigned char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The length of the UTF-8 sequence that starts with `lead`; 1 for anything that cannot start one.
std::size_t sequenceLength(unsigned char lead) {
    if (lead >= 0xF0) return 4;
    if (lead >= 0xE0) return 3;
    return lead >= 0xC0 ? 2 : 1;
}

// U+0080 to U+009F: some terminals obey them as they obey ESC.
bool isControl(std::string_view sequence) {
    const auto lead = static_cast<unsigned char>(sequence[0]);
    if (lead < 0x20 || lead == 0x7F) return true;
    return sequence.size() == 2 && lead == 0xC2 && static_cast<unsigned char>(sequence[1]) < 0xA0;
}

}  // namespace

void chooseColour(ColourChoice choice) noexcept {
    colourChoice = choice;
}

Output::Output(ByteTaker* taker) : taker_(taker), coloured_(wantsColour()) {}

void Output::write(std::string_view utf8, Ink ink) {
    const std::string_view escape = coloured_ ? escapeOf(ink) : std::string_view();
    put(escape);
    if (isShownToPeople())
        put(inTerminalEncoding(utf8));
    else
        put(utf8);
    if (!escape.empty()) put("\x1b[0m");
}

void Output::writeBytes(std::string_view bytes) {
    put(bytes);
}

void Output::writeHeading(std::string_view file) {
    write("==> " + std::string(file) + " <==\n", Ink::Dim);
}

void Output::put(std::string_view bytes) {
    buffer_ += bytes;
    if (buffer_.size() >= kBufferSizeInBytes) drain();
}

void Output::drain() {
    if (taker_ == nullptr)
        writeOutput(buffer_);
    else
        taker_->take(buffer_);
    buffer_.clear();
}

void Output::finish() {
    drain();
}

void writeText(std::string_view utf8) {
    Output output;
    output.write(utf8);
    output.finish();
}

std::string printable(std::string_view utf8) {
    std::string text;
    for (std::size_t at = 0; at < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[at]);
        const std::string_view sequence = utf8.substr(at, sequenceLength(lead));
        at += sequence.size();
        text += isControl(sequence) && lead != '\n' && lead != '\t' ? std::string_view("?") : sequence;
    }
    return text;
}

std::string oneLine(std::string_view utf8, std::size_t limit) {
    std::string line;
    std::size_t characters = 0;
    bool spacePending = false;
    for (std::size_t at = 0; at < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[at]);
        const std::string_view sequence = utf8.substr(at, sequenceLength(lead));
        at += sequence.size();
        if (isWhiteSpace(lead)) {
            spacePending = !line.empty();
            continue;
        }
        if (characters + (spacePending ? 1 : 0) >= limit) return line + "...";
        if (spacePending) line += ' ';
        line += isControl(sequence) ? std::string_view("?") : sequence;
        characters += spacePending ? 2 : 1;
        spacePending = false;
    }
    return line;
}

}  // namespace kelxml
