#pragma once

#include "platform/async/Spawn.h"

#include <memory>
#include <utility>

namespace async {

// Lets one flow at a time through a stretch of work that has waits in it. Belongs to one actor and is used on its
// executor alone; whoever holds a turn gives it back there, by letting it go.
class Exclusion {
public:
    class [[nodiscard]] Turn {
    public:
        explicit Turn(Exclusion& owner) noexcept : owner_(&owner) {}
        Turn(Turn&& other) noexcept : owner_(std::exchange(other.owner_, nullptr)) {}
        Turn& operator=(Turn&&) = delete;
        ~Turn() {
            if (owner_ != nullptr) {
                std::exchange(owner_->current_, nullptr)->end();
            }
        }

    private:
        Exclusion* owner_;
    };

    // Goes on once nobody else holds a turn.
    Task<Turn> enter() {
        while (current_) {
            co_await TaskHandle(current_).end();
        }
        current_ = std::make_shared<TaskRecord>();
        co_return Turn(*this);
    }

private:
    std::shared_ptr<TaskRecord> current_; // of the turn that is taken
};

} // namespace async
