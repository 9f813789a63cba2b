#pragma once

#include "agent_stand/MachineControl.h"

#include <cstdint>

// Inside the program under test: which of its calls go wrong, as Machine.h tells. Any thread. Nothing here allocates
// once it is set up, nor throws, and errno is as it was.
namespace agent_stand::preload {

enum class Outcome { asUsual, failed, killAfterwards };

// What becomes of a call on a path, or on what a descriptor is open on. After `failed`, errno tells why; held calls
// come back when they may be made, killed ones never.
[[nodiscard]] Outcome onPath(const char* call, const char* path) noexcept;
[[nodiscard]] Outcome onEntry(const char* call, int folder, const char* name) noexcept;
[[nodiscard]] Outcome onDescriptor(const char* call, int descriptor) noexcept;

// How far the program's clocks are ahead of the real ones, in nanoseconds; both 0 where nobody controls them.
[[nodiscard]] std::int64_t monotonicShift() noexcept;
[[nodiscard]] std::int64_t wallShift() noexcept;
[[nodiscard]] bool isControlled() noexcept;

[[noreturn]] void killSelf() noexcept;

} // namespace agent_stand::preload
