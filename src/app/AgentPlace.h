#pragma once

#include "platform/files/OpenDescriptor.h"

#include <QSocketNotifier>

#include <sys/un.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace veskline {

// The place of the one agent that works on a state folder. Whoever takes it is that agent to the end of the process,
// however that ends; a later start asks it to show its window instead.
//
// The place is a lock on the folder itself (flock(2)), and a socket that is named after the folder in the kernel's
// abstract namespace (unix(7)): neither leaves a file behind. Where the folder knows no locks (some network file
// systems don't lock folders), the name alone stands for the place, among the agents of one machine.
//
// Made on the main thread before anything works on the folder.
class AgentPlace {
public:
    enum class Holder {
        thisProcess,
        anotherThatShowsItsWindow,
        anotherWithoutWindow,
        anotherThatIsSilent, // it neither answers nor ends
        unknown,             // the wait was broken off
    };

    // Opens the folder. Throws platform::FileError where that can't be done.
    explicit AgentPlace(const std::string& stateFolder);
    AgentPlace(const AgentPlace&) = delete;
    AgentPlace& operator=(const AgentPlace&) = delete;

    // Takes the place, or asks its holder to show its window. A holder that is about to end is waited for, `patience`
    // at most; the wait is broken off as soon as the descriptor `breakOff`, where one is given, can be read.
    [[nodiscard]] Holder settle(std::chrono::milliseconds patience, int breakOff = -1);

    // Answers later starts of this user from here on, in the event loop: `showWindow` shows the window and says whether
    // there is one. A start that came since the place was taken is answered first.
    void onLaterStart(std::function<bool()> showWindow);

private:
    enum class Claim { taken, isAnothers, unclear };

    [[nodiscard]] Claim take();
    [[nodiscard]] Claim takeByName() const;
    void listen();
    [[nodiscard]] platform::OpenDescriptor connectToName() const;
    [[nodiscard]] Holder ask(std::chrono::milliseconds patience, int breakOff) const;
    void answer(const std::function<bool()>& showWindow) const;

    platform::OpenDescriptor folder_;
    platform::OpenDescriptor socket_; // listens, where the name could be had
    sockaddr_un name_{};
    socklen_t nameLength_ = 0;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace veskline
