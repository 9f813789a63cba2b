#include "app/Process.h"

namespace veskline {

AppSurroundings Process::surroundings() {
    return AppSurroundings{
        .main = main_.executor(),
        .pool = pool_.executor(),
        .clock = timers_.clock(),
        .urlSession = http_.transport(),
        .isQuitting = &isQuitting_,
    };
}

void Process::quit() {
    main_.close();
    isQuitting_ = true;
    http_.close(patience);
    pool_.close(patience);
}

} // namespace veskline
