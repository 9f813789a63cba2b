#pragma once

#include "platform/async/Executor.h"

#include <cstddef>
#include <functional>

namespace async {

// Does `pieces` pieces of blocking work, each once, and returns when all are done: on the calling thread, and on one of
// `helper`'s beside it as soon as that has time. Nobody waits for a helper that does not come, so the caller may itself
// run on the same pool, and a pool of one thread will do; so will an empty executor.
//
// `work` is given the number of a piece, on either thread; it must not throw. Nothing calls it any more afterwards.
// Throws std::bad_alloc before the first piece.
void shareOut(Executor helper, std::size_t pieces, const std::function<void(std::size_t piece)>& work);

} // namespace async
