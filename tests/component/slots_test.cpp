// The positions of the operations: programs built apart from the component, and receivers built apart from
// it, meet it at these. An operation put in the middle of an interface shows here.
#include "tests/object/slots.h"

#include <gtest/gtest.h>

#include "msxml_parser/msxml_parser.h"

namespace {

#if defined(__x86_64__)  // how slotOf reads a member pointer is a matter of the ABI

using Element = IKelDOMXmlElement;

TEST(Slots, DomParser) {
    EXPECT_EQ(slotOf(&IKelDOMXml::loadFromStream), 0);
    EXPECT_EQ(slotOf(&IKelDOMXml::loadFromString), 1);
    EXPECT_EQ(slotOf(&IKelDOMXml::loadFromFile), 2);
    EXPECT_EQ(slotOf(&IKelDOMXml::saveToStream), 3);
    EXPECT_EQ(slotOf(&IKelDOMXml::saveToString), 4);
    EXPECT_EQ(slotOf(&IKelDOMXml::saveToFile), 5);
    EXPECT_EQ(slotOf(&IKelDOMXml::getRootElement), 6);
    EXPECT_EQ(slotOf(&IKelDOMXml::createElement), 7);
    EXPECT_EQ(slotOf(&IKelDOMXml::getRootElementItr), 8);
    EXPECT_EQ(slotOf(&IKelDOMXml::setRootElement), 9);
    EXPECT_EQ(slotOf(&IKelDOMXml::getError), 10);
    // In this ABI the second version goes on in the table of the first, behind its two destructors.
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::transformToDocument), 13 + 0);
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::transformToString), 13 + 1);
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::setValidateOnParse), 13 + 2);
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::getValidateOnParse), 13 + 3);
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::validate), 13 + 4);
    EXPECT_EQ(slotOf(&IKelDOMXmlV2::addProcessingInstruction), 13 + 5);
}

template <typename Result, typename... Arguments>
std::ptrdiff_t slot(Result (Element::*operation)(Arguments...)) {
    return slotOf(operation);
}

TEST(Slots, Element) {
    EXPECT_EQ(slotOf(&Element::clone), 0);
    EXPECT_EQ((slot<KelString&, KelString&>(&Element::getName)), 1);
    EXPECT_EQ((slot<KelString>(&Element::getName)), 2);
    EXPECT_EQ(slotOf(&Element::setName), 3);
    EXPECT_EQ((slot<KelCString&, int, KelCString&>(&Element::getAttributeValue)), 4);
    EXPECT_EQ((slot<KelString&, int, KelString&>(&Element::getAttributeValue)), 5);
    EXPECT_EQ((slot<KelString, int>(&Element::getAttributeValue)), 6);
    EXPECT_EQ((slot<KelCString&, const KelString&, KelCString&>(&Element::getAttribute)), 7);
    EXPECT_EQ((slot<KelString&, const KelString&, KelString&>(&Element::getAttribute)), 8);
    EXPECT_EQ((slot<KelString, const KelString&>(&Element::getAttribute)), 9);
    EXPECT_EQ(slotOf(&Element::setAttribute), 10);
    EXPECT_EQ(slotOf(&Element::getAttributeCount), 11);
    EXPECT_EQ((slot<KelCString&, int, KelCString&>(&Element::getAttributeName)), 12);
    EXPECT_EQ((slot<KelString&, int, KelString&>(&Element::getAttributeName)), 13);
    EXPECT_EQ((slot<KelString, int>(&Element::getAttributeName)), 14);
    EXPECT_EQ((slot<KelCString&, KelCString&>(&Element::getText)), 15);
    EXPECT_EQ((slot<KelString&, KelString&>(&Element::getText)), 16);
    EXPECT_EQ((slot<KelString>(&Element::getText)), 17);
    EXPECT_EQ(slotOf(&Element::setText), 18);
    EXPECT_EQ(slotOf(&Element::getChild), 19);
    EXPECT_EQ(slotOf(&Element::getChildren), 20);
    EXPECT_EQ(slotOf(&Element::addChild), 21);
    EXPECT_EQ(slotOf(&Element::isSpecialA), 22);
    EXPECT_EQ(slotOf(&Element::isSpecialB), 23);
    EXPECT_EQ(slotOf(&Element::getParent), 24);
    EXPECT_EQ(slotOf(&Element::write), 25);
}

TEST(Slots, IteratorErrorsAndSax) {
    using Itr = IKelDOMXmlElementItr;
    EXPECT_EQ(slotOf(&Itr::first), 0);
    EXPECT_EQ(slotOf(&Itr::next), 1);
    EXPECT_EQ(slotOf(&Itr::isEnd), 2);
    EXPECT_EQ(slotOf(static_cast<Element* (Itr::*)(bool)>(&Itr::getElement)), 3);
    EXPECT_EQ(slotOf(static_cast<Element* (Itr::*)()>(&Itr::getElement)), 4);
    EXPECT_EQ(slotOf(&IKelDOMXmlError::setCode), 0);
    EXPECT_EQ(slotOf(&IKelDOMXmlError::getCode), 1);
    EXPECT_EQ(slotOf(&IKelDOMXmlError::setMessage), 2);
    EXPECT_EQ(slotOf(&IKelDOMXmlError::getMessage), 3);
    EXPECT_EQ(slotOf(&IKelDOMXmlError::clear), 4);
    EXPECT_EQ(slotOf(&IKelSAXXmlError::clear), 4);
    EXPECT_EQ(slotOf(&IKelSAXXml::parseFile), 0);
    EXPECT_EQ(slotOf(&IKelSAXXml::pushHandler), 1);
    EXPECT_EQ(slotOf(&IKelSAXXml::popHandler), 2);
    EXPECT_EQ(slotOf(&IKelSAXXml::getError), 3);
    EXPECT_EQ(slotOf(&IKelSAXXmlHandler::startElement), 0);
    EXPECT_EQ(slotOf(&IKelSAXXmlHandler::characters), 1);
    EXPECT_EQ(slotOf(&IKelSAXXmlHandler::endElement), 2);
}

#endif

}  // namespace
