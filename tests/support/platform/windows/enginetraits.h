// Where engines differ: how the one behind the component words things, and what not every engine does. Each
// platform has a header of this name with the same entries. This is the platform's engine, of which there are
// two: texts are held to their shape, and what Wine's lacks is wanted of the other.
#pragma once

#include <windows.h>

namespace kel::test::traits {

// The reason under Wine, else null.
inline const char* onWine(const char* reason) {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    return GetProcAddress(system, "wine_get_version") != nullptr ? reason : nullptr;
}

// Texts, each a regular expression for the whole of it.
inline constexpr const char* kMismatchInLine2 = "Line [0-9]+, column [0-9]+ : .+";  // Wine: 0, 0, "error"
inline constexpr const char* kMismatchInLine1 = "Line [0-9]+, column [0-9]+ : .+";
inline constexpr const char* kMismatchPositionInReader = "[0-9]+:[0-9]+ .*";
inline constexpr const char* kMismatchReason = ".+";
inline constexpr const char* kMismatchPosition = "\\([0-9]+:[0-9]+\\)";
// Where "<a>\n<b></a>" is rejected, as the Japanese catalogue words it.
inline constexpr const char* kJapanesePlaceInLine2 = " \xE5\x88\x97\xEF\xBC\x89";
inline constexpr const char* kInvalidWhileLoading = "Line [0-9]+, column [0-9]+ : [^]+";
inline constexpr const char* kDescription = "[^]*";  // Wine: often none

// Events of elements with namespace declarations: they are attributes, too, without a local name.
inline constexpr const char* kEventsOfTwoDeclarations = "<e 0 =u a=1></e>";
inline constexpr const char* kEventsOfEqualLocalNames = "<e 0 =u A=3 a=1 b=0></e>";
// What a transformation to "<b/>" gives as UTF-8; Wine names no encoding.
inline constexpr const char* kDeclarationOfUtf8 =
    "<\\?xml version=\"1.0\"( encoding=\"UTF-8\")?\\?>\\s*<b/>\\s*";

// What engines do. Null: this one does; else why the tests that want it are skipped.
inline constexpr const char* kKeepsWhiteSpaceOfTexts =
    "without preserved white space this engine drops blank leaves and trims texts";
inline const char* const kKeepsDeclarationsInPlace = onWine("Wine puts declarations after other attributes");
inline const char* const kListsDefaultDeclarations =
    onWine("Wine fails to list a default namespace declaration among the attributes");
inline const char* const kRejectsWrongNames = onWine("Wine takes any text for a name");
inline const char* const kSetsTextsAsTheyAre = onWine("Wine escapes a text that it puts into a text node");
inline const char* const kRejectsCycles = onWine("Wine lets an element move below itself");
inline const char* const kRejectsSecondRoot = onWine("Wine lets a document have two root elements");
inline const char* const kRejectsBadStyleSheets =
    onWine("Wine returns success and an empty result for a style sheet with errors");
inline const char* const kValidatesWhileLoading = onWine("Wine does not validate while it loads");
inline const char* const kReadsOnAfterException =
    onWine("Wine's reader repeats its last document after an exception passed through it");
inline const char* const kExpandsEntities = onWine("Wine's reader stops at an entity reference");
inline const char* const kFindsAllViolations = onWine("Wine finds the first violation, without its place");
inline const char* const kValidatesStreams = onWine("Wine does not validate while it reads a stream");
inline constexpr const char* kReportsMessages = "this engine hands out no messages of style sheets";
inline const char* const kWritesEncodings = onWine("Wine writes every result as UTF-16");
inline const char* const kTakesParameters = onWine("Wine fails with parameters that are no texts");
inline const char* const kDeliversInstructions = onWine("Wine's reader delivers no instructions");
inline const char* const kKnowsItsDocuments =
    onWine("Wine hands out one document as several objects, so no element is known to be in it");
inline const char* const kRejectsExpressions = onWine("Wine takes a wrong expression for an empty one");
inline const char* const kProhibitsDoctypes = onWine("Wine reads every DOCTYPE, and drops its entities");
inline const char* const kRejectsStrangeNeighbours =
    onWine("Wine puts an element before one that is no child of the same parent");
inline const char* const kForgetsParents =
    onWine("Wine remembers the former parent of a removed element, which may be gone");
inline constexpr const char* kPositionsOfEvents = "this engine reports the end of an event";
inline const char* const kSaysWhatIsMalformed =
    onWine("Wine fails without a reason for malformed bytes from a stream");
inline const char* const kPlacesErrorsOfEvents =
    onWine("Wine's reader reports other positions, and knows no depth");
inline const char* const kReadsEveryDocument = onWine("Wine's reader rejects some well-formed documents");
inline const char* const kBearsDepth = onWine("Wine rejects or does not survive deep documents");
inline const char* const kRejectsOnManyThreads =
    onWine("Wine corrupts its heap when threads load malformed documents at the same time");
inline const char* const kReadsManyEncodings = onWine("Wine's parser knows few encodings");
inline constexpr const char* kKeepsPositions = "this engine keeps no positions of elements";
inline constexpr const char* kIndentsLikeOurs = "this engine has its own way to lay out";

}  // namespace kel::test::traits
