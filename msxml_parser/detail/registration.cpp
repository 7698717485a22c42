// What the component sets up while the library is loaded, in this order and in this one file, for across
// files the order would be the linker's. None of it is ever destroyed: nobody knows who calls last while a
// process ends.
#include "framework/component/componentstate.h"
#include "framework/component/keldefaultclassfactory.h"
#include "framework/component/kelitemfactory.h"
#include "framework/component/kelstaticbasecomponentfact.h"
#include "framework/object/hostlink.h"
#include "msxml_parser/detail/customizer.h"
#include "msxml_parser/detail/msdomxml.h"
#include "msxml_parser/detail/mssaxxml.h"
#include "msxml_parser/detail/outlive.h"

namespace {

constexpr KelClassId kDomParserId{
    0xA915F25B, 0x7386, 0x4143, {0xBB, 0x88, 0xD1, 0x1C, 0xC2, 0xE6, 0x9F, 0xC7}};
constexpr KelClassId kSaxParserId{
    0xDFB612BD, 0x5865, 0x4067, {0x97, 0xC1, 0x3F, 0xE4, 0xA7, 0xF4, 0x9A, 0x86}};
constexpr KelClassId kComponentId{
    0x88BC5A8E, 0xCC38, 0x4C51, {0xB3, 0xF1, 0x90, 0x80, 0x05, 0x66, 0xE0, 0xDF}};

bool setUpComponent() {
    msxml::keepUntilProcessEnd(new MSXMLParserComponentCustomizer);
    // An item factory registers itself and creates the class factory if it is the first.
    static auto& domParsers =
        *new KelTClassItemFactory<MSDOMXml>(&kDomParserId, MSDOMXml::kClassName, nullptr);
    static auto& saxParsers =
        *new KelTClassItemFactory<MSSAXXml>(&kSaxParserId, MSSAXXml::kClassName, nullptr);
    (void)domParsers;
    (void)saxParsers;
    kel::setContainerName("");
    kel::setComponentIdentity({"msxml_parser", "6.3.0.0", kComponentId});
    kel::defaultClassFactory = &KelDefaultClassFactory::instance();
    kel::componentFactory = new KelStaticBaseComponentFact;
    return true;
}

// Only memory can be missing here, and a library that cannot even register itself is better not loaded.
// NOLINTNEXTLINE(cert-err58-cpp)
[[maybe_unused]] const bool isSetUp = setUpComponent();

}  // namespace
