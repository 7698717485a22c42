// A settings store that lets receivers go again. Positions are relied upon.
#pragma once

#include "KelBasicTypes/idatastore.h"

class IDataStoreV2 : public virtual IDataStore {
public:
    static constexpr const char* interfaceName() noexcept { return "IDataStoreV2"; }

    // 0. The receiver is called for no setting any more, and the store's references to it are released; a
    // call that is under way on another thread may still end after this. Null, or a receiver that was not
    // added: nothing.
    virtual void removeReceiver(IKelDataReceiver* receiver) = 0;
};
