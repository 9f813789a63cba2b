#pragma once

#include "platform/files/OpenDescriptor.h"

namespace veskline {

using platform::OpenDescriptor; // the watch keeps many

} // namespace veskline
