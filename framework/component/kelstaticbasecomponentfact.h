// Makes KelStaticBaseComponent objects.
#pragma once

#include "framework/component/ikelcomponentfactory.h"

class KelStaticBaseComponentFact final : public IKelComponentFactory {
public:
    IKelComponent* createComponent() override;
};
