#pragma once

namespace veskline {

// How this process keeps its memory: what was freed goes back to the system, and the threads share two pools of free
// blocks. With what malloc(3) does by itself each of a dozen threads keeps what its largest moment took, some 20 MiB in
// a day. Built before the process has a second thread; lasts to its end.
class Heap {
public:
    Heap();
};

} // namespace veskline
