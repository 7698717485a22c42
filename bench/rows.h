// The groups of rows; each adds its own to the suite. A group prepares nothing until one of its rows runs.
#pragma once

#include "bench/suite.h"

namespace bench {

class Documents;

void addLoadRows(Suite& suite, const Documents& documents);       // load/
void addSmallRows(Suite& suite);                                  // small/
void addColdRows(Suite& suite, const Documents& documents);       // cold/
void addMemoryRows(Suite& suite, const Documents& documents);     // memory/
void addWalkRows(Suite& suite, const Documents& documents);       // walk/
void addHeaderRows(Suite& suite, const Documents& documents);     // walk/DOC/utf16 and utf8
void addSaveRows(Suite& suite, const Documents& documents);       // save/
void addFaithfulRows(Suite& suite, const Documents& documents);   // save/DOC/faithful and memory/
void addBuildRows(Suite& suite);                                  // build/ and edit/
void addSaxRows(Suite& suite, const Documents& documents);        // sax/
void addTransformRows(Suite& suite, const Documents& documents);  // transform/
void addValidateRows(Suite& suite, const Documents& documents);   // validate/
void addGrowthRows(Suite& suite, const Documents& documents);     // growth/
void addBasicRows(Suite& suite);                                  // basic/
void addToolRows(Suite& suite, const Documents& documents);       // tools/
void addThreadRows(Suite& suite, const Documents& documents);     // threads/ and basic/, to be added last

}  // namespace bench
