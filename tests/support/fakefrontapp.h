#pragma once

#include "platform/frontapp.h"

// Whatever the test says is in front, counting how often it was asked.
class FakeFrontApp final : public FrontApp
{
public:
    std::optional<RunningApp> front;
    int asked = 0;

    std::optional<RunningApp> frontmost() override
    {
        ++asked;
        return front;
    }
};
