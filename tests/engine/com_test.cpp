#include "engine/com/com.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "engine/com/classtable.h"
#include "engine/com/msxml.h"
#include "engine/com/ref.h"
#include "engine/com/status.h"

namespace {

using engine::com::Ref;
using engine::com::textOf;

TEST(Bstr, KeepsLengthZerosAndTerminatorForEverySizeClass) {
    for (const UINT length : {0u, 1u, 7u, 8u, 23u, 24u, 500u, 2039u, 2040u, 2041u, 100000u}) {
        SCOPED_TRACE(length);
        std::u16string source(length, u'x');
        if (length > 2) source[1] = u'\0';
        for (int round = 0; round < 40; ++round) {  // more than the cache keeps
            BSTR text = SysAllocStringLen(source.data(), length);
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(SysStringLen(text), length);
            EXPECT_EQ(text[length], u'\0');
            EXPECT_EQ(textOf(text), source);
            SysFreeString(text);
        }
    }
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
    SysFreeString(nullptr);
}

TEST(Bstr, BlocksInUseAreNeverShared) {
    std::vector<BSTR> texts;
    for (char16_t i = 0; i < 200; ++i)
        texts.push_back(SysAllocStringLen(std::u16string(i % 40u, i).data(), i % 40u));
    for (std::size_t i = 0; i < texts.size(); i += 2) SysFreeString(texts[i]);
    for (std::size_t i = 0; i < texts.size(); i += 2) texts[i] = SysAllocString(u"again");
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(textOf(texts[i]), i % 2 == 0 ? u"again" : std::u16string(i % 40, static_cast<char16_t>(i)));
        SysFreeString(texts[i]);
    }
}

struct FreesLate {
    BSTR text = nullptr;
    ~FreesLate() {
        SysFreeString(text);
        SysFreeString(SysAllocString(u"made after the cache has ended"));
    }
};

TEST(Bstr, WorksWhileAThreadEndsAndAcrossThreads) {
    BSTR fromThread = nullptr;
    BSTR toThread = SysAllocString(u"to");
    std::thread([&] {
        thread_local FreesLate late;  // destroyed after the cache, which starts later
        late.text = SysAllocString(u"late");
        SysFreeString(toThread);
        fromThread = SysAllocString(u"from");
        (void)engine::com::fail(E_FAIL, "left behind");  // freed with the thread
    }).join();
    EXPECT_EQ(textOf(fromThread), u"from");
    SysFreeString(fromThread);
}

VARIANT bstrVariant(const char16_t* text) {
    VARIANT v{};
    v.vt = VT_BSTR;
    v.bstrVal = SysAllocString(text);
    return v;
}

TEST(Variant, ConvertsToTextOrLeavesTheTargetAlone) {
    struct Row {
        const char* fault;
        VARIANT from;
        HRESULT status;
        const char16_t* text;
    };
    const auto variant = [](VARTYPE type, LONG value) {
        VARIANT v{};
        v.vt = type;
        v.lVal = value;
        return v;
    };
    VARIANT flag = variant(VT_BOOL, 0);
    flag.boolVal = VARIANT_TRUE;
    const VARIANT text = bstrVariant(u"as it is");
    for (const Row& row :
         std::array<Row, 7>{{{"number", variant(VT_I4, -7), S_OK, u"-7"},
                             {"truth", flag, S_OK, u"True"},
                             {"no truth", variant(VT_BOOL, VARIANT_FALSE), S_OK, u"False"},
                             {"nothing", VARIANT{}, S_OK, u""},
                             {"text", text, S_OK, u"as it is"},
                             {"null", variant(VT_NULL, 0), DISP_E_TYPEMISMATCH, u"before"},
                             {"object", variant(VT_UNKNOWN, 0), DISP_E_TYPEMISMATCH, u"before"}}}) {
        SCOPED_TRACE(row.fault);
        VARIANT target = bstrVariant(u"before");
        EXPECT_EQ(VariantChangeType(&target, &row.from, 0, VT_BSTR), row.status);
        ASSERT_EQ(target.vt, VT_BSTR);
        EXPECT_EQ(textOf(target.bstrVal), row.text);
        VariantClear(&target);
    }
    VARIANT itself = text;
    EXPECT_EQ(VariantChangeType(&itself, &itself, 0, VT_BSTR), S_OK);
    EXPECT_EQ(VariantChangeType(&itself, &itself, 0, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(textOf(itself.bstrVal), u"as it is");
    VariantClear(&itself);
}

TEST(ErrorInfo, BelongsToOneThreadAndIsTakenOnce) {
    EXPECT_EQ(engine::com::fail(E_INVALIDARG, u"what was wrong"), E_INVALIDARG);
    std::thread([] {
        IErrorInfo* info = nullptr;
        EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
    }).join();
    Ref<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, info.receive()), S_OK);
    BSTR text = nullptr;
    EXPECT_EQ(info->GetDescription(&text), S_OK);
    EXPECT_EQ(textOf(text), u"what was wrong");
    SysFreeString(text);
    EXPECT_EQ(GetErrorInfo(0, info.receive()), S_FALSE);
}

TEST(ErrorInfo, OneMadeByHandReachesTheException) {
    Ref<ICreateErrorInfo> made;
    ASSERT_EQ(CreateErrorInfo(made.receive()), S_OK);
    std::u16string words = u"made by hand";
    ASSERT_EQ(made->SetDescription(words.data()), S_OK);
    Ref<IErrorInfo> info;
    ASSERT_EQ(made->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(info.receive())), S_OK);
    ASSERT_EQ(SetErrorInfo(0, info.get()), S_OK);
    try {
        _com_issue_errorex(E_FAIL, nullptr, IID_IUnknown);
    } catch (const _com_error& thrown) {
        const _com_error copy = thrown;
        EXPECT_EQ(copy.Error(), E_FAIL);
        EXPECT_EQ(std::u16string(copy.Description()), words);
        EXPECT_EQ(copy.Description().length(), words.size());
        EXPECT_STREQ(copy.ErrorMessage(), "Unspecified error");
    }
    try {
        _com_issue_errorex(static_cast<HRESULT>(0x80041234u), nullptr, IID_IUnknown);
    } catch (const _com_error& thrown) {
        EXPECT_EQ(thrown.Description().length(), 0u);  // the information was taken by the first throw
        EXPECT_STREQ(thrown.ErrorMessage(), "Unknown error 0x80041234");
    }
}

TEST(Guarded, TranslatesEveryExceptionAndDescribesIt) {
    struct Row {
        HRESULT status;
        const char16_t* description;
        HRESULT (*body)();
    };
    for (const Row& row : std::array<Row, 3>{{
             {E_OUTOFMEMORY, u"There is not enough memory to complete this operation.",
              []() -> HRESULT { throw std::bad_alloc(); }},
             {E_FAIL, u"thrown", []() -> HRESULT { throw std::runtime_error("thrown"); }},
             {E_ACCESSDENIED, u"rejet\u00E9",
              []() -> HRESULT { throw engine::com::Exception(E_ACCESSDENIED, "rejet\xC3\xA9"); }},
         }}) {
        EXPECT_EQ(engine::com::guarded(row.body), row.status);
        try {
            _com_issue_errorex(row.status, nullptr, IID_IUnknown);
        } catch (const _com_error& thrown) {
            EXPECT_EQ(std::u16string(thrown.Description()), row.description);
        }
    }
}

class Thing final : public IUnknown {
public:
    HRESULT QueryInterface(REFIID, void** object) override {
        *object = this;
        return S_OK;
    }
    ULONG AddRef() override { return 2; }
    ULONG Release() override { return 1; }
};

constexpr CLSID kThingId{0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

TEST(ClassTable, CreatesRegisteredClassesUnlessTheyFail) {
    static Thing thing;
    static engine::com::ClassEntry entry{kThingId, [](REFIID iid, void** object) noexcept -> HRESULT {
                                             return thing.QueryInterface(iid, object);
                                         }};
    void* object = &entry;
    EXPECT_EQ(CoCreateInstance(kThingId, nullptr, CLSCTX_ALL, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
    engine::com::registerClass(entry);
    {
        const engine::com::FailingClass failing(kThingId, E_ACCESSDENIED);
        EXPECT_EQ(CoCreateInstance(kThingId, nullptr, CLSCTX_ALL, IID_IUnknown, &object), E_ACCESSDENIED);
        const engine::com::FailingClass inner(kThingId);
        EXPECT_EQ(CoCreateInstance(kThingId, nullptr, CLSCTX_ALL, IID_IUnknown, &object),
                  REGDB_E_CLASSNOTREG);
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_EQ(CoCreateInstance(kThingId, nullptr, CLSCTX_ALL, IID_IUnknown, &object), S_OK);
    EXPECT_EQ(object, &thing);
}

TEST(CoInitialize, CountsPerThread) {
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    std::thread([] { EXPECT_EQ(CoInitialize(nullptr), S_OK); }).join();
    CoUninitialize();
    CoUninitialize();
    CoUninitialize();  // one too many harms nothing
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    CoUninitialize();
}

}  // namespace
