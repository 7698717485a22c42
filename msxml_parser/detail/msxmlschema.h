// Schemas over the engine's schema collection and its streaming reader. The operations are documented with
// the interface. Threads: one at a time, the thread whose COM was initialised when it was made.
#pragma once

#include <exception>

#include "framework/object/implements.h"
#include "msxml_parser/detail/comptr.h"
#include "msxml_parser/detail/msxmlerror.h"
#include "msxml_parser/ikelxmlschema.h"

namespace msxml {

// Hands the violations that the engine's reader reports to a handler. No exception crosses the engine. Life:
// its owner's business; counting does nothing.
class ViolationListener final : public ISAXErrorHandler {
public:
    ViolationListener() noexcept;
    ViolationListener(const ViolationListener&) = delete;
    ViolationListener& operator=(const ViolationListener&) = delete;
    virtual ~ViolationListener() = default;

    struct Found {
        HRESULT status = S_OK;  // S_OK: nothing
        int line = 0;
        int column = 0;
        KelString reason;
    };

    // A validation begins. Null: the first violation is enough.
    void begin(IKelXmlViolationHandler* handler);
    // It is over. Throws what the handler threw.
    void end();
    // Keeps the first; false: that is enough. Throws what the handler throws.
    bool add(const Found& found, std::u16string_view path);
    [[nodiscard]] const Found& violation() const noexcept { return violation_; }  // the first
    [[nodiscard]] const Found& fatal() const noexcept {
        return fatal_;
    }  // that the document was rejected for

    [[nodiscard]] bool mayRepeatIds() const noexcept { return mayRepeatIds_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE error(ISAXLocator* locator, const OLECHAR* message, HRESULT code) override;
    HRESULT STDMETHODCALLTYPE fatalError(ISAXLocator* locator, const OLECHAR* message, HRESULT code) override;
    HRESULT STDMETHODCALLTYPE ignorableWarning(ISAXLocator* locator, const OLECHAR* message,
                                               HRESULT code) override;

private:
    IKelXmlViolationHandler* handler_ = nullptr;
    Found violation_;
    Found fatal_;
    std::exception_ptr thrown_;
    bool mayRepeatIds_;
};

}  // namespace msxml

class MSXmlSchema : public kel::Implements<MSXmlSchema, IKelXmlSchema> {
public:
    static constexpr const char* kClassName = "MSXmlSchema";
    static constexpr const char* interfaceName() noexcept { return kClassName; }

    bool addFile(const KelString& namespaceUri, const KelString& path) override;
    bool validate(IKelDOMXml* document, IKelXmlViolationHandler* handler) override;
    bool validateFile(const KelString& path, IKelXmlViolationHandler* handler) override;
    bool validateBytes(const void* bytes, std::size_t byteCount, IKelXmlViolationHandler* handler) override;
    bool validateStream(BinInput& in, IKelXmlViolationHandler* handler) override;
    IKelXmlError* getError() override { return &error_; }
    bool mayRepeatIds() override { return listener_.mayRepeatIds(); }

private:
    class Busy;
    bool begin();
    bool setUpReader();
    void collect(const msxml::ComPtr<IXMLDOMParseError>& record);
    template <typename Parse>
    HRESULT run(IKelXmlViolationHandler* handler, Parse&& parse);
    bool conclude(const KelString* path, HRESULT status);
    bool reject(const KelString* path, int code, const msxml::ViolationListener::Found& found,
                const char* withPath, const char* without);

    msxml::ComPtr<IXMLDOMSchemaCollection> schemas_;  // empty: no file has been compiled
    msxml::ViolationListener listener_;               // outlives the reader, which holds it
    msxml::ComPtr<ISAXXMLReader> reader_;             // made when it is first needed
    bool isBusy_ = false;
    MSXmlError error_;
};
