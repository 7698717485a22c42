// The self-test that both component bases offer: see IKelCompInternal::selfTest. Threads: one at a time.
#pragma once

#include "framework/object/kelclassid.h"
#include "framework/object/onebasedlist.h"

class IKelTestReceiver;

namespace kel::detail {

// With a receiver, passes it every class of the list; without one, reports to the host's error service.
// `isRunning` is the guard of the caller's component: while it is set, a call does nothing. Lets out what the
// receiver or the service throws; the guard is then free again.
void runSelfTest(bool& isRunning, const OneBasedList<KelClassId>& testClasses, IKelTestReceiver* receiver);

void rereadEnvironment();  // for tests: as loading the component does

}  // namespace kel::detail
