// Receives changes of settings, a function for each key, and ends cleanly:
//
//     OxaDataReceiver changes;
//     changes.receive("Shelf/Width", [this](double width) { resize(width); });
//
// Threads: one at a time for the object itself. Functions run on the thread that makes the change.
#pragma once

#include <functional>
#include <string>

#include "KelBasicTypes/idatastore.h"
#include "framework/object/iptr.h"

class OxaDataReceiver final {
public:
    // The setting's number as the store announces it: 1 or 0 for a truth value, not-a-number for a text and
    // for a setting that is gone. What it throws reaches the caller that sets it. It may destroy this
    // receiver; it must not wait for another thread that does.
    using Function = std::function<void(double value)>;

    OxaDataReceiver();  // of the host's settings store; without one, nothing is ever received
    explicit OxaDataReceiver(IDataStore& settings);    // keeps a reference to it
    OxaDataReceiver(const OxaDataReceiver&) = delete;  // the store knows the functions by this object
    OxaDataReceiver& operator=(const OxaDataReceiver&) = delete;

    // Waits for a function that is running on another thread. Afterwards none is called, and a store with
    // IDataStoreV2 holds nothing of this receiver; another one keeps a small object that does nothing.
    ~OxaDataReceiver();

    // From now on; the setting as it is now is not announced. A second function for a key replaces the first.
    // False: there is no settings store.
    bool receive(const std::string& key, Function function);

private:
    class Link;

    IPtr<IDataStore> settings_;  // null: none
    IPtr<Link> link_;            // what the store knows
};
