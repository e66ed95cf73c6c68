#include "DebugHooks.h"

namespace Lumo::Base {

DebugHooks &DebugHooks::shared()
{
    static DebugHooks *hooks = new DebugHooks;
    return *hooks;
}

} // namespace Lumo::Base
