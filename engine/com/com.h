// The slice of COM and OLE Automation that this project uses, under the platform's own names and signatures:
// code written against this header compiles against the platform's headers as well. Ownership follows COM:
// out-parameters give a reference or a string of the caller's own, in-parameters are borrowed for the
// call. Threads: an object belongs to the thread that made it; the functions may be called from any thread,
// and what they keep (the COM count, the error information, cached strings) is kept per thread.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "engine/com/comerror.h"

#define STDMETHODCALLTYPE  // the platform's calling convention; ours is the compiler's

using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using USHORT = std::uint16_t;
using LPVOID = void*;
using BSTR = OLECHAR*;  // zero-terminated UTF-16; its length stands before it, so zeros may stand inside

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005u);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154u);
inline constexpr HRESULT STG_E_MEDIUMFULL = static_cast<HRESULT>(0x80030070u);
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);

constexpr bool SUCCEEDED(HRESULT status) noexcept {
    return status >= 0;
}
constexpr bool FAILED(HRESULT status) noexcept {
    return status < 0;
}

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    // By halves: objects are asked for their interfaces all the time.
    friend constexpr bool operator==(const GUID& a, const GUID& b) noexcept {
        using Halves = std::array<std::uint64_t, 2>;
        return std::bit_cast<Halves>(a) == std::bit_cast<Halves>(b);
    }
};
using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

constexpr bool IsEqualGUID(REFGUID a, REFGUID b) noexcept {
    return a == b;
}
constexpr bool IsEqualIID(REFIID a, REFIID b) noexcept {
    return a == b;
}
constexpr bool IsEqualCLSID(REFCLSID a, REFCLSID b) noexcept {
    return a == b;
}

inline constexpr IID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IErrorInfo{
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo{
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

inline constexpr IID IID_ISequentialStream{
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IStream{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IUnknown {
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

// Here only an identity: nothing in this project calls by name.
struct IDispatch : IUnknown {};

// Streams of bytes. Callers implement them, so they are whole; this engine reads and writes, and calls
// nothing else.

union LARGE_INTEGER {
    std::int64_t QuadPart;
};
union ULARGE_INTEGER {
    std::uint64_t QuadPart;
};
struct STATSTG;

struct ISequentialStream : IUnknown {
    // `done` may be null. Fewer bytes than asked for, or S_FALSE: the stream is at its end.
    virtual HRESULT STDMETHODCALLTYPE Read(void* bytes, ULONG count, ULONG* done) = 0;
    virtual HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG count, ULONG* done) = 0;
};

struct IStream : ISequentialStream {
    virtual HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                                             ULARGE_INTEGER* written) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Revert() = 0;
    virtual HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count,
                                                   DWORD type) = 0;
    virtual HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD flags) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IStream** clone) = 0;
};

// Texts.

// A new string with a copy of `text`, or null for null and when memory runs out. The caller frees it.
[[nodiscard]] BSTR SysAllocString(const OLECHAR* text) noexcept;
// As above for `length` units; with a null `text` the content is left for the caller to fill.
[[nodiscard]] BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;
void SysFreeString(BSTR text) noexcept;                         // null is allowed
[[nodiscard]] UINT SysStringLen(const OLECHAR* text) noexcept;  // in units; 0 for null

// Variants.

using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum VARENUM : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I4 = 3,
    VT_R8 = 5,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_BOOL = 11,
    VT_UNKNOWN = 13,
};

struct VARIANT {
    VARTYPE vt;
    unsigned short wReserved1;
    unsigned short wReserved2;
    unsigned short wReserved3;
    union {
        LONG lVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        std::uint64_t reserved[2];
    };
};
using VARIANTARG = VARIANT;

void VariantInit(VARIANTARG* variant) noexcept;
HRESULT VariantClear(VARIANTARG* variant) noexcept;  // releases what it holds and leaves VT_EMPTY
// Converts VT_EMPTY, VT_BSTR, VT_I4 and VT_BOOL to VT_BSTR; everything else is DISP_E_TYPEMISMATCH. `target`
// may be `source`; on failure it is unchanged.
HRESULT VariantChangeType(VARIANTARG* target, const VARIANTARG* source, USHORT flags, VARTYPE type) noexcept;

// Error information: what the last failed call of this thread had to say.

struct IErrorInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) = 0;
};
struct ICreateErrorInfo : IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetDescription(OLECHAR* description) = 0;
};

HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept;
HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) noexcept;   // null clears
HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) noexcept;  // takes it away; S_FALSE and null if none

// Throws _com_error for `status`.
[[noreturn]] void _com_issue_error(HRESULT status);
// As above, with the thread's error information as description. `object` and `iid` identify the call that
// failed; every object of this engine supports error information, so they are not asked.
[[noreturn]] void _com_issue_errorex(HRESULT status, IUnknown* object, REFIID iid);

// Objects.

inline constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;
inline constexpr DWORD CLSCTX_INPROC_HANDLER = 0x2;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 0x4;
inline constexpr DWORD CLSCTX_REMOTE_SERVER = 0x10;
inline constexpr DWORD CLSCTX_ALL = 0x17;

HRESULT CoInitialize(LPVOID reserved) noexcept;  // S_FALSE when this thread had initialised COM before
void CoUninitialize() noexcept;
// Creates an object of a class of the table. Does not insist on CoInitialize: outside the platform a host has
// no way to reach it. Unknown class: REGDB_E_CLASSNOTREG.
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object) noexcept;
HRESULT OleRun(IUnknown* object) noexcept;  // every object here runs from the start
