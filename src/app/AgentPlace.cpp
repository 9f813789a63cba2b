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
#include <cerrno>
#include <thread>
#include <utility>

namespace veskline {

namespace {

using std::chrono::milliseconds;

constexpr char showed = 'w';
constexpr char hasNone = 'n';

// Any user may take a name of the abstract namespace.
bool isOfThisUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

int newSocket(int flags) {
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0);
}

const sockaddr* asAddress(const sockaddr_un& name) {
    return reinterpret_cast<const sockaddr*>(&name);
}

} // namespace

AgentPlace::AgentPlace(const std::string& stateFolder)
    : folder_(open(stateFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (folder_ < 0 && errno == EACCES) { // one may work in a folder that one may not list
        folder_ = open(stateFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    }
    struct stat status{};
    if (folder_ < 0 || fstat(folder_, &status) != 0) {
        const int number = errno;
        close(folder_);
        throw platform::FileError(stateFolder, "opened", number);
    }
    const std::string text = fmt::format("veskline-agent/{}/{}", status.st_dev, status.st_ino);
    name_.sun_family = AF_UNIX;
    std::ranges::copy(text, name_.sun_path + 1); // behind the zero that says abstract
    nameLength_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + text.size());
}

AgentPlace::~AgentPlace() {
    notifier_.reset();
    close(socket_);
    close(folder_);
}

AgentPlace::Holder AgentPlace::settle(milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    constexpr milliseconds pause{20};
    for (const Clock::time_point end = Clock::now() + patience;; std::this_thread::sleep_for(pause)) {
        if (take()) {
            return Holder::thisProcess;
        }
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
        const Holder holder = ask(std::max(left, milliseconds(0)));
        if (holder != Holder::anotherThatIsSilent || Clock::now() + pause >= end) {
            return holder;
        }
    }
}

void AgentPlace::onLaterStart(std::function<bool()> showWindow) {
    if (socket_ >= 0) {
        notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                         [this, showWindow = std::move(showWindow)] { answer(showWindow); });
    }
}

bool AgentPlace::take() {
    const bool isLocked = flock(folder_, LOCK_EX | LOCK_NB) == 0;
    if (!isLocked && errno == EWOULDBLOCK) {
        return false;
    }
    listen();
    if (isLocked || socket_ >= 0) {
        return true;
    }
    const int holder = connectToHolder();
    close(holder);
    return holder < 0; // the name is another user's, who can't keep this one from starting
}

// Without a socket, whose name another user may have taken, later starts end all the same, only with other words.
void AgentPlace::listen() {
    socket_ = newSocket(SOCK_NONBLOCK);
    if (bind(socket_, asAddress(name_), nameLength_) != 0 || ::listen(socket_, SOMAXCONN) != 0) {
        close(std::exchange(socket_, -1));
    }
}

// Negative where nobody of this user's listens.
int AgentPlace::connectToHolder() const {
    const int socket = newSocket(0);
    if (connect(socket, asAddress(name_), nameLength_) == 0 && isOfThisUser(socket)) {
        return socket;
    }
    close(socket);
    return -1;
}

AgentPlace::Holder AgentPlace::ask(milliseconds patience) const {
    const int socket = connectToHolder();
    char answer = 0;
    if (socket >= 0) {
        pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
        if (poll(&readable, 1, static_cast<int>(patience.count())) == 1 && recv(socket, &answer, 1, 0) != 1) {
            answer = 0; // it ended before it answered
        }
    }
    close(socket);
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
    const int socket = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) {
        return;
    }
    if (isOfThisUser(socket)) {
        const char word = showWindow() ? showed : hasNone;
        send(socket, &word, 1, MSG_NOSIGNAL); // who asked may have gone
    }
    close(socket);
}

} // namespace veskline
