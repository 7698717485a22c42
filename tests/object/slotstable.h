// The position of each operation in its interface's own table. Programs, hosts and services are built apart
// from the component and meet it at these. A unit test checks them in the C++ ABI of the build, `./dev lint`
// in the ABI of the Windows compilers. The destructor, where an interface declares one, is position 0.
#pragma once

#include "KelBasicTypes/binio.h"
#include "KelBasicTypes/ibucketmemorypool.h"
#include "KelBasicTypes/idatastorev2.h"
#include "KelBasicTypes/igfxrenderer.h"
#include "KelBasicTypes/ikelasserthandlercb.h"
#include "KelBasicTypes/ikeldatamodelreader.h"
#include "KelBasicTypes/ikeldatamodelwriter.h"
#include "KelBasicTypes/ikeldatareceiver.h"
#include "KelBasicTypes/ikeldirservicev2.h"
#include "KelBasicTypes/ikelerrorservice.h"
#include "KelBasicTypes/ikelmmanager.h"
#include "KelBasicTypes/ikelstrsupport.h"
#include "KelBasicTypes/ikeltranslator.h"
#include "KelBasicTypes/imemchecker.h"
#include "framework/component/ikelclassfactory.h"
#include "framework/component/ikelcomponentcustomizer.h"
#include "framework/component/ikelcomponentfactory.h"
#include "framework/component/kelitemfactory.h"
#include "framework/object/ikelcompinternal.h"
#include "framework/object/ikelcomponent.h"
#include "framework/object/ikelcomponentmanager.h"
#include "framework/object/ikelselftest.h"
#include "framework/object/kelunknown.h"
#include "msxml_parser/ikeldomxml.h"
#include "msxml_parser/ikeldomxmlelement.h"
#include "msxml_parser/ikeldomxmlelementitr.h"
#include "msxml_parser/ikeldomxmlelementitrv2.h"
#include "msxml_parser/ikeldomxmlelementv2.h"
#include "msxml_parser/ikeldomxmlerror.h"
#include "msxml_parser/ikeldomxmlnodeitr.h"
#include "msxml_parser/ikeldomxmlv3.h"
#include "msxml_parser/ikelsaxxml.h"
#include "msxml_parser/ikelsaxxmlerror.h"
#include "msxml_parser/ikelsaxxmlhandler.h"
#include "msxml_parser/ikelsaxxmlhandlerv2.h"
#include "msxml_parser/ikelsaxxmlv3.h"
#include "msxml_parser/ikelxmlerror.h"
#include "msxml_parser/ikelxmlfactory.h"
#include "msxml_parser/ikelxmlschema.h"
#include "msxml_parser/ikelxslstylesheet.h"

// KEL_SLOT(interface, operation, position)
#define KEL_SLOTS(KEL_SLOT)                                 \
    KEL_SLOT(KelShared, addRef, 1)                          \
    KEL_SLOT(KelShared, release, 2)                         \
    KEL_SLOT(KelShared, releaseNoDelete, 3)                 \
    KEL_SLOT(KelShared, refCount, 4)                        \
    KEL_SLOT(KelShared, weakRef, 5)                         \
    KEL_SLOT(IKelUnknown, queryInterface, 6)                \
    KEL_SLOT(IKelUnknown, className, 7)                     \
    KEL_SLOT(IKelComponent, initialize, 0)                  \
    KEL_SLOT(IKelComponent, shutdown, 1)                    \
    KEL_SLOT(IKelComponent, createObject, 2)                \
    KEL_SLOT(IKelComponent, version, 3)                     \
    KEL_SLOT(IKelTestReceiver, receive, 0)                  \
    KEL_SLOT(IKelSelfTest, run, 0)                          \
    KEL_SLOT(IKelCompInternal, classId, 2)                  \
    KEL_SLOT(IKelCompInternal, name, 3)                     \
    KEL_SLOT(IKelCompInternal, classCount, 5)               \
    KEL_SLOT(IKelCompInternal, firstClass, 6)               \
    KEL_SLOT(IKelCompInternal, nextClass, 7)                \
    KEL_SLOT(IKelCompInternal, classNameOf, 8)              \
    KEL_SLOT(IKelCompInternal, selfTest, 10)                \
    KEL_SLOT(IKelCompInternal, setContainerName, 11)        \
    KEL_SLOT(IKelCompInternal, containerName, 12)           \
    KEL_SLOT(IKelCompInternal, setBreakEnabled, 13)         \
    KEL_SLOT(IKelCompInternal, isBreakEnabled, 14)          \
    KEL_SLOT(IKelComponentContainer, lookupService, 6)      \
    KEL_SLOT(IKelComponentManager, lookupService, 6)        \
    KEL_SLOT(IKelComponentManager, testStatus, 9)           \
    KEL_SLOT(IKelComponentManager, incrementCount, 10)      \
    KEL_SLOT(IKelComponentManager, decrementCount, 11)      \
    KEL_SLOT(IKelComponentManager, container, 12)           \
    KEL_SLOT(IKelClassFactory, create, 1)                   \
    KEL_SLOT(IKelClassFactory, classCount, 2)               \
    KEL_SLOT(IKelClassFactory, firstClass, 3)               \
    KEL_SLOT(IKelClassFactory, nextClass, 4)                \
    KEL_SLOT(IKelClassFactory, classNameOf, 5)              \
    KEL_SLOT(KelItemFactory, create, 1)                     \
    KEL_SLOT(KelItemFactory, name, 2)                       \
    KEL_SLOT(KelItemFactory, description, 3)                \
    KEL_SLOT(IKelComponentFactory, createComponent, 1)      \
    KEL_SLOT(IKelComponentCustomizer, start, 1)             \
    KEL_SLOT(IKelComponentCustomizer, stop, 2)              \
    KEL_SLOT(IKelDOMXml, loadFromStream, 0)                 \
    KEL_SLOT(IKelDOMXml, loadFromString, 1)                 \
    KEL_SLOT(IKelDOMXml, loadFromFile, 2)                   \
    KEL_SLOT(IKelDOMXml, saveToStream, 3)                   \
    KEL_SLOT(IKelDOMXml, saveToString, 4)                   \
    KEL_SLOT(IKelDOMXml, saveToFile, 5)                     \
    KEL_SLOT(IKelDOMXml, getRootElement, 6)                 \
    KEL_SLOT(IKelDOMXml, createElement, 7)                  \
    KEL_SLOT(IKelDOMXml, getRootElementItr, 8)              \
    KEL_SLOT(IKelDOMXml, setRootElement, 9)                 \
    KEL_SLOT(IKelDOMXml, getError, 10)                      \
    KEL_SLOT(IKelDOMXmlV2, transformToDocument, 0)          \
    KEL_SLOT(IKelDOMXmlV2, transformToString, 1)            \
    KEL_SLOT(IKelDOMXmlV2, setValidateOnParse, 2)           \
    KEL_SLOT(IKelDOMXmlV2, getValidateOnParse, 3)           \
    KEL_SLOT(IKelDOMXmlV2, validate, 4)                     \
    KEL_SLOT(IKelDOMXmlV2, addProcessingInstruction, 5)     \
    KEL_SLOT(IKelDOMXmlV3, loadBytes, 0)                    \
    KEL_SLOT(IKelDOMXmlV3, loadStream, 1)                   \
    KEL_SLOT(IKelDOMXmlV3, loadFile, 2)                     \
    KEL_SLOT(IKelDOMXmlV3, writeFile, 3)                    \
    KEL_SLOT(IKelDOMXmlV3, writeStream, 4)                  \
    KEL_SLOT(IKelDOMXmlV3, writeString, 5)                  \
    KEL_SLOT(IKelDOMXmlV3, createElementInNamespace, 6)     \
    KEL_SLOT(IKelDOMXmlV3, setPrefix, 7)                    \
    KEL_SLOT(IKelDOMXmlV3, select, 8)                       \
    KEL_SLOT(IKelDOMXmlV3, selectFirst, 9)                  \
    KEL_SLOT(IKelDOMXmlV3, evaluateText, 10)                \
    KEL_SLOT(IKelDOMXmlV3, evaluateNumber, 11)              \
    KEL_SLOT(IKelDOMXmlV3, evaluateTruth, 12)               \
    KEL_SLOT(IKelDOMXmlV3, selectNodes, 13)                 \
    KEL_SLOT(IKelDOMXmlV3, replaceRootElement, 14)          \
    KEL_SLOT(IKelDOMXmlNodeItr, first, 0)                   \
    KEL_SLOT(IKelDOMXmlNodeItr, next, 1)                    \
    KEL_SLOT(IKelDOMXmlNodeItr, isEnd, 2)                   \
    KEL_SLOT(IKelDOMXmlNodeItr, getKind, 3)                 \
    KEL_SLOT(IKelDOMXmlNodeItr, getName, 4)                 \
    KEL_SLOT(IKelDOMXmlNodeItr, getValue, 5)                \
    KEL_SLOT(IKelDOMXmlNodeItr, getElement, 6)              \
    KEL_SLOT(IKelDOMXmlErrorV2, getLine, 0)                 \
    KEL_SLOT(IKelDOMXmlErrorV2, getColumn, 1)               \
    KEL_SLOT(IKelDOMXmlErrorV2, getReason, 2)               \
    KEL_SLOT(IKelDOMXmlElement, clone, 0)                   \
    KEL_SLOT(IKelDOMXmlElement, getNameWide, 1)             \
    KEL_SLOT(IKelDOMXmlElement, getNameCopy, 2)             \
    KEL_SLOT(IKelDOMXmlElement, setName, 3)                 \
    KEL_SLOT(IKelDOMXmlElement, getAttributeValueNarrow, 4) \
    KEL_SLOT(IKelDOMXmlElement, getAttributeValueWide, 5)   \
    KEL_SLOT(IKelDOMXmlElement, getAttributeValueCopy, 6)   \
    KEL_SLOT(IKelDOMXmlElement, getAttributeNarrow, 7)      \
    KEL_SLOT(IKelDOMXmlElement, getAttributeWide, 8)        \
    KEL_SLOT(IKelDOMXmlElement, getAttributeCopy, 9)        \
    KEL_SLOT(IKelDOMXmlElement, setAttribute, 10)           \
    KEL_SLOT(IKelDOMXmlElement, getAttributeCount, 11)      \
    KEL_SLOT(IKelDOMXmlElement, getAttributeNameNarrow, 12) \
    KEL_SLOT(IKelDOMXmlElement, getAttributeNameWide, 13)   \
    KEL_SLOT(IKelDOMXmlElement, getAttributeNameCopy, 14)   \
    KEL_SLOT(IKelDOMXmlElement, getTextNarrow, 15)          \
    KEL_SLOT(IKelDOMXmlElement, getTextWide, 16)            \
    KEL_SLOT(IKelDOMXmlElement, getTextCopy, 17)            \
    KEL_SLOT(IKelDOMXmlElement, setText, 18)                \
    KEL_SLOT(IKelDOMXmlElement, getChild, 19)               \
    KEL_SLOT(IKelDOMXmlElement, getChildren, 20)            \
    KEL_SLOT(IKelDOMXmlElement, addChild, 21)               \
    KEL_SLOT(IKelDOMXmlElement, isSpecialA, 22)             \
    KEL_SLOT(IKelDOMXmlElement, isSpecialB, 23)             \
    KEL_SLOT(IKelDOMXmlElement, getParent, 24)              \
    KEL_SLOT(IKelDOMXmlElement, write, 25)                  \
    KEL_SLOT(IKelDOMXmlElementV2, hasAttribute, 0)          \
    KEL_SLOT(IKelDOMXmlElementV2, removeAttribute, 1)       \
    KEL_SLOT(IKelDOMXmlElementV2, getNamespaceUri, 2)       \
    KEL_SLOT(IKelDOMXmlElementV2, getPrefix, 3)             \
    KEL_SLOT(IKelDOMXmlElementV2, getLocalName, 4)          \
    KEL_SLOT(IKelDOMXmlElementV2, getAllText, 5)            \
    KEL_SLOT(IKelDOMXmlElementV2, insertChild, 6)           \
    KEL_SLOT(IKelDOMXmlElementV2, removeChild, 7)           \
    KEL_SLOT(IKelDOMXmlElementV2, replaceChild, 8)          \
    KEL_SLOT(IKelDOMXmlElementV2, removeFromParent, 9)      \
    KEL_SLOT(IKelDOMXmlElementV2, getLine, 10)              \
    KEL_SLOT(IKelDOMXmlElementV2, getColumn, 11)            \
    KEL_SLOT(IKelDOMXmlElementV2, getChildrenNamed, 12)     \
    KEL_SLOT(IKelDOMXmlElementV2, findChildren, 13)         \
    KEL_SLOT(IKelDOMXmlElementItr, first, 0)                \
    KEL_SLOT(IKelDOMXmlElementItr, next, 1)                 \
    KEL_SLOT(IKelDOMXmlElementItr, isEnd, 2)                \
    KEL_SLOT(IKelDOMXmlElementItr, getElementAs, 3)         \
    KEL_SLOT(IKelDOMXmlElementItr, getSharedElement, 4)     \
    KEL_SLOT(IKelDOMXmlElementItrV2, takeNext, 0)           \
    KEL_SLOT(IKelDOMXmlElementItrV2, getElementV2, 1)       \
    KEL_SLOT(IKelDOMXmlElementItrV2, getElementAndMove, 2)  \
    KEL_SLOT(IKelDOMXmlError, setCode, 0)                   \
    KEL_SLOT(IKelDOMXmlError, getCode, 1)                   \
    KEL_SLOT(IKelDOMXmlError, setMessage, 2)                \
    KEL_SLOT(IKelDOMXmlError, getMessage, 3)                \
    KEL_SLOT(IKelDOMXmlError, clear, 4)                     \
    KEL_SLOT(IKelSAXXml, parseFile, 0)                      \
    KEL_SLOT(IKelSAXXml, pushHandler, 1)                    \
    KEL_SLOT(IKelSAXXml, popHandler, 2)                     \
    KEL_SLOT(IKelSAXXml, getError, 3)                       \
    KEL_SLOT(IKelSAXXmlError, setCode, 0)                   \
    KEL_SLOT(IKelSAXXmlError, getCode, 1)                   \
    KEL_SLOT(IKelSAXXmlError, setMessage, 2)                \
    KEL_SLOT(IKelSAXXmlError, getMessage, 3)                \
    KEL_SLOT(IKelSAXXmlError, clear, 4)                     \
    KEL_SLOT(IKelSAXXmlHandler, startElement, 0)            \
    KEL_SLOT(IKelSAXXmlHandler, characters, 1)              \
    KEL_SLOT(IKelSAXXmlHandler, endElement, 2)              \
    KEL_SLOT(IKelSAXXmlErrorV2, getLine, 0)                 \
    KEL_SLOT(IKelSAXXmlErrorV2, getColumn, 1)               \
    KEL_SLOT(IKelSAXXmlErrorV2, getReason, 2)               \
    KEL_SLOT(IKelSAXXmlV3, readFile, 0)                     \
    KEL_SLOT(IKelSAXXmlV3, readString, 1)                   \
    KEL_SLOT(IKelSAXXmlV3, readBytes, 2)                    \
    KEL_SLOT(IKelSAXXmlV3, readStream, 3)                   \
    KEL_SLOT(IKelSAXXmlV3, stop, 4)                         \
    KEL_SLOT(IKelSAXXmlV3, wasStopped, 5)                   \
    KEL_SLOT(IKelSAXXmlV3, getLine, 6)                      \
    KEL_SLOT(IKelSAXXmlV3, getColumn, 7)                    \
    KEL_SLOT(IKelSAXXmlHandlerV2, startDocument, 0)         \
    KEL_SLOT(IKelSAXXmlHandlerV2, endDocument, 1)           \
    KEL_SLOT(IKelSAXXmlHandlerV2, startElement, 2)          \
    KEL_SLOT(IKelSAXXmlHandlerV2, endElement, 3)            \
    KEL_SLOT(IKelSAXXmlHandlerV2, characters, 4)            \
    KEL_SLOT(IKelSAXXmlHandlerV2, startCData, 5)            \
    KEL_SLOT(IKelSAXXmlHandlerV2, endCData, 6)              \
    KEL_SLOT(IKelSAXXmlHandlerV2, comment, 7)               \
    KEL_SLOT(IKelSAXXmlHandlerV2, processingInstruction, 8) \
    KEL_SLOT(IKelXmlError, getCode, 0)                      \
    KEL_SLOT(IKelXmlError, getLine, 1)                      \
    KEL_SLOT(IKelXmlError, getColumn, 2)                    \
    KEL_SLOT(IKelXmlError, getMessage, 3)                   \
    KEL_SLOT(IKelXmlError, getReason, 4)                    \
    KEL_SLOT(IKelXmlFactory, createSchema, 0)               \
    KEL_SLOT(IKelXmlFactory, createStyleSheet, 1)           \
    KEL_SLOT(IKelXmlSchema, addFile, 0)                     \
    KEL_SLOT(IKelXmlSchema, validate, 1)                    \
    KEL_SLOT(IKelXmlSchema, validateFile, 2)                \
    KEL_SLOT(IKelXmlSchema, validateBytes, 3)               \
    KEL_SLOT(IKelXmlSchema, validateStream, 4)              \
    KEL_SLOT(IKelXmlSchema, getError, 5)                    \
    KEL_SLOT(IKelXmlSchema, mayRepeatIds, 6)                \
    KEL_SLOT(IKelXmlViolationHandler, violation, 0)         \
    KEL_SLOT(IKelXslMessageHandler, message, 0)             \
    KEL_SLOT(IKelXslMessageHandler, warning, 1)             \
    KEL_SLOT(IKelXslStyleSheet, compileFile, 0)             \
    KEL_SLOT(IKelXslStyleSheet, compileString, 1)           \
    KEL_SLOT(IKelXslStyleSheet, setTextParameter, 2)        \
    KEL_SLOT(IKelXslStyleSheet, setNumberParameter, 3)      \
    KEL_SLOT(IKelXslStyleSheet, setTruthParameter, 4)       \
    KEL_SLOT(IKelXslStyleSheet, clearParameters, 5)         \
    KEL_SLOT(IKelXslStyleSheet, setMessageHandler, 6)       \
    KEL_SLOT(IKelXslStyleSheet, transformToString, 7)       \
    KEL_SLOT(IKelXslStyleSheet, transformToDocument, 8)     \
    KEL_SLOT(IKelXslStyleSheet, transformToStream, 9)       \
    KEL_SLOT(IKelXslStyleSheet, getError, 10)               \
    KEL_SLOT(BinInput, readRaw, 1)                          \
    KEL_SLOT(BinInput, tell, 2)                             \
    KEL_SLOT(BinInput, seek, 3)                             \
    KEL_SLOT(BinInput, good, 4)                             \
    KEL_SLOT(BinInput, close, 5)                            \
    KEL_SLOT(BinOutput, flush, 1)                           \
    KEL_SLOT(BinOutput, isInMemory, 2)                      \
    KEL_SLOT(BinOutput, writeRaw, 3)                        \
    KEL_SLOT(BinOutput, readRaw, 4)                         \
    KEL_SLOT(BinOutput, tell, 5)                            \
    KEL_SLOT(BinOutput, seek, 6)                            \
    KEL_SLOT(BinOutput, good, 7)                            \
    KEL_SLOT(BinOutput, close, 8)                           \
    KEL_SLOT(BinIO_Scrambler, scramble, 1)                  \
    KEL_SLOT(BinIO_Scrambler, unscramble, 2)                \
    KEL_SLOT(IBucketMemoryPool, allocate, 1)                \
    KEL_SLOT(IBucketMemoryPool, giveBack, 2)                \
    KEL_SLOT(IDataStore, readBool, 11)                      \
    KEL_SLOT(IDataStore, readDouble, 12)                    \
    KEL_SLOT(IDataStore, readText, 13)                      \
    KEL_SLOT(IDataStore, addReceiver, 35)                   \
    KEL_SLOT(IDataStoreV2, removeReceiver, 0)               \
    KEL_SLOT(IGfxRenderer, beforeReport, 7)                 \
    KEL_SLOT(IGfxRenderer, afterMessageBox, 8)              \
    KEL_SLOT(IKelAssertHandlerCB, assertionFailed, 0)       \
    KEL_SLOT(IKelDataReceiver, dataChanged, 0)              \
    KEL_SLOT(IKelDirService, directory, 0)                  \
    KEL_SLOT(IKelDirServiceV2, list, 0)                     \
    KEL_SLOT(IKelDirServiceV2, create, 1)                   \
    KEL_SLOT(IKelDirServiceV2, change, 2)                   \
    KEL_SLOT(IKelDataModelWriter, beginBlock, 0)            \
    KEL_SLOT(IKelDataModelWriter, endBlock, 1)              \
    KEL_SLOT(IKelDataModelWriter, writeBool, 2)             \
    KEL_SLOT(IKelDataModelWriter, writeIntegers, 3)         \
    KEL_SLOT(IKelDataModelWriter, writeReals, 4)            \
    KEL_SLOT(IKelDataModelWriter, writeText, 5)             \
    KEL_SLOT(IKelDataModelWriter, writeBytes, 6)            \
    KEL_SLOT(IKelDataModelWriter, writeClassId, 7)          \
    KEL_SLOT(IKelDataModelWriter, finish, 8)                \
    KEL_SLOT(IKelDataModelWriter, failureMessage, 9)        \
    KEL_SLOT(IKelDataModelReader, next, 0)                  \
    KEL_SLOT(IKelDataModelReader, enterBlock, 1)            \
    KEL_SLOT(IKelDataModelReader, leaveBlock, 2)            \
    KEL_SLOT(IKelDataModelReader, readBool, 3)              \
    KEL_SLOT(IKelDataModelReader, readInteger, 4)           \
    KEL_SLOT(IKelDataModelReader, readIntegers, 5)          \
    KEL_SLOT(IKelDataModelReader, readReal, 6)              \
    KEL_SLOT(IKelDataModelReader, readReals, 7)             \
    KEL_SLOT(IKelDataModelReader, readText, 8)              \
    KEL_SLOT(IKelDataModelReader, readBytes, 9)             \
    KEL_SLOT(IKelDataModelReader, readClassId, 10)          \
    KEL_SLOT(IKelDataModelReader, hasFailed, 11)            \
    KEL_SLOT(IKelDataModelReader, failureMessage, 12)       \
    KEL_SLOT(IKelDataModelReader, failurePosition, 13)      \
    KEL_SLOT(IKelErrorService, report, 2)                   \
    KEL_SLOT(KelMM::IKelMManager, giveMemoryBack, 3)        \
    KEL_SLOT(KelMM::IKelMManager, coreLimit, 10)            \
    KEL_SLOT(KelMM::IKelMManager, swapLimit, 11)            \
    KEL_SLOT(KelMM::IKelMManager, swapInUse, 12)            \
    KEL_SLOT(KelMM::IKelMManager, coreInUse, 17)            \
    KEL_SLOT(IKelStrSupport, toNarrow, 1)                   \
    KEL_SLOT(IKelStrSupport, compare, 2)                    \
    KEL_SLOT(IKelStrSupport, isSpace, 3)                    \
    KEL_SLOT(IKelStrSupport, isDigit, 4)                    \
    KEL_SLOT(IKelStrSupport, normalise, 7)                  \
    KEL_SLOT(IKelStrSupport, toLower, 8)                    \
    KEL_SLOT(IKelStrSupport, toUpper, 9)                    \
    KEL_SLOT(IKelTranslator, translateCounted, 0)           \
    KEL_SLOT(IKelTranslator, translate6, 1)                 \
    KEL_SLOT(IKelTranslator, translate5, 2)                 \
    KEL_SLOT(IKelTranslator, translate4, 3)                 \
    KEL_SLOT(IKelTranslator, translate3, 4)                 \
    KEL_SLOT(IKelTranslator, translate2, 5)                 \
    KEL_SLOT(IKelTranslator, translate1, 6)                 \
    KEL_SLOT(IKelTranslator, translate0, 7)                 \
    KEL_SLOT(IKelTranslator, hasTranslations, 8)            \
    KEL_SLOT(IKelTranslator, lookUp, 9)                     \
    KEL_SLOT(IKelTranslatorService, translatorFor, 1)       \
    KEL_SLOT(IMemChecker, isAvailable, 0)                   \
    KEL_SLOT(IMemChecker, figures, 1)
