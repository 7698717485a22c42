// The positions of the operations in the C++ ABI of this build; see slotstable.h.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "tests/object/slots.h"
#include "tests/object/slotstable.h"

namespace {

// How far an interface's own operations are moved in the Itanium ABI, which gives a destructor two entries,
// and lets an interface with a base that is not empty go on in its base's table.
template <class Interface>
constexpr std::ptrdiff_t kShift =
    std::has_virtual_destructor_v<Interface> && !std::is_base_of_v<IKelUnknown, Interface> ? 1 : 0;
template <>
constexpr std::ptrdiff_t kShift<IKelUnknown> = 1;
template <>
constexpr std::ptrdiff_t kShift<KelShared> = 1;
template <>
constexpr std::ptrdiff_t kShift<IKelDOMXmlV2> = 13;  // the first version's eleven and its destructors
template <>
constexpr std::ptrdiff_t kShift<IKelDOMXmlV3> = 19;
template <>
constexpr std::ptrdiff_t kShift<IKelDOMXmlErrorV2> = 7;
template <>
constexpr std::ptrdiff_t kShift<IKelDOMXmlElementV2> = 28;
template <>
constexpr std::ptrdiff_t kShift<IKelDOMXmlElementItrV2> = 7;
template <>
constexpr std::ptrdiff_t kShift<IKelSAXXmlV3> = 6;
template <>
constexpr std::ptrdiff_t kShift<IKelSAXXmlErrorV2> = 7;
template <>
constexpr std::ptrdiff_t kShift<IDataStoreV2> = 38;  // likewise
template <>
constexpr std::ptrdiff_t kShift<IKelDirServiceV2> = 3;

TEST(Slots, OfEveryInterfaceAreWhereTheOthersExpectThem) {
    if constexpr (!kCanReadSlots) GTEST_SKIP() << "in this ABI `./dev lint` holds them";
#define CHECK_SLOT(Type, operation, position) \
    EXPECT_EQ(slotOf(&Type::operation), position + (kShift<Type>)) << #Type "::" #operation;
    KEL_SLOTS(CHECK_SLOT)
#undef CHECK_SLOT
}

}  // namespace
