// The error objects of the two parsers: one record under two names. Each is a member of its parser.
// Threads: the parser's.
#pragma once

#include "KelBasicTypes/kelstring.h"
#include "framework/object/implements.h"
#include "msxml_parser/detail/text.h"
#include "msxml_parser/ikeldomxmlerror.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "msxml_parser/ikelsaxxmlv3.h"

namespace msxml {

template <typename Class, typename Interface>
class ErrorRecord : public kel::Implements<Class, Interface> {
public:
    // A reference of its own, so that callers' references never count down to a deletion: the storage is the
    // parser's.
    ErrorRecord() { this->addRef(); }
    ~ErrorRecord() override { this->releaseNoDelete(); }

    Interface* setCode(int code) override {
        code_ = code;
        return this;
    }
    const int& getCode() override { return code_; }
    KelString& setMessage(const KelString& message) override {
        message_ = message;
        return message_;
    }
    KelString& getMessage() override { return message_; }
    void clear() override {
        code_ = 0;
        message_.clear();
    }

private:
    int code_ = 0;
    KelString message_;
};

}  // namespace msxml

class MSDOMXmlError final : public msxml::ErrorRecord<MSDOMXmlError, IKelDOMXmlError>,
                            public virtual IKelDOMXmlErrorV2 {
public:
    static constexpr const char* kClassName = "MSDOMXmlError";
    using Later = kel::InterfaceList<IKelDOMXmlErrorV2>;

    void clear() override {
        ErrorRecord::clear();
        position_ = {};
        reason_.clear();
    }
    int getLine() override { return position_.line; }
    int getColumn() override { return position_.column; }
    KelString& getReason(KelString& out) override { return out.assign(reason_); }

    void setDetails(const msxml::SourcePosition& position, const KelString& reason) {
        position_ = position;
        reason_ = reason;
    }

private:
    msxml::SourcePosition position_;
    KelString reason_;
};

class MSSAXXmlError final : public msxml::ErrorRecord<MSSAXXmlError, IKelSAXXmlError>,
                            public virtual IKelSAXXmlErrorV2 {
public:
    static constexpr const char* kClassName = "MSSAXXmlError";
    using Later = kel::InterfaceList<IKelSAXXmlErrorV2>;

    void clear() override {
        ErrorRecord::clear();
        line_ = column_ = 0;
        reason_.clear();
    }
    int getLine() override { return line_; }
    int getColumn() override { return column_; }
    KelString& getReason(KelString& out) override { return out.assign(reason_); }

    void setDetails(int line, int column, const KelString& reason) {
        line_ = line;
        column_ = column;
        reason_ = reason;
    }

private:
    int line_ = 0;
    int column_ = 0;
    KelString reason_;
};
