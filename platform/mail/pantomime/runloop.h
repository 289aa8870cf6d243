#pragma once

#include "platform/mail/nsrunloop.h"

namespace platform {

/// The run loop of the calling thread.
[[nodiscard]] NSRunLoop &currentRunLoop();

} // namespace platform
