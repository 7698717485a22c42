#include "bench/ours.h"

#include "host/host.h"

namespace bench {
namespace {

kelhost::Host* hostInUse = nullptr;

}  // namespace

void enterHost() {
    static kelhost::Host host;
    host.load(KEL_BENCH_COMPONENT);
    hostInUse = &host;
}

IPtr<IKelDOMXmlV2> newDomParser() {
    if (hostInUse != nullptr) return hostInUse->create<IKelDOMXmlV2>("MSDOMXml");
    thread_local XmlDOM wrapper;  // which makes the thread ready
    return IPtr<IKelDOMXmlV2>(wrapper.getParser());
}

IPtr<IKelSAXXmlV2> newSaxParser() {
    if (hostInUse != nullptr) return hostInUse->create<IKelSAXXmlV2>("MSSAXXml");
    thread_local XmlSAX wrapper;
    return IPtr<IKelSAXXmlV2>(wrapper.getParser());
}

}  // namespace bench
