#include "DebugHooks.h"

DebugHooks &DebugHooks::shared()
{
    static DebugHooks *hooks = new DebugHooks;
    return *hooks;
}
