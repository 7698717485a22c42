// What a compiler's own COM support library brings along, for compilers that only declare it.
#include <windows.h>

#include <comdef.h>
#include <msxml2.h>

// `info` passes to the exception.
void WINAPI _com_issue_errorex(HRESULT status, IUnknown* object, REFIID iid) {
    IErrorInfo* info = nullptr;
    ISupportErrorInfo* support = nullptr;
    if (object != nullptr &&
        SUCCEEDED(object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)))) {
        const bool isSupported = support->InterfaceSupportsErrorInfo(iid) == S_OK;
        support->Release();
        if (isSupported && GetErrorInfo(0, &info) != S_OK) info = nullptr;
    }
    throw _com_error(status, info);
}

// Identifiers that the headers declare and no import library has.
extern "C" {
const IID IID_IXMLDOMDocument2 = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
const IID IID_IXMLDOMSchemaCollection = {
    0x373984C8, 0xB845, 0x449B, {0x91, 0xE7, 0x45, 0xAC, 0x83, 0x03, 0x6A, 0xDE}};
const IID IID_ISAXXMLReader = {0xA4F96ED0, 0xF829, 0x476E, {0x81, 0xC0, 0xCD, 0xC7, 0xBD, 0x2A, 0x08, 0x02}};
}
