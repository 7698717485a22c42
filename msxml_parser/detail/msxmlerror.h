// The error object of schemas and compiled style sheets: a member of its object. Threads: the object's.
#pragma once

#include "framework/object/implements.h"
#include "msxml_parser/ikelxmlerror.h"

class MSXmlError final : public kel::Implements<MSXmlError, IKelXmlError> {
public:
    static constexpr const char* kClassName = "MSXmlError";

    // A reference of its own, so that callers' references never count down to a deletion.
    MSXmlError() { addRef(); }
    ~MSXmlError() override { releaseNoDelete(); }

    int getCode() override { return code_; }
    int getLine() override { return line_; }
    int getColumn() override { return column_; }
    KelString& getMessage(KelString& out) override { return out.assign(message_); }
    KelString& getReason(KelString& out) override { return out.assign(reason_); }

    // For msxml::fail, and for what it does not set.
    void setCode(int code) { code_ = code; }
    void setMessage(const KelString& message) { message_ = message; }
    void setDetails(int line, int column, const KelString& reason) {
        line_ = line;
        column_ = column;
        reason_ = reason;
    }
    void clear() {
        code_ = line_ = column_ = 0;
        message_.clear();
        reason_.clear();
    }

private:
    int code_ = 0;
    int line_ = 0;
    int column_ = 0;
    KelString message_;
    KelString reason_;
};
