// XSLT style sheets: compiled once, run any number of times. See msxml_parser/xml.h.
#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "framework/object/iptr.h"
#include "msxml_parser/ikelxmlfactory.h"
#include "msxml_parser/ikelxslstylesheet.h"
#include "msxml_parser/xml/document.h"
#include "msxml_parser/xml/error.h"
#include "msxml_parser/xml/schema.h"
#include "msxml_parser/xml/streams.h"
#include "msxml_parser/xml/text.h"
#include "msxml_parser/xmldom.h"

namespace msxml_parser {

// A style sheet with its parameters. It moves and is not copied. Threads: one at a time, the thread on which
// COM was initialised when it was made.
class StyleSheet final {
public:
    using Receiver = std::function<void(std::string_view text)>;  // UTF-8, valid during the call

    StyleSheet() : StyleSheet(IPtr<IKelDOMXmlV2>(XmlDOM().getParser()).get()) {}  // of the linked library
    explicit StyleSheet(IKelUnknown* parser)  // any parser of the component's, which a host made; borrowed
        : messages_(std::make_unique<Messages>()),
          sheet_(detail::partOf<IKelXmlFactory>(parser)->createStyleSheet()) {
        if (!sheet_) throw std::bad_alloc();
        sheet_->setMessageHandler(messages_.get());
    }
    StyleSheet(const StyleSheet&) = delete;
    StyleSheet& operator=(const StyleSheet&) = delete;
    StyleSheet(StyleSheet&&) noexcept = default;
    StyleSheet& operator=(StyleSheet&& other) noexcept {
        StyleSheet old(std::move(*this));  // lets go of its receiver after its style sheet
        messages_ = std::move(other.messages_);
        sheet_ = std::move(other.sheet_);
        return *this;
    }
    ~StyleSheet() {
        if (sheet_) sheet_->setMessageHandler(nullptr);  // others may hold it
    }

    // The style sheet itself, borrowed, for operations of the interfaces.
    [[nodiscard]] IKelXslStyleSheet& handle() const { return detail::required(sheet_); }

    // The style sheet that was compiled before stays when one is rejected.
    void compileFile(const Text& file) {
        demand(file.utf8(), [&] { return handle().compileFile(file.value()); });
    }
    void compileText(const Text& text) {
        demand({}, [&] { return handle().compileString(text.value()); });
    }
    [[nodiscard]] Result<void> tryCompileFile(const Text& file) {
        return attempt([&] { compileFile(file); });
    }
    [[nodiscard]] Result<void> tryCompileText(const Text& text) {
        return attempt([&] { compileText(text); });
    }

    // Values of parameters, for all transformations until they are changed.
    void setParameter(const Text& name, const Text& value, const Text& namespaceUri = "") {
        demand({},
               [&] { return handle().setTextParameter(name.value(), namespaceUri.value(), value.value()); });
    }
    template <class Number>
    requires std::integral<Number> || std::floating_point<Number>
    void setParameter(const Text& name, Number value, const Text& namespaceUri = "") {
        demand({}, [&] {
            if constexpr (std::same_as<Number, bool>) {
                return handle().setTruthParameter(name.value(), namespaceUri.value(), value);
            } else {
                return handle().setNumberParameter(name.value(), namespaceUri.value(),
                                                   static_cast<double>(value));
            }
        });
    }
    void clearParameters() { handle().clearParameters(); }

    // For what xsl:message says, and for what was passed over. None of it comes on Windows.
    void onMessage(Receiver receiver) { messages().message_ = std::move(receiver); }
    void onWarning(Receiver receiver) { messages().warning_ = std::move(receiver); }

    // The result as bytes in the encoding that the style sheet asks for, UTF-8 if it asks for none.
    [[nodiscard]] std::string transform(const Document& source) const {
        detail::StringOutput out;
        demand({}, [&] { return handle().transformToStream(&source.parser(), out); });
        return out.take();
    }
    [[nodiscard]] Result<std::string> tryTransform(const Document& source) const {
        return attempt([&] { return transform(source); });
    }
    void transform(const Document& source, std::ostream& stream) const {
        detail::StandardOutput out(stream);
        demand({}, [&] { return handle().transformToStream(&source.parser(), out); });
    }
    // Replaces what `result` held.
    void transform(const Document& source, Document& result) const {
        demand({}, [&] { return handle().transformToDocument(&source.parser(), &result.parser()); });
    }

private:
    struct Messages final : IKelXslMessageHandler {
        void message(std::u16string_view text, bool /*isLast*/) override {
            if (message_) message_(detail::toUtf8(text));
        }
        void warning(std::u16string_view text) override {
            if (warning_) warning_(detail::toUtf8(text));
        }
        Receiver message_;
        Receiver warning_;
    };

    [[nodiscard]] Messages& messages() const {
        (void)handle();
        return *messages_;
    }
    template <class Operation>
    void demand(const std::string& file, Operation&& operation) const {
        if (!detail::guarded(operation)) throw Exception(detail::errorFrom(*handle().getError(), file));
    }

    std::unique_ptr<Messages> messages_;  // where it stays when this moves
    IPtr<IKelXslStyleSheet> sheet_;
};

}  // namespace msxml_parser
