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
void addSaveRows(Suite& suite, const Documents& documents);       // save/
void addBuildRows(Suite& suite);                                  // build/ and edit/
void addSaxRows(Suite& suite, const Documents& documents);        // sax/
void addTransformRows(Suite& suite, const Documents& documents);  // transform/
void addValidateRows(Suite& suite, const Documents& documents);   // validate/
void addGrowthRows(Suite& suite, const Documents& documents);     // growth/
void addBasicRows(Suite& suite);                                  // basic/
void addThreadRows(Suite& suite, const Documents& documents);     // threads/ and basic/, to be added last

}  // namespace bench
