// Starts and stops COM for the thread that asks.
#pragma once

#include "framework/component/ikelcomponentcustomizer.h"

class MSXMLParserComponentCustomizer : public virtual IKelComponentCustomizer {
public:
    // Both answer true. A thread on which COM runs already, in whatever apartment, goes on with it.
    bool start() override;
    bool stop() override;
};
