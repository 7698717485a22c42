// A SAX receiver that writes down what it gets, as one line of text.
#pragma once

#include <string>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/ikelsaxxmlhandler.h"

namespace component_test {

class EventRecorder : public IKelSAXXmlHandler {
public:
    void startElement(const KelString& name, int depth, const KelSAXXmlAttributes& attributes) override {
        log_ += '<' + kel::toUtf8(name.view()) + ' ' + std::to_string(depth);
        for (const auto& [key, value] : attributes) {
            log_ += ' ' + kel::toUtf8(key.view()) + '=' + kel::toUtf8(value.view());
        }
        log_ += '>';
    }
    // Chunks of one run are joined: where the engine splits is its own affair.
    void characters(const KelString& text) override {
        if (!log_.empty() && log_.back() == '\'') {
            log_.pop_back();
        } else {
            log_ += '\'';
        }
        log_ += kel::toUtf8(text.view()) + '\'';
    }
    void endElement(const KelString& name) override { log_ += "</" + kel::toUtf8(name.view()) + '>'; }

    [[nodiscard]] const std::string& log() const { return log_; }
    void forget() { log_.clear(); }

private:
    std::string log_;
};

}  // namespace component_test
