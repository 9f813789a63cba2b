#include "app/AgentPlace.h"

#include "platform/files/FileError.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace veskline {

namespace {

using platform::OpenDescriptor;
using std::chrono::milliseconds;

constexpr char showed = 'w';
constexpr char hasNone = 'n';

// Any user may take a name of the abstract namespace.
bool isOfThisUser(const OpenDescriptor& socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

OpenDescriptor newSocket(int flags) {
    return OpenDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
}

const sockaddr* asAddress(const sockaddr_un& name) {
    return reinterpret_cast<const sockaddr*>(&name);
}

OpenDescriptor openFolder(const std::string& path) {
    OpenDescriptor folder = OpenDescriptor::folder(AT_FDCWD, path);
    if (!folder.isOpen() && errno == EACCES) { // one may work in a folder that one may not list
        folder = OpenDescriptor::folder(AT_FDCWD, path, O_PATH);
    }
    return folder;
}

// poll(2) passes a negative descriptor over.
bool canBeRead(int descriptor, milliseconds patience) {
    pollfd readable{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&readable, 1, static_cast<int>(patience.count())) == 1;
}

} // namespace

AgentPlace::AgentPlace(const std::string& stateFolder) : folder_(openFolder(stateFolder)) {
    struct stat status{};
    if (!folder_.isOpen() || fstat(folder_.number(), &status) != 0) {
        throw platform::FileError(stateFolder, "opened", errno);
    }
    const std::string text = fmt::format("veskline-agent/{}/{}", status.st_dev, status.st_ino);
    name_.sun_family = AF_UNIX;
    std::ranges::copy(text, name_.sun_path + 1); // behind the zero that says abstract
    nameLength_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
}

AgentPlace::Holder AgentPlace::settle(milliseconds patience, int breakOff) {
    using Clock = std::chrono::steady_clock;
    constexpr milliseconds pause{20};
    for (const Clock::time_point end = Clock::now() + patience;;) {
        const Claim claim = take();
        if (claim == Claim::taken) {
            return Holder::thisProcess;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
        const Holder holder = ask(std::max(left, milliseconds(0)), breakOff);
        if (holder != Holder::anotherThatIsSilent) {
            return holder;
        }
        if (canBeRead(breakOff, pause)) {
            return Holder::unknown;
        }
        if (Clock::now() >= end) {
            return claim == Claim::unclear ? Holder::thisProcess : holder;
        }
    }
}

void AgentPlace::onLaterStart(std::function<bool()> showWindow) {
    if (socket_.isOpen()) {
        notifier_ = std::make_unique<QSocketNotifier>(socket_.number(), QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                         [this, showWindow = std::move(showWindow)] { answer(showWindow); });
    }
}

AgentPlace::Claim AgentPlace::take() {
    const bool isLocked = flock(folder_.number(), LOCK_EX | LOCK_NB) == 0;
    if (!isLocked && errno == EWOULDBLOCK) {
        return Claim::isAnothers;
    }
    listen();
    return isLocked || socket_.isOpen() ? Claim::taken : takeByName();
}

// Where the folder knows no locks and somebody has the name. Nobody listens there for the moment between bind(2) and
// listen(2) of another start, or where whoever has it never will, and is no agent.
AgentPlace::Claim AgentPlace::takeByName() const {
    const OpenDescriptor holder = connectToName();
    if (!holder.isOpen()) {
        return Claim::unclear;
    }
    return isOfThisUser(holder) ? Claim::isAnothers : Claim::taken; // another user can't keep this one from starting
}

// Without a socket, whose name another user may have taken, later starts end all the same, only with other words.
void AgentPlace::listen() {
    socket_ = newSocket(SOCK_NONBLOCK);
    if (bind(socket_.number(), asAddress(name_), nameLength_) != 0 || ::listen(socket_.number(), SOMAXCONN) != 0) {
        socket_ = OpenDescriptor();
    }
}

// Empty where nobody listens.
OpenDescriptor AgentPlace::connectToName() const {
    OpenDescriptor socket = newSocket(0);
    const bool isConnected = connect(socket.number(), asAddress(name_), nameLength_) == 0;
    return isConnected ? std::move(socket) : OpenDescriptor();
}

AgentPlace::Holder AgentPlace::ask(milliseconds patience, int breakOff) const {
    const OpenDescriptor socket = connectToName();
    char answer = 0;
    if (socket.isOpen() && isOfThisUser(socket)) {
        std::array<pollfd, 2> readable{{{.fd = socket.number(), .events = POLLIN, .revents = 0},
                                        {.fd = breakOff, .events = POLLIN, .revents = 0}}};
        poll(readable.data(), readable.size(), static_cast<int>(patience.count()));
        if (recv(socket.number(), &answer, 1, MSG_DONTWAIT) != 1) {
            answer = 0; // it has not answered, or ended before
        }
    }
    switch (answer) {
    case showed:
        return Holder::anotherThatShowsItsWindow;
    case hasNone:
        return Holder::anotherWithoutWindow;
    default:
        return Holder::anotherThatIsSilent;
    }
}

void AgentPlace::answer(const std::function<bool()>& showWindow) const {
    const OpenDescriptor socket(accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.isOpen() && isOfThisUser(socket)) {
        const char word = showWindow() ? showed : hasNone;
        send(socket.number(), &word, 1, MSG_NOSIGNAL); // who asked may have gone
    }
}

} // namespace veskline
